// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/export.h>

#include <cstdint>
#include <string_view>

namespace corvo {

/// Why a user has a group in an experiment, or has none. The first three have one.
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

/// The name of the enumerator, as the fact `reason` of explanations. It never changes.
[[nodiscard]] CORVO_EXPORT std::string_view textOf(PlacementReason reason) noexcept;

}  // namespace corvo
