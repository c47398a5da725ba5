// SPDX-License-Identifier: Apache-2.0

#include "tool/simulation_report.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>
#include <numeric>
#include <utility>

#include "tool/experiment_list.h"

namespace corvo::tool {
namespace {

using Experiments = std::vector<ListedExperiment>;

std::uint64_t countOf(const std::vector<std::uint64_t>& counts, std::size_t group) {
  return group < counts.size() ? counts[group] : 0;
}

std::uint64_t sumOf(const std::vector<std::uint64_t>& counts) {
  return std::accumulate(counts.begin(), counts.end(), std::uint64_t{0});
}

std::vector<SimulationReport::Group> groupsOf(const Project::Experiment& experiment,
                                              const ExperimentTally& tally,
                                              const Project::Shares& shares) {
  const auto bucketed = static_cast<double>(sumOf(tally.bucketed));
  std::vector<SimulationReport::Group> groups;
  for (std::size_t i = 0; i < experiment.groups.size(); ++i) {
    groups.push_back({.name = experiment.groups[i].name,
                      .weight = experiment.groups[i].weight,
                      .share = shares.groups[i],
                      .expected = shares.groups[i] * bucketed,
                      .bucketed = countOf(tally.bucketed, i),
                      .forced = countOf(tally.forced, i)});
  }
  return groups;
}

std::vector<SimulationReport::Outside> outsideOf(const ExperimentTally& tally,
                                                 const Experiments& experiments) {
  std::vector<SimulationReport::Outside> outside;
  for (std::size_t i = 0; i < tally.reasons.size(); ++i) {
    const auto reason = static_cast<PlacementReason>(i);
    if (reason == PlacementReason::heldOut) {
      for (const auto& [holdout, users] : tally.heldOut) {
        outside.push_back({reason, experiments[holdout].name, users});
      }
    } else if (reason > PlacementReason::bucketed && tally.reasons[i] > 0) {
      outside.push_back({reason, {}, tally.reasons[i]});
    }
  }
  return outside;
}

void test(SimulationReport::Experiment& experiment) {
  std::vector<ExpectedCount> cells;
  for (const SimulationReport::Group& each : experiment.groups) {
    if (each.share > 0) cells.push_back({each.expected, each.bucketed});
  }
  if (experiment.shares.dependOnHoldouts) {
    experiment.untested = "a holdout has the same salt, so the shares of the others are unknown";
  } else if (experiment.bucketed == 0) {
    experiment.untested = "no users";
  } else if (cells.size() == 1) {
    experiment.untested = "only one group can have users";
  } else {
    experiment.fit = fitOf(std::move(cells));
    if (!experiment.fit) experiment.untested = "too few users";
  }
}

/// Whether the second one is a holdout that the first one names.
bool isHeldOutBy(const ListedExperiment& experiment, const ListedExperiment& holdout) {
  return holdout.isHoldout && std::ranges::count(experiment.holdouts, holdout.name) > 0;
}

std::vector<SimulationReport::Overlap> overlapsOf(const Simulation& simulation,
                                                  const SimulationReport& report,
                                                  const Experiments& experiments) {
  std::vector<SimulationReport::Overlap> overlaps;
  if (simulation.overlaps.empty()) return overlaps;
  const auto isHeldOut = [&](std::size_t experiment, std::size_t holdout) {
    return isHeldOutBy(experiments[report.experiments[experiment].position],
                       experiments[report.experiments[holdout].position]);
  };
  for (std::size_t first = 0; first < report.experiments.size(); ++first) {
    const auto inFirst = static_cast<double>(report.experiments[first].users);
    for (std::size_t second = first + 1; second < report.experiments.size(); ++second) {
      const auto inSecond = static_cast<double>(report.experiments[second].users);
      const double all = std::max(static_cast<double>(report.users), 1.0);
      overlaps.push_back({first, second, simulation.overlap(first, second),
                          inFirst * inSecond / all,
                          isHeldOut(first, second) || isHeldOut(second, first)});
    }
  }
  return overlaps;
}

/// Pearson's test of independence, for users inside and outside of two experiments.
bool isStriking(const SimulationReport::Overlap& overlap, const SimulationReport& report) {
  const auto all = static_cast<double>(report.users);
  const auto inFirst = static_cast<double>(report.experiments[overlap.first].users);
  const auto inSecond = static_cast<double>(report.experiments[overlap.second].users);
  const double expected = overlap.expected;
  const double least = std::min(
      {expected, inFirst - expected, inSecond - expected, all - inFirst - inSecond + expected});
  if (least < kLeastExpected) return false;
  const double difference = static_cast<double>(overlap.users) - expected;
  const double variance = expected * (1 - inFirst / all) * (1 - inSecond / all);
  return chiSquareTail(difference * difference / variance, 1) < kFlaggedBelow;
}

}  // namespace

std::size_t SimulationReport::flaggedCount() const {
  return static_cast<std::size_t>(std::ranges::count_if(
      experiments, [](const Experiment& each) { return each.fit && each.fit->isFlagged(); }));
}

std::vector<SimulationReport::Overlap> SimulationReport::strikingOverlaps() const {
  std::vector<Overlap> striking;
  std::ranges::copy_if(overlaps, std::back_inserter(striking), [this](const Overlap& each) {
    return !each.isHeldOut && isStriking(each, *this);
  });
  std::ranges::stable_sort(striking, std::ranges::greater(), [](const Overlap& each) {
    return std::fabs(std::log(static_cast<double>(each.users) / each.expected));
  });
  return striking;
}

std::string_view textOf(const SimulationReport::Outside& outside) {
  constexpr std::array kWords{"no identifier",          "held out by", "outside the layer",
                              "outside the allocation", "no group",    "targets not met"};
  constexpr auto kFirst = static_cast<std::size_t>(PlacementReason::noSplitIdentifier);
  static_assert(kFirst + kWords.size() == ExperimentTally::kReasons);
  return kWords.at(static_cast<std::size_t>(outside.reason) - kFirst);
}

SimulationReport reportOf(const Project& project, const Simulation& simulation,
                          std::span<const std::size_t> positions) {
  const Experiments experiments = allExperiments(project);
  SimulationReport report{.users = simulation.users, .experiments = {}, .overlaps = {}};
  for (std::size_t i = 0; i < positions.size(); ++i) {
    const ExperimentTally& tally = simulation.experiments[i];
    const ListedExperiment& each = experiments[positions[i]];
    SimulationReport::Experiment& described = report.experiments.emplace_back();
    described.name = each.name;
    described.position = each.position;
    described.isHoldout = each.isHoldout;
    described.bucketed = sumOf(tally.bucketed);
    described.users = described.bucketed + sumOf(tally.forced);
    described.shares = project.shares(each.position).value();
    described.groups = groupsOf(each, tally, described.shares);
    described.outside = outsideOf(tally, experiments);
    test(described);
  }
  report.overlaps = overlapsOf(simulation, report, experiments);
  return report;
}

}  // namespace corvo::tool
