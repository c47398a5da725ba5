// SPDX-License-Identifier: Apache-2.0

#include "placement/hash_counts.h"

#include <algorithm>
#include <cstddef>
#include <tuple>

#include "placement/arithmetic.h"

namespace corvo::corvo_internal::placement {
namespace {

// The magnitude of a hash, which decides everything.
using Magnitude = std::uint32_t;
constexpr Magnitude kLargest = Magnitude{1} << 31;

// How many hashes have a magnitude from `first` up to, but not including, `end`. Two, except that
// there is only one zero, and no positive 2^31.
std::uint64_t hashesIn(Magnitude first, Magnitude end) {
  const std::uint64_t both = 2 * (std::uint64_t{end} - first);
  return both - (first == 0 ? 1 : 0) - (end > kLargest ? 1 : 0);
}

// The bucket of the negative hash: -2^31 has no positive counterpart.
double magnitudeOf(Magnitude magnitude) {
  return -bucketOfHash(static_cast<std::int32_t>(-std::int64_t{magnitude}));
}

// Visits the runs of magnitudes with equal keys. A key must not come back after another one, so
// that the end of its run can be found by bisection.
template <class KeyAt, class Visit>
void forEachRun(KeyAt keyAt, Visit visit) {
  for (Magnitude first = 0; first <= kLargest;) {
    const auto key = keyAt(magnitudeOf(first));
    Magnitude last = first;
    Magnitude end = kLargest + 1;
    while (end - last > 1) {
      const Magnitude middle = last + (end - last) / 2;
      (keyAt(magnitudeOf(middle)) == key ? last : end) = middle;
    }
    visit(magnitudeOf(first), hashesIn(first, end));
    first = end;
  }
}

bool insideBounds(const model::Experiment& experiment, double bucket) {
  const double point = layerPoint(bucket);
  return std::ranges::any_of(experiment.layerBounds, [&](const model::LayerBounds& bounds) {
    return admits(bounds, point);
  });
}

std::uint64_t countInsideLayer(const model::Experiment& experiment) {
  if (experiment.layerBounds.empty()) return experiment.layerId ? 0 : HashCounts::kAll;
  std::uint64_t count = 0;
  forEachRun(layerPoint, [&](double bucket, std::uint64_t hashes) {
    if (insideBounds(experiment, bucket)) count += hashes;
  });
  return count;
}

}  // namespace

HashCounts countHashes(const model::Experiment& experiment) {
  const bool isOneHash =
      !experiment.layerBounds.empty() && layerSalt(experiment) == experiment.salt.view();
  HashCounts counts{.insideLayer = countInsideLayer(experiment),
                    .groups = std::vector<std::uint64_t>(experiment.groups.size())};
  counts.eligible = isOneHash ? counts.insideLayer : HashCounts::kAll;
  const auto isInside = [&](double bucket) {
    return insideAllocation<targeting::NoObserver>(experiment, bucket, {});
  };
  const auto rangeOf = [&](double bucket) {
    return rangeAt<targeting::NoObserver>(groupPoint(bucket), experiment.groups, {});
  };
  // Within a cycle, the range never decreases; beyond the allocation, nothing else matters.
  const auto keyAt = [&](double bucket) {
    if (!isInside(bucket)) return std::tuple(-1, std::size_t{0}, 0.0);
    return std::tuple(cycleOf(bucket), rangeOf(bucket), isOneHash ? layerPoint(bucket) : 0.0);
  };
  forEachRun(keyAt, [&](double bucket, std::uint64_t hashes) {
    if (!isInside(bucket) || (isOneHash && !insideBounds(experiment, bucket))) return;
    counts.insideAllocation += hashes;
    std::size_t group = rangeOf(bucket);
    if (group == experiment.groups.size()) group = restOf(experiment.groups);
    if (group < experiment.groups.size()) counts.groups[group] += hashes;
  });
  return counts;
}

}  // namespace corvo::corvo_internal::placement
