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

/// The position of the first experiment of that name, into which somebody is to be forced, or the
/// error that there is none.
[[nodiscard]] std::variant<std::size_t, CorvoError> findToForceInto(
    const std::vector<model::Experiment>& experiments, std::string_view name);

/// The experiment with the user of the context forced into it: his split identifier stands at the
/// end of the forced list of the group of that index, or, without an index, of the experiment, and
/// in no other of its lists. Or the error that he cannot be.
[[nodiscard]] std::variant<model::Experiment, CorvoError> applyForcedInclusion(
    const model::Experiment& experiment, std::optional<std::int64_t> groupIndex,
    const targeting::Context& context);

}  // namespace corvo::corvo_internal::experiments
