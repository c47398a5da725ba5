// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/error.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <variant>
#include <vector>

#include "model/config.h"
#include "targeting/context.h"

namespace corvo::corvo_internal::experiments {

/// The position of the first experiment of that name, or the error that there is none.
[[nodiscard]] std::variant<std::size_t, CorvoError> findToForceInto(
    const std::vector<model::Experiment>& experiments, std::string_view name);

/// The experiment with the context's user forced into it, or the error that prevents it. The user's
/// split identifier becomes the last entry of one forced list and is removed from all others of the
/// experiment. With an index, that list belongs to the group of that index; without one, to the
/// experiment itself.
[[nodiscard]] std::variant<model::Experiment, CorvoError> applyForcedInclusion(
    const model::Experiment& experiment, std::optional<std::int64_t> groupIndex,
    const targeting::Context& context);

}  // namespace corvo::corvo_internal::experiments
