// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>

#include "base/stop_process.h"
#include "model/config.h"
#include "placement/bucketing.h"
#include "placement/observer.h"

// The steps from a hash to a group, each by itself. Placing a user takes them once; counting the
// hashes of a group takes them many times. IEEE 754 doubles, each operation rounded separately, in
// the written order.

namespace corvo::corvo_internal::placement {

/// The hash, scaled. The sign does not change the magnitude.
[[nodiscard]] inline double bucketOfHash(std::int32_t hash) noexcept {
  return static_cast<double>(hash) * kBucketMultiplier * kBucketScale;
}

/// The bucket's place in a layer: a whole number from 0 to 994.
[[nodiscard]] inline double layerPoint(double bucket) noexcept {
  return std::floor(std::fabs(bucket / kLayerDivisor));
}

/// Unordered bounds, such as NaN, admit nobody. Inverted ones abort the process.
[[nodiscard]] inline bool admits(const model::LayerBounds& bounds, double point) {
  if (isInverted(bounds)) base::stopProcess(kInvertedBounds);
  return bounds.lowerBound <= point && point <= bounds.upperBound;
}

template <class AnyObserver>
bool insideAllocation(const model::Experiment& experiment, double magnitude, AnyObserver observer) {
  const double used = magnitude / kPercent;
  const double limit = experiment.allocation * kPercent;
  const bool isInside = !(used > limit);
  observer.on(AllocationTested{experiment.allocation, used, limit, isInside});
  return isInside;
}

/// How many whole cycles of 100 a magnitude contains. Only the quotient is rounded, and never up to
/// the next whole number: below 100 n it is at least 0.64 of n's last place below n.
[[nodiscard]] inline int cycleOf(double magnitude) noexcept {
  return static_cast<int>(magnitude / kPercent);
}

/// The magnitude's remainder modulo 100, identical to that of `std::fmod` to the bit, in a third of
/// the time.
[[nodiscard]] inline double groupPoint(double magnitude) noexcept {
  return magnitude - cycleOf(magnitude) * kPercent;
}

/// The first group whose range ends at or after the point; the number of groups if there is none.
/// Never decreases with the point.
template <class AnyObserver>
std::size_t rangeAt(double point, model::List<model::Group> groups, AnyObserver observer) {
  double cumulative = 0;
  std::size_t i = 0;
  for (; i < groups.size(); ++i) {
    cumulative += groups[i].weight * kPercent;
    const bool holds = point <= cumulative;
    observer.on(WeightTested{cumulative, holds});
    if (holds) break;
  }
  return i;
}

/// The group that gets the users beyond the last range; the number of groups if there is none.
[[nodiscard]] inline std::size_t restOf(model::List<model::Group> groups) noexcept {
  std::size_t i = 0;
  while (i < groups.size() && groups[i].name != kFallbackGroup) ++i;
  return i;
}

}  // namespace corvo::corvo_internal::placement
