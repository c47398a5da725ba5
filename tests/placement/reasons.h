#pragma once

#include <array>
#include <string>

#include "placement/placement.h"

namespace corvo::placement {

/// What the tables of cases call a reason.
inline std::string nameOf(PlacementReason reason) {
  constexpr std::array kNames{
      "forcedIntoGroup", "forcedIntoExperiment", "bucketed", "noSplitIdentifier", "heldOut",
      "outsideLayer",    "outsideAllocation",    "noGroup",  "targetsNotMet"};
  return kNames.at(static_cast<std::size_t>(reason));
}

}  // namespace corvo::placement
