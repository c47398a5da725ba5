// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/evaluation_context.h>
#include <corvo/placement_reason.h>
#include <corvo/project.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <span>
#include <vector>

#include "tool/population.h"

namespace corvo::tool {

/// Where the users are in one experiment.
struct ExperimentTally {
  static constexpr std::size_t kReasons =
      static_cast<std::size_t>(PlacementReason::targetsNotMet) + 1;

  std::array<std::uint64_t, kReasons> reasons{};  ///< By `PlacementReason`.
  std::map<std::size_t, std::uint64_t> heldOut;   ///< By the position of the holdout.
  std::vector<std::uint64_t> bucketed;            ///< By group: those whom the hash put there.
  std::vector<std::uint64_t> forced;              ///< By group: those whom a forced list put there.
};

/// The users of a whole population.
struct Simulation {
  /// Overlaps of more experiments are not counted: their number grows with the square.
  static constexpr std::size_t kMostOverlapping = 1'024;

  std::uint64_t users = 0;
  std::vector<ExperimentTally> experiments;  ///< In the order of their positions.
  /// For each experiment, and each one before it, the users who are in both. Empty if there are too
  /// many experiments.
  std::vector<std::uint64_t> overlaps;

  [[nodiscard]] std::uint64_t overlap(std::size_t before, std::size_t experiment) const {
    return overlaps[experiment * (experiment - 1) / 2 + before];
  }
};

/// Places all users of a population in the experiments at these positions, which must exist, with
/// so many threads. The context, which has a zone and no user, supplies what the users do not have.
/// Throws what `Population::visit` throws.
[[nodiscard]] Simulation simulate(const Project& project, const EvaluationContext& defaults,
                                  const Population& population,
                                  std::span<const std::size_t> experiments, std::size_t jobs);

}  // namespace corvo::tool
