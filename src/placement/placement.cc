// SPDX-License-Identifier: Apache-2.0

#include "placement/placement.h"

#include <array>
#include <cstddef>
#include <string_view>

#include "model/fields.h"

namespace corvo {
namespace {

struct ReasonWord {
  PlacementReason reason;
  std::string_view word;
};
using Of = PlacementReason;
constexpr std::array<ReasonWord, 9> kReasons{{
    {Of::forcedIntoGroup, "forcedIntoGroup"},
    {Of::forcedIntoExperiment, "forcedIntoExperiment"},
    {Of::bucketed, "bucketed"},
    {Of::noSplitIdentifier, "noSplitIdentifier"},
    {Of::heldOut, "heldOut"},
    {Of::outsideLayer, "outsideLayer"},
    {Of::outsideAllocation, "outsideAllocation"},
    {Of::noGroup, "noGroup"},
    {Of::targetsNotMet, "targetsNotMet"},
}};
static_assert(corvo_internal::model::isByEnumerator(kReasons,
                                                    [](const auto& row) { return row.reason; }));

}  // namespace

std::string_view textOf(PlacementReason reason) noexcept {
  return kReasons[static_cast<std::size_t>(reason)].word;
}

}  // namespace corvo
