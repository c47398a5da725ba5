// SPDX-License-Identifier: Apache-2.0

#include "tool/simulation.h"

#include <corvo/evaluation.h>

#include <algorithm>
#include <bit>
#include <deque>
#include <functional>

namespace corvo::tool {
namespace {

void add(std::span<const std::uint64_t> more, std::span<std::uint64_t> counts) {
  std::ranges::transform(counts, more, counts.begin(), std::plus());
}

/// Counts for each pair of experiments the users who are in both. It notes users as bits, and
/// compares many of them at once.
class OverlapCount {
 public:
  /// Counts nothing if there are too many experiments.
  explicit OverlapCount(std::size_t experiments) {
    if (experiments < 2 || experiments > Simulation::kMostOverlapping) return;
    users_.resize(experiments);
    overlaps_.resize(experiments * (experiments - 1) / 2);
  }

  void note(std::size_t experiment) {
    if (!users_.empty()) users_[experiment][next_ / kBits] |= std::uint64_t{1} << next_ % kBits;
  }

  void nextUser() {
    if (++next_ == kWords * kBits) count();
  }

  /// The counts of all users so far.
  [[nodiscard]] std::span<const std::uint64_t> finish() {
    count();
    return overlaps_;
  }

 private:
  static constexpr std::size_t kBits = 64;
  static constexpr std::size_t kWords = 64;
  using Users = std::array<std::uint64_t, kWords>;

  void count() {
    auto overlap = overlaps_.begin();
    for (std::size_t i = 1; i < users_.size(); ++i) {
      for (std::size_t before = 0; before < i; ++before, ++overlap) {
        for (std::size_t word = 0; word < kWords; ++word) {
          const std::uint64_t both = users_[i][word] & users_[before][word];
          *overlap += static_cast<std::uint64_t>(std::popcount(both));
        }
      }
    }
    std::ranges::fill(users_, Users());
    next_ = 0;
  }

  std::size_t next_ = 0;      // the bit of the next user
  std::vector<Users> users_;  // by experiment
  std::vector<std::uint64_t> overlaps_;
};

/// Counts the users of one thread.
class Counter {
 public:
  Counter(const Project& project, std::span<const std::size_t> positions)
      : positions_(positions),
        about_(project, {.now = 0}),
        tallies_(positions.size()),
        overlaps_(positions.size()) {}

  void count(const EvaluationContext& user) {
    about_.reset(user);
    std::size_t i = 0;
    for (const Evaluation::Placement& placement : about_.placements(positions_)) {
      countPlacement(placement, tallies_[i]);
      if (placement.group) overlaps_.note(i);
      ++i;
    }
    overlaps_.nextUser();
  }

  void addTo(Simulation& all) {
    for (std::size_t i = 0; i < tallies_.size(); ++i) {
      ExperimentTally& sum = all.experiments[i];
      add(tallies_[i].reasons, sum.reasons);
      for (const auto& [holdout, users] : tallies_[i].heldOut) sum.heldOut[holdout] += users;
      addGroups(tallies_[i].bucketed, sum.bucketed);
      addGroups(tallies_[i].forced, sum.forced);
    }
    const auto overlaps = overlaps_.finish();
    all.overlaps.resize(overlaps.size());
    add(overlaps, all.overlaps);
  }

 private:
  static void countPlacement(const Evaluation::Placement& placement, ExperimentTally& tally) {
    ++tally.reasons.at(static_cast<std::size_t>(placement.reason));
    if (placement.holdout) ++tally.heldOut[*placement.holdout];
    if (!placement.group) return;
    auto& groups = placement.reason == PlacementReason::bucketed ? tally.bucketed : tally.forced;
    if (groups.size() <= *placement.group) groups.resize(*placement.group + 1);
    ++groups[*placement.group];
  }

  static void addGroups(std::span<const std::uint64_t> more, std::vector<std::uint64_t>& groups) {
    if (groups.size() < more.size()) groups.resize(more.size());
    add(more, std::span(groups).first(more.size()));
  }

  std::span<const std::size_t> positions_;
  Evaluation about_;
  std::vector<ExperimentTally> tallies_;
  OverlapCount overlaps_;
};

}  // namespace

Simulation simulate(const Project& project, const EvaluationContext& defaults,
                    const Population& population, std::span<const std::size_t> experiments,
                    std::size_t jobs) {
  std::deque<Counter> counters;
  std::vector<Population::Visit> visitors;
  for (std::size_t i = 0; i < jobs; ++i) {
    Counter& counter = counters.emplace_back(project, experiments);
    visitors.emplace_back(
        [&counter](std::size_t, const EvaluationContext& user) { counter.count(user); });
  }
  Simulation all;
  all.users = population.visit(defaults, visitors);
  all.experiments.resize(experiments.size());
  for (Counter& each : counters) each.addTo(all);
  return all;
}

}  // namespace corvo::tool
