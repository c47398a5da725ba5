// SPDX-License-Identifier: Apache-2.0

#include <algorithm>
#include <cmath>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "lint/checks.h"
#include "lint/hashing.h"
#include "placement/bucketing.h"

namespace corvo::corvo_internal::lint {
namespace {

using model::Experiment;
using model::Group;
using placement::kPercent;

// --- Allocation and weights by themselves --------------------------------------------------------

// Whether a number is a valid fraction.
bool checkFraction(double share, const char* what, const JsonNode& node, Report& report) {
  const std::string text = std::string(what) + " is " + shown(share);
  if (!std::isfinite(share)) {
    report.add(Code::notFiniteShare, node, text);
  } else if (share < 0) {
    report.add(Code::negativeShare, node, text);
  } else if (share > 1) {
    report.add(Code::percentage, node, text + ", but it is a fraction: 1 means everybody");
  } else {
    if (share == 0) report.add(Code::zeroShare, node, text);
    return true;
  }
  return false;
}

// Six digits of a third are enough.
constexpr double kSumTolerance = 1e-5;

void checkSum(const Document& document, Placed<Experiment> experiment, Report& report) {
  double sum = 0;
  bool hasFallback = false;
  for (const Group& group : experiment->groups) {
    sum += group.weight;
    hasFallback = hasFallback || group.name == placement::kFallbackGroup;
  }
  if (std::fabs(sum - 1) <= kSumTolerance) return;
  const std::string rest =
      hasFallback ? "the group \"a\" gets the remaining users" : "the remaining users get no group";
  report.add(Code::weightsSum, document.place(experiment, &Experiment::groups),
             "the weights sum to " + shown(sum) + ", not 1: " +
                 (sum < 1 ? rest : std::string("the last groups get less than their weights")));
}

// --- The allocation's last cycle -----------------------------------------------------------------

// The part of an experiment's users that falls into one group.
struct GroupFraction {
  std::string_view name;
  double meant;
  double real;
};

// A user's point is the remainder of the bucket modulo 100. The allocation admits buckets up to a
// limit: whole cycles of a hundred and the beginning of another one, which covers only the first
// groups.
std::vector<GroupFraction> groupFractionsOf(const Experiment& experiment) {
  const double limit =
      std::min(experiment.allocation * kPercent * kPercent, placement::kLargestBucket);
  const double cycles = std::floor(limit / kPercent);
  const double rest = limit - cycles * kPercent;
  std::vector<GroupFraction> shares;
  double start = 0;
  double cumulative = 0;
  for (const Group& group : experiment.groups) {
    cumulative += group.weight * kPercent;
    const double end = std::min(cumulative, kPercent);
    const double size = std::max(end - start, 0.0);
    const double admitted = cycles * size + std::clamp(rest - start, 0.0, size);
    shares.push_back({group.name, size / kPercent, admitted / limit});
    start = end;
  }
  return shares;
}

std::string described(const GroupFraction& share) {
  return "the group " + quoted(share.name) + " gets " + percent(share.real) + ", not " +
         percent(share.meant);
}

void checkAllocationCut(const Document& document, Placed<Experiment> experiment, Report& report) {
  constexpr double kTolerated = 0.01 + 1e-9;  // of the weight, plus the rounding error
  if (experiment->allocation == 0) return;
  std::string text;
  std::size_t count = 0;
  for (const GroupFraction& share : groupFractionsOf(*experiment)) {
    if (std::fabs(share.real - share.meant) <= kTolerated * share.meant) continue;
    if (++count <= 3) text += "; " + described(share);
  }
  if (count == 0) return;
  if (count > 3) text += "; and " + std::to_string(count - 3) + " more groups";
  report.add(Code::allocationCut, document.place(experiment, &Experiment::allocation),
             "of the users that an allocation of " + shown(experiment->allocation) + " admits" +
                 text.replace(0, 1, ","));
}

void checkAllocationOf(const Document& document, Placed<Experiment> experiment, Report& report) {
  if (experiment->groups.empty()) {
    return report.add(Code::noGroups, *experiment.node,
                      "an experiment without groups has no users");
  }
  bool isSound = checkFraction(experiment->allocation, "the allocation",
                               document.place(experiment, &Experiment::allocation), report);
  bool areWeights = true;
  for (const auto group : document.list(experiment, &Experiment::groups)) {
    areWeights &=
        checkFraction(group->weight, "the weight", document.place(group, &Group::weight), report);
  }
  if (areWeights) checkSum(document, experiment, report);
  if (isSound && areWeights) checkAllocationCut(document, experiment, report);
}

// --- Salts ---------------------------------------------------------------------------------------

std::set<Hashing> layersOf(const Document& document) {
  std::set<Hashing> layers;
  for (const auto experiment : document.keptExperiments()) {
    if (experiment->layerBounds.empty()) continue;
    layers.insert(Hashing::ofLayer(*experiment));
  }
  return layers;
}

void checkSalts(const Document& document, Report& report) {
  const std::set<Hashing> layers = layersOf(document);
  std::map<Hashing, std::string_view> names;
  for (const auto experiment : document.keptExperiments()) {
    const Hashing hashing = Hashing::of(*experiment, experiment->salt);
    const JsonNode& place = document.place(experiment, &Experiment::salt);
    const auto [first, isNew] = names.try_emplace(hashing, experiment->name.view());
    if (!isNew) {
      report.add(Code::sameSalt, place,
                 "the experiment " + quoted(first->second) +
                     " has the same salt: every user has the same position in both");
    }
    if (layers.contains(hashing)) {
      report.add(Code::saltIsLayer, place,
                 "the salt is the name of a layer: the position in the layer decides the group");
    }
  }
}

}  // namespace

void checkAllocations(const Document& document, Report& report) {
  for (const auto experiment : document.experiments())
    checkAllocationOf(document, experiment, report);
  checkSalts(document, report);
}

}  // namespace corvo::corvo_internal::lint
