#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "base/md5.h"
#include "model/config.h"
#include "placement/observer.h"
#include "placement/placement.h"
#include "project/forced_lists.h"

// Where the hash puts a user in one experiment. Pure, from any thread; the same on every processor:
// IEEE 754 doubles, each operation rounded by itself, in the order written.

namespace corvo::corvo_internal::placement {

/// The polynomial hash of a digest's 32 hexadecimal digits: h = 31 h + c modulo 2^32, as a signed
/// number (two's complement).
[[nodiscard]] std::int32_t stringHash32(const base::Md5Digest& digest) noexcept;

// The scales of buckets. The constants are fixed: others would move users between groups.
inline constexpr double kBucketMultiplier = 85407170560000.0;
inline constexpr double kBucketScale = 0x1p-64;
inline constexpr double kLargestBucket = 0x1p31 * kBucketMultiplier * kBucketScale;
inline constexpr double kPercent = 100.0;
inline constexpr double kLayerDivisor = 10.0;
/// Stands in for the name of a layer.
inline constexpr std::string_view kDefaultLayerSalt = "sad";
/// The group that takes what the weights leave.
inline constexpr std::string_view kFallbackGroup = "a";

/// The hash of a split identifier and a salt joined, scaled to -9942.8 to 9942.8. Of use is its
/// absolute value.
[[nodiscard]] double bucketValue(std::string_view splitId, std::string_view salt) noexcept;

/// Those of several, each of an identifier and a salt, in less time.
using Buckets = std::array<double, base::kMd5Lanes>;
[[nodiscard]] Buckets bucketValues(
    const std::array<base::Md5Message, base::kMd5Lanes>& messages) noexcept;

/// What is appended to an identifier to find its place in the layer of an experiment with bounds.
[[nodiscard]] inline std::string_view layerSalt(const model::Experiment& experiment) noexcept {
  return experiment.layerId ? experiment.layerId->view() : kDefaultLayerSalt;
}

/// Whether the lower bound exceeds the upper one, and what is said when that stops the process.
[[nodiscard]] inline bool isInverted(const model::LayerBounds& bounds) noexcept {
  return bounds.lowerBound > bounds.upperBound;
}
inline constexpr const char* kInvertedBounds = "a layer bound's lower end exceeds its upper end";

/// What has been found out beforehand; null where it has not.
struct Known {
  const double* bucket = nullptr;  ///< That of identifier and salt.
  const project::ForcedLists* forced = nullptr;
};

/// Which group of the experiment the identifier has, if any: by a group's forced list, else by the
/// experiment's (whatever layer and allocation say), else by layer, allocation and weights. Layer
/// bounds whose lower one exceeds the upper stop the process when they are reached.
[[nodiscard]] Placement assignGroup(std::string_view splitId, const model::Experiment& experiment,
                                    const Known& known = {});
[[nodiscard]] Placement assignGroup(std::string_view splitId, const model::Experiment& experiment,
                                    Observer& observer);

}  // namespace corvo::corvo_internal::placement
