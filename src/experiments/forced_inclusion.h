#pragma once

#include <corvo/error.h>

#include <cstdint>
#include <optional>
#include <string_view>
#include <variant>
#include <vector>

#include "model/config.h"
#include "targeting/context.h"

namespace corvo::experiments {

/// The first experiment of that name, into which somebody is to be forced, or the error.
[[nodiscard]] std::variant<model::Experiment*, CorvoError> findToForceInto(
    std::vector<model::Experiment>& experiments, std::string_view name);

/// Forces the user of the context into the experiment: moves his split identifier to the end of the
/// forced list of the group of that index, or, without an index, of the experiment. Answers the
/// error where it cannot, and then changes nothing.
[[nodiscard]] std::optional<CorvoError> applyForcedInclusion(model::Experiment& experiment,
                                                             std::optional<std::int64_t> groupIndex,
                                                             const targeting::Context& context);

}  // namespace corvo::experiments
