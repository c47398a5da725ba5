#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "base/md5.h"
#include "experiments/placement.h"
#include "model/config.h"

// Where the hash puts a user in one experiment. Pure, from any thread; the same on every processor:
// IEEE 754 doubles, each operation rounded by itself, in the order written.

namespace corvo::experiments {

/// The polynomial hash of a digest's 32 hexadecimal digits: h = 31 h + c modulo 2^32, as a signed
/// number (two's complement).
[[nodiscard]] std::int32_t stringHash32(const base::Md5Digest& digest) noexcept;

/// The hash of the two texts joined, scaled to -9942.8 to 9942.8. Of use is its absolute value.
[[nodiscard]] double bucketValue(std::string_view splitId, std::string_view salt) noexcept;

/// The first group in whose forced list the identifier stands.
[[nodiscard]] std::optional<std::size_t> forcedGroupIndex(const std::vector<model::Group>& groups,
                                                          std::string_view splitId) noexcept;

enum class AllocationTest : bool { skipped, applied };

/// The group whose share of the weights the bucket falls in. A point on a boundary belongs to the
/// earlier group; one beyond all weights to the first group named "a".
[[nodiscard]] Placement pickGroupByWeight(const std::vector<model::Group>& groups,
                                          AllocationTest allocationTest, double bucket,
                                          double allocation) noexcept;

/// Which group of the experiment the identifier has, if any: by a group's forced list, else by the
/// experiment's (whatever layer and allocation say), else by layer, allocation and weights. Layer
/// bounds whose lower one exceeds the upper stop the process when they are reached.
[[nodiscard]] Placement assignGroup(std::string_view splitId, const model::Experiment& experiment);

}  // namespace corvo::experiments
