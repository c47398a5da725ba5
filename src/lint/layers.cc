// SPDX-License-Identifier: Apache-2.0

#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "lint/checks.h"
#include "lint/hashing.h"
#include "placement/bucketing.h"

namespace corvo::corvo_internal::lint {
namespace {

using model::Experiment;
using model::LayerBounds;

// A layer puts users at whole numbers from 0 to this one.
constexpr double kLastPoint =
    static_cast<int>(placement::kLargestBucket / placement::kLayerDivisor);

// The points of an interval, both ends included.
struct Points {
  double first;
  double last;

  [[nodiscard]] bool isEmpty() const { return !(first <= last); }
};

Points pointsOf(const LayerBounds& bounds) {
  // Bounds that are NaN contain no points.
  if (!(bounds.lowerBound <= bounds.upperBound)) return {1, 0};
  return {std::max(std::ceil(bounds.lowerBound), 0.0),
          std::min(std::floor(bounds.upperBound), kLastPoint)};
}

void checkBounds(Placed<LayerBounds> bounds, Report& report) {
  const std::string ends = "from " + shown(bounds->lowerBound) + " to " + shown(bounds->upperBound);
  if (placement::isInverted(*bounds)) {
    report.add(
        Code::invertedBounds, *bounds.node,
        "the bounds go " + ends + ": clients abort the process when they compare a user with them");
  } else if (pointsOf(*bounds).isEmpty()) {
    report.add(Code::emptyBounds, *bounds.node,
               "the bounds go " + ends +
                   " and contain no users: users are at whole numbers from 0 to " +
                   shown(kLastPoint));
  }
}

void checkLayerOf(const Document& document, Placed<Experiment> experiment, Report& report) {
  const auto bounds = document.list(experiment, &Experiment::layerBounds);
  if (bounds.empty() && experiment->layerId) {
    report.add(Code::layerWithoutBounds, document.place(experiment, &Experiment::layerId),
               "an experiment in a layer without bounds admits nobody");
  }
  if (!bounds.empty() && !experiment->layerId) {
    report.add(Code::boundsWithoutLayer, document.place(experiment, &Experiment::layerBounds),
               "the bounds have no layer_id: all such experiments share one layer");
  }
  for (const auto each : bounds) checkBounds(each, report);
}

// --- Experiments of one layer --------------------------------------------------------------------

struct Slice {
  Points points;
  Placed<Experiment> owner;
  const JsonNode* node;
};

std::map<Hashing, std::vector<Slice>> layersIn(const Document& document) {
  std::map<Hashing, std::vector<Slice>> layers;
  for (const auto experiment : document.keptExperiments()) {
    const Hashing layer = Hashing::ofLayer(*experiment);
    for (const auto bounds : document.list(experiment, &Experiment::layerBounds)) {
      const Points points = pointsOf(*bounds);
      if (!points.isEmpty()) layers[layer].push_back({points, experiment, bounds.node});
    }
  }
  return layers;
}

// Moves along the layer and keeps the two experiments that reach furthest so far. At least one of
// them differs from the experiment that comes next.
class Sweep {
 public:
  void add(const Slice& slice, Report& report) {
    for (const Slice* other : furthest_) {
      if (other == nullptr || other->owner.record == slice.owner.record) continue;
      if (other->points.last < slice.points.first) continue;
      tell(slice, *other, report);
      break;
    }
    keep(slice);
  }

 private:
  static void tell(const Slice& slice, const Slice& other, Report& report) {
    const double last = std::min(slice.points.last, other.points.last);
    report.add(Code::layerOverlap, *slice.node,
               "the experiment " + quoted(other.owner->name) + " also has the users at " +
                   (last == slice.points.first
                        ? "point " + shown(last)
                        : "points " + shown(slice.points.first) + " to " + shown(last)) +
                   " of this layer");
  }

  // The first reaches furthest; the second belongs to another experiment.
  void keep(const Slice& slice) {
    auto& [first, second] = furthest_;
    const auto isFurther = [&](const Slice* than) {
      return than == nullptr || slice.points.last > than->points.last;
    };
    const bool isOfFirst = first != nullptr && first->owner.record == slice.owner.record;
    if (isFurther(first)) {
      if (!isOfFirst) second = first;
      first = &slice;
    } else if (!isOfFirst && isFurther(second)) {
      second = &slice;
    }
  }

  std::array<const Slice*, 2> furthest_{};
};

void checkOverlaps(std::vector<Slice>& slices, Report& report) {
  std::ranges::stable_sort(slices, {}, [](const Slice& slice) { return slice.points.first; });
  Sweep sweep;
  for (const Slice& slice : slices) sweep.add(slice, report);
}

// If all intervals of a layer lie in its first tenth, the bounds were meant as percentages.
void checkScale(const Document& document, const std::vector<Slice>& slices, Report& report) {
  constexpr double kHundred = 100;
  double last = 0;
  for (const Slice& slice : slices) last = std::max(last, slice.points.last);
  if (last > kHundred) return;
  const Experiment* reported = nullptr;
  for (const Slice& slice : slices) {  // intervals of one experiment are adjacent
    if (std::exchange(reported, slice.owner.record) == slice.owner.record) continue;
    report.add(Code::boundsScale, document.place(slice.owner, &Experiment::layerBounds),
               "no bound in this layer exceeds " + shown(last) +
                   ": bounds are on a scale of 0 to " + shown(kLastPoint));
  }
}

}  // namespace

void checkLayers(const Document& document, Report& report) {
  for (const auto experiment : document.experiments()) checkLayerOf(document, experiment, report);
  for (auto& [layer, slices] : layersIn(document)) {
    checkScale(document, slices, report);
    checkOverlaps(slices, report);
  }
}

}  // namespace corvo::corvo_internal::lint
