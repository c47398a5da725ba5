#pragma once

#include <corvo/client.h>

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace corvo::fuzz {

/// What a question makes use of: configuration and location; the configuration, and the location
/// perhaps; or, to take back an inclusion, a new configuration if any.
enum class Needs { both, config, newConfig };

/// Hands `use` the question of that number: a function of a client and of two callbacks, or of none
/// for the suspending form. Returns what the question needs.
constexpr std::size_t kQuestionCount = 18;
template <class Use>
Needs withQuestion(std::size_t number, std::string_view name, std::int64_t index, Use use) {
  using enum Needs;
  const auto put = [&](Needs needs, auto question) { return use(question), needs; };
#define ASK(call, ...)                                           \
  [&](CorvoClient& client, auto... callbacks) {                  \
    return client.call(__VA_ARGS__ __VA_OPT__(, ) callbacks...); \
  }
  if (number == 0) return put(both, ASK(checkFlag<bool>, name));
  if (number == 1) return put(both, ASK(checkFlag<std::int64_t>, name));
  if (number == 2) return put(both, ASK(checkFlag<double>, name));
  if (number == 3) return put(both, ASK(checkFlag<std::string>, name));
  if (number == 4) return put(both, ASK(checkFlag<JsonObject>, name));
  if (number == 5) return put(both, ASK(getUserFeatureFlagsDetails));
  if (number == 6) return put(both, ASK(getAllUserExperiments));
  if (number == 7) return put(both, ASK(getAllUserExperimentsText));
  if (number == 8) return put(both, ASK(getAllUserExperimentsText, index > 0));
  if (number == 9) return put(both, ASK(getAllUserHoldouts));
  if (number == 10) return put(both, ASK(getUserExperimentsDetails));
  if (number == 11) return put(both, ASK(getUserExperimentsDetails, index > 0));
  if (number == 12) return put(config, ASK(getExperiment, name));
  if (number == 13) return put(config, ASK(getHoldout, name));
  if (number == 14) return put(config, ASK(includeForce, name));
  if (number == 15) return put(config, ASK(includeForce, name, index));
  if (number == 16) return put(newConfig, ASK(excludeForce, name));
  return put(newConfig, ASK(excludeForceAll));
#undef ASK
}

}  // namespace corvo::fuzz
