#pragma once

#include <cstdint>

#include "model/config.h"

namespace corvo::corvo_internal::placement {

/// Why a user has a group in an experiment, or has none.
enum class PlacementReason : std::uint8_t {
  forcedIntoGroup,       ///< The group's forced list names him.
  forcedIntoExperiment,  ///< The experiment's forced list names him; the weights chose the group.
  bucketed,              ///< The hash put him there, and the targets, if any, are met.
  noSplitIdentifier,     ///< He lacks the property that the experiment splits by.
  heldOut,               ///< He is in a holdout that the experiment names.
  outsideLayer,          ///< No interval of the layer admits him.
  outsideAllocation,     ///< The experiment is for a smaller share of the users.
  noGroup,               ///< There are no groups, or he is beyond their weights.
  targetsNotMet          ///< The experiment is for other users.
};

/// Which group a user has in an experiment and why, or why he has none.
struct Placement {
  PlacementReason reason = PlacementReason::noSplitIdentifier;
  const model::Group* group = nullptr;  ///< Null when the user is not in the experiment.
  std::uint32_t index = 0;              ///< The group's position.
  double bucket = 0;                    ///< What group or allocation were decided by, if they were.
  const model::Experiment* holdout = nullptr;  ///< The one that holds him out.
};

}  // namespace corvo::corvo_internal::placement
