// SPDX-License-Identifier: Apache-2.0

#include "placement/hash_counts.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
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

// The layer of an experiment that has bounds: whether each of its points is inside.
class Layer {
 public:
  explicit Layer(const model::Experiment& experiment) {
    const auto last = static_cast<int>(layerPoint(kLargestBucket));
    for (int point = 0; point <= last; ++point) {
      isInside_.push_back(std::ranges::any_of(
          experiment.layerBounds,
          [&](const model::LayerBounds& bounds) { return admits(bounds, point); }));
    }
  }

  [[nodiscard]] bool isInside(double bucket) const {
    return isInside_[static_cast<std::size_t>(layerPoint(bucket))];
  }

 private:
  std::vector<bool> isInside_;
};

// The ends of the groups' ranges, each at least as large as the one before, so that a range can be
// found by bisection.
class Ranges {
 public:
  explicit Ranges(model::List<model::Group> groups) {
    struct Collector {
      std::vector<double>& ends;
      void on(const WeightTested& test) {
        const double before = ends.empty() ? -kEndless : ends.back();
        ends.push_back(std::fmax(before, test.end));
      }
    };
    Collector collector{ends_};
    rangeAt<Collector&>(kEndless, groups, collector);
  }

  // The same as `rangeAt`.
  [[nodiscard]] std::size_t at(double point) const {
    return static_cast<std::size_t>(std::ranges::lower_bound(ends_, point) - ends_.begin());
  }

 private:
  static constexpr double kEndless = std::numeric_limits<double>::infinity();

  std::vector<double> ends_;
};

std::uint64_t countInsideLayer(const model::Experiment& experiment, const Layer& layer) {
  if (experiment.layerBounds.empty()) return experiment.layerId ? 0 : HashCounts::kAll;
  std::uint64_t count = 0;
  forEachRun(layerPoint, [&](double bucket, std::uint64_t hashes) {
    if (layer.isInside(bucket)) count += hashes;
  });
  return count;
}

}  // namespace

HashCounts countHashes(const model::Experiment& experiment) {
  const bool isOneHash =
      !experiment.layerBounds.empty() && layerSalt(experiment) == experiment.salt.view();
  const Layer layer(experiment);
  const Ranges ranges(experiment.groups);
  HashCounts counts{.insideLayer = countInsideLayer(experiment, layer),
                    .groups = std::vector<std::uint64_t>(experiment.groups.size())};
  counts.eligible = isOneHash ? counts.insideLayer : HashCounts::kAll;
  const auto isInside = [&](double bucket) {
    return insideAllocation<targeting::NoObserver>(experiment, bucket, {});
  };
  const auto rangeOf = [&](double bucket) { return ranges.at(groupPoint(bucket)); };
  const std::size_t rest = restOf(experiment.groups);
  // Within a cycle, the range never decreases; beyond the allocation, nothing else matters.
  const auto keyAt = [&](double bucket) {
    if (!isInside(bucket)) return std::tuple(-1, std::size_t{0}, 0.0);
    return std::tuple(cycleOf(bucket), rangeOf(bucket), isOneHash ? layerPoint(bucket) : 0.0);
  };
  forEachRun(keyAt, [&](double bucket, std::uint64_t hashes) {
    if (!isInside(bucket) || (isOneHash && !layer.isInside(bucket))) return;
    counts.insideAllocation += hashes;
    std::size_t group = rangeOf(bucket);
    if (group == experiment.groups.size()) group = rest;
    if (group < experiment.groups.size()) counts.groups[group] += hashes;
  });
  return counts;
}

}  // namespace corvo::corvo_internal::placement
