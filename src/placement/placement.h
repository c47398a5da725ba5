// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/placement_reason.h>

#include <cstdint>

#include "model/config.h"

namespace corvo::corvo_internal::placement {

using corvo::PlacementReason;

/// A user's group in an experiment and the reason, or the reason why they have none.
struct Placement {
  PlacementReason reason = PlacementReason::noSplitIdentifier;
  const model::Group* group = nullptr;  ///< Null if the user is not in the experiment.
  std::uint32_t index = 0;              ///< The group's position.
  double bucket = 0;                    ///< The value that decided group or allocation, if one did.
  const model::Experiment* holdout = nullptr;  ///< The holdout that excludes the user.
};

}  // namespace corvo::corvo_internal::placement
