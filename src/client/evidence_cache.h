// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>

#include "client/question.h"
#include "targeting/context.h"
#include "targeting/property_table.h"

namespace corvo::corvo_internal::client {

/// Evidence about the user that is reused by later questions. It remains valid while nothing that
/// it depends on can have changed: within the same second, in the same time zone, and until anybody
/// writes to the store. Code that changes anything else must drop it. Not thread-safe.
class EvidenceCache {
 public:
  /// State that others can change, readable with a few loads.
  struct Surroundings {
    std::uint64_t storeRevision = 0;
    std::uint64_t zone = 0;
    bool operator==(const Surroundings&) const = default;
  };

  void drop() noexcept { end_ = -std::numeric_limits<double>::infinity(); }

  /// Keeps the evidence of a question asked at `now`. The data that it refers to must live until it
  /// is dropped.
  void keep(const Evidence& evidence, double now, const Surroundings& surroundings) {
    evaluator_ = &evidence.evaluator;
    context_.emplace(evidence.context);
    surroundings_ = surroundings;
    begin_ = std::floor(now);
    end_ = endOfSecond(now);
  }

  [[nodiscard]] bool isValid(double now, const Surroundings& surroundings) const noexcept {
    return begin_ <= now && now < end_ && surroundings_ == surroundings;
  }
  /// The evidence for a question at that time, while it is valid.
  [[nodiscard]] Evidence at(double now) {
    context_->now = targeting::comparable(now);
    return {*evaluator_, *context_};
  }

  [[nodiscard]] static double endOfSecond(double now) noexcept { return std::floor(now) + 1; }

 private:
  double begin_ = 0;
  double end_ = -std::numeric_limits<double>::infinity();
  Surroundings surroundings_;
  evaluation::Evaluator* evaluator_ = nullptr;
  std::optional<targeting::Context> context_;
};

}  // namespace corvo::corvo_internal::client
