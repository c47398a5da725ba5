#pragma once

#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>

#include "client/question.h"
#include "targeting/context.h"
#include "targeting/property_table.h"

namespace corvo::corvo_internal::client {

/// What a question about the user was decided from, kept for the questions after it. It stands as
/// long as nothing that it was made of can have changed: while its second lasts, in the same time
/// zone, and until somebody writes to the store. Whoever changes anything else drops it. For one
/// thread at a time.
class StandingEvidence {
 public:
  /// What others change, at the cost of a few loads to look at.
  struct Surroundings {
    std::uint64_t storeRevision = 0;
    std::uint64_t zone = 0;
    bool operator==(const Surroundings&) const = default;
  };

  void drop() noexcept { end_ = -std::numeric_limits<double>::infinity(); }

  /// Keeps the evidence of a question asked at `now`. What it refers to must last until it is
  /// dropped.
  void keep(const Evidence& evidence, double now, const Surroundings& surroundings) {
    evaluator_ = &evidence.evaluator;
    context_.emplace(evidence.context);
    surroundings_ = surroundings;
    begin_ = std::floor(now);
    end_ = endOfSecond(now);
  }

  [[nodiscard]] bool stands(double now, const Surroundings& surroundings) const noexcept {
    return begin_ <= now && now < end_ && surroundings_ == surroundings;
  }
  /// The evidence for a question at that moment, while it stands.
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
