// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/evaluation_context.h>
#include <corvo/project.h>

#include <compare>
#include <cstddef>
#include <string>
#include <vector>

#include "tool/first_difference.h"
#include "tool/population.h"

namespace corvo::tool {

/// What a user gets from a flag, an experiment or a holdout.
struct ItemAnswer {
  /// Whether the flag has a value, or whether the user is in the experiment.
  bool isThere = false;
  /// The text of the flag's value, or the case of its error; the name of the group, or nothing.
  std::string text;

  auto operator<=>(const ItemAnswer&) const = default;
};

/// Users with the same old answer, and the same new one.
struct Move {
  ItemAnswer from;
  ItemAnswer to;
  std::size_t users = 0;
};

/// Users who stay in a group that gets another index.
struct Renumbering {
  std::string group;
  std::size_t from = 0;
  std::size_t to = 0;
  std::size_t users = 0;
};

/// Users whose explanations part at the same step.
struct Reason {
  Difference difference;
  std::size_t users = 0;
  std::size_t firstUser = 0;  ///< The lowest of their positions.
};

/// A flag, an experiment or a holdout of one project or of both, by its name, and what happens to
/// its users.
struct ItemChange {
  enum class Kind { flag, experiment, holdout };

  Kind kind{};
  std::string name;
  bool isInOld = false;
  bool isInNew = false;

  // Each user counts as one of these.
  std::size_t kept = 0;     ///< The same answer.
  std::size_t changed = 0;  ///< Another value, error or group.
  std::size_t entered = 0;  ///< A value instead of an error, or a group instead of none.
  std::size_t left = 0;     ///< The opposite.

  std::vector<Move> moves = {};  ///< Of all who did not keep their answer; most users first.
  std::vector<Renumbering> renumberings = {};  ///< Of some who did.
  std::size_t explained = 0;                   ///< How many users the reasons are about.
  std::vector<Reason> reasons = {};            ///< Most users first.

  [[nodiscard]] bool isInBoth() const { return isInOld && isInNew; }
  /// Users of an experiment in both projects whose group has another name.
  [[nodiscard]] std::size_t regrouped() const {
    return kind != Kind::flag && isInBoth() ? changed : 0;
  }
};

struct Comparison {
  /// Flags, then experiments and holdouts: those of the new project in its order, then the others.
  /// An experiment that became a holdout is a holdout.
  std::vector<ItemChange> items;
  std::size_t users = 0;
};

/// Asks two projects about the same users, on so many threads. The changed answers of an item that
/// both projects have are explained, but only those of so many users, from the first. Throws what
/// `Population::visit` throws.
[[nodiscard]] Comparison compare(const Project& before, const Project& after,
                                 const Population& population, const EvaluationContext& defaults,
                                 std::size_t jobs, std::size_t explainedUsers);

}  // namespace corvo::tool
