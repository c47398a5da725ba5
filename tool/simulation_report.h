// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/project.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "tool/chi_square.h"
#include "tool/simulation.h"

namespace corvo::tool {

/// What a simulation says about each experiment and about pairs of them, ready for display.
struct SimulationReport {
  struct Group {
    std::string name;
    double weight = 0;
    double share = 0;            ///< Of the users with a group, by the arithmetic of the hash.
    double expected = 0;         ///< That share of the users whom the hash put into a group.
    std::uint64_t bucketed = 0;  ///< The users whom the hash put into this group.
    std::uint64_t forced = 0;    ///< The users whom a forced list put there.
  };
  /// Users who are not in the experiment, for one reason.
  struct Outside {
    PlacementReason reason{};
    std::optional<std::string> holdout;  ///< The name of the holdout that excludes them.
    std::uint64_t users = 0;
  };
  struct Experiment {
    std::string name;
    std::size_t position = 0;
    bool isHoldout = false;
    std::uint64_t users = 0;     ///< In the experiment.
    std::uint64_t bucketed = 0;  ///< Of these, the ones whom the hash put into a group.
    Project::Shares shares;
    std::vector<Group> groups;
    std::vector<Outside> outside;  ///< In the order in which the reasons are checked.
    std::optional<Fit> fit;        ///< Of the groups' users to the shares.
    std::string untested;          ///< Why there is no fit, for people; empty if there is one.
  };
  struct Overlap {
    std::size_t first = 0;  ///< Positions in `experiments`.
    std::size_t second = 0;
    std::uint64_t users = 0;  ///< In both.
    double expected = 0;      ///< If being in one did not depend on being in the other.
    bool isHeldOut = false;   ///< One of them is a holdout that keeps its users out of the other.
  };

  std::uint64_t users = 0;
  std::vector<Experiment> experiments;  ///< In the configuration's order.
  std::vector<Overlap> overlaps;        ///< All pairs; none if there are too many experiments.

  [[nodiscard]] std::size_t flaggedCount() const;
  /// The overlaps that neither chance nor a holdout explains, in the order of their distance from
  /// what independence would give, as a ratio.
  [[nodiscard]] std::vector<Overlap> strikingOverlaps() const;
};

/// A part of a whole; 0 of nothing.
template <class Part>
[[nodiscard]] double fractionOf(Part part, std::uint64_t whole) {
  return whole == 0 ? 0 : static_cast<double>(part) / static_cast<double>(whole);
}

/// The reason in words. If it is a holdout, its name must follow.
[[nodiscard]] std::string_view textOf(const SimulationReport::Outside& outside);

[[nodiscard]] SimulationReport reportOf(const Project& project, const Simulation& simulation,
                                        std::span<const std::size_t> positions);

}  // namespace corvo::tool
