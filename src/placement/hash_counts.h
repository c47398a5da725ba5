// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <vector>

#include "model/config.h"

namespace corvo::corvo_internal::placement {

/// How many of the 2^32 hashes lead where in an experiment. The counts are exact: they come from
/// the functions that place users.
struct HashCounts {
  static constexpr std::uint64_t kAll = std::uint64_t{1} << 32;

  std::uint64_t insideLayer = 0;  ///< Of all hashes with the layer's salt.
  /// Of all hashes with the experiment's salt. If the layer's salt is the same, so is the hash, and
  /// only the hashes inside the layer remain.
  std::uint64_t eligible = 0;
  std::uint64_t insideAllocation = 0;  ///< Of the eligible hashes.
  std::vector<std::uint64_t> groups;   ///< Of those inside the allocation, for each group.
};

/// Ignores forced lists, holdouts and targets. Inverted layer bounds may abort the process.
[[nodiscard]] HashCounts countHashes(const model::Experiment& experiment);

}  // namespace corvo::corvo_internal::placement
