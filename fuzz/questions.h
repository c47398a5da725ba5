// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/client.h>

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace corvo::fuzz {

/// The first thirteen need a location, the first nineteen a fresh configuration.
constexpr std::size_t kQuestionCount = 21;
constexpr std::size_t kConfigQuestionCount = 19;
constexpr std::size_t kLocationQuestionCount = 13;
constexpr std::size_t kReport = 5;  // of all flags

/// Passes the question of that number to `use`: a function of a client and of two callbacks, or of
/// none for the suspending form.
template <class Use>
void withQuestion(std::size_t number, std::string_view name, std::int64_t index, Use use) {
#define ASK(call, ...)                                           \
  [&](CorvoClient& client, auto... callbacks) {                  \
    return client.call(__VA_ARGS__ __VA_OPT__(, ) callbacks...); \
  }
  if (number == 0) return use(ASK(checkFlag<bool>, name));
  if (number == 1) return use(ASK(checkFlag<std::int64_t>, name));
  if (number == 2) return use(ASK(checkFlag<double>, name));
  if (number == 3) return use(ASK(checkFlag<std::string>, name));
  if (number == 4) return use(ASK(checkFlag<JsonObject>, name));
  if (number == 5) return use(ASK(getUserFeatureFlagsDetails));
  if (number == 6) return use(ASK(getAllUserExperiments));
  if (number == 7) return use(ASK(getAllUserExperimentsText));
  if (number == 8) return use(ASK(getAllUserExperimentsText, index > 0));
  if (number == 9) return use(ASK(getAllUserHoldouts));
  if (number == 10) return use(ASK(getUserExperimentsDetails));
  if (number == 11) return use(ASK(getUserExperimentsDetails, index > 0));
  if (number == 12) return use(ASK(explainFlag, name));
  if (number == 13) return use(ASK(explainExperiment, name));
  if (number == 14) return use(ASK(getExperiment, name));
  if (number == 15) return use(ASK(getHoldout, name));
  if (number == 16) return use(ASK(includeForce, name));
  if (number == 17) return use(ASK(includeForce, name, index));
  if (number == 18) return use(ASK(getProject));
  if (number == 19) return use(ASK(excludeForce, name));
  use(ASK(excludeForceAll));
#undef ASK
}

}  // namespace corvo::fuzz
