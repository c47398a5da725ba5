#pragma once

#include <corvo/experiment_detail.h>

#include <cstddef>
#include <optional>
#include <vector>

#include "experiments/memberships.h"
#include "model/config.h"
#include "targeting/context.h"

namespace corvo::corvo_internal::experiments {

/// The word for a type of experiments.
[[nodiscard]] const char* wordOf(model::ExperimentType type);

/// How much the values of repeated names may take in one answer, in bytes.
inline constexpr std::size_t kMostRepeatedBytes = std::size_t{64} << 20;

/// What the user gets from each of the experiments that they take part in. A flag or parameter that
/// has no value for them has no entry. Null where entries that repeat a name would take more than
/// `kMostRepeatedBytes`: each has a copy of the first one's value, so that a short document could
/// ask for any amount of memory.
[[nodiscard]] std::optional<std::vector<CorvoExperimentDetail>> experimentDetails(
    const std::vector<Membership>& memberships, const targeting::Context& context);

}  // namespace corvo::corvo_internal::experiments
