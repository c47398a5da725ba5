// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "base/md5.h"
#include "model/config.h"
#include "placement/observer.h"
#include "placement/placement.h"
#include "project/forced_lists.h"

// Computes where the hash puts a user in one experiment. The functions are pure and thread-safe.
// They give the same result on every processor: IEEE 754 doubles, each operation rounded
// separately, in the written order.

namespace corvo::corvo_internal::placement {

/// The polynomial hash of a digest's 32 hexadecimal digits: h = 31 h + c modulo 2^32, as a signed
/// number (two's complement).
[[nodiscard]] std::int32_t stringHash32(const base::Md5Digest& digest) noexcept;

// The scales of buckets. The constants are fixed, because other values would move users between
// groups.
inline constexpr double kBucketMultiplier = 85407170560000.0;
inline constexpr double kBucketScale = 0x1p-64;
inline constexpr double kLargestBucket = 0x1p31 * kBucketMultiplier * kBucketScale;
inline constexpr double kPercent = 100.0;
inline constexpr double kLayerDivisor = 10.0;
/// The layer salt if the layer has no name.
inline constexpr std::string_view kDefaultLayerSalt = "sad";
/// The group that gets the users whom the weights leave over.
inline constexpr std::string_view kFallbackGroup = "a";

/// The hash of a split identifier joined with a salt, scaled to -9942.8 to 9942.8. Callers use its
/// absolute value.
[[nodiscard]] double bucketValue(std::string_view splitId, std::string_view salt) noexcept;

/// The buckets of several pairs of identifier and salt, computed together in less time.
using Buckets = std::array<double, base::kMd5Lanes>;
[[nodiscard]] Buckets bucketValues(
    const std::array<base::Md5Message, base::kMd5Lanes>& messages) noexcept;

/// The salt that is appended to an identifier to place it in the layer of an experiment with
/// bounds.
[[nodiscard]] inline std::string_view layerSalt(const model::Experiment& experiment) noexcept {
  return experiment.layerId ? experiment.layerId->view() : kDefaultLayerSalt;
}

/// Whether the lower bound exceeds the upper one, and the message when that aborts the process.
[[nodiscard]] inline bool isInverted(const model::LayerBounds& bounds) noexcept {
  return bounds.lowerBound > bounds.upperBound;
}
inline constexpr const char* kInvertedBounds = "a layer bound's lower end exceeds its upper end";

/// Values that are already known; null if not.
struct Known {
  const double* bucket = nullptr;  ///< Of the identifier and the salt.
  const project::ForcedLists* forced = nullptr;
};

/// The group of the identifier in the experiment, if any: by a group's forced list, or else by the
/// experiment's (regardless of layer and allocation), or else by layer, allocation and weights.
/// Reaching layer bounds whose lower one exceeds the upper one aborts the process.
[[nodiscard]] Placement assignGroup(std::string_view splitId, const model::Experiment& experiment,
                                    const Known& known = {});
[[nodiscard]] Placement assignGroup(std::string_view splitId, const model::Experiment& experiment,
                                    Observer& observer);

}  // namespace corvo::corvo_internal::placement
