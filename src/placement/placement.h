// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "model/config.h"

namespace corvo::corvo_internal::placement {

/// Why a user has a group in an experiment, or has none.
enum class PlacementReason : std::uint8_t {
  forcedIntoGroup,       ///< The group's forced list contains them.
  forcedIntoExperiment,  ///< The experiment's forced list contains them; the weights chose the
                         ///< group.
  bucketed,              ///< The hash put them there, and the targets, if any, are met.
  noSplitIdentifier,     ///< They lack the property that the experiment splits by.
  heldOut,               ///< They are in a holdout that the experiment names.
  outsideLayer,          ///< No interval of the layer admits them.
  outsideAllocation,     ///< The allocation does not cover them.
  noGroup,               ///< There are no groups, or the weights do not cover them.
  targetsNotMet          ///< They do not meet the targets.
};

/// A user's group in an experiment and the reason, or the reason why they have none.
struct Placement {
  PlacementReason reason = PlacementReason::noSplitIdentifier;
  const model::Group* group = nullptr;  ///< Null if the user is not in the experiment.
  std::uint32_t index = 0;              ///< The group's position.
  double bucket = 0;                    ///< The value that decided group or allocation, if one did.
  const model::Experiment* holdout = nullptr;  ///< The holdout that excludes the user.
};

}  // namespace corvo::corvo_internal::placement
