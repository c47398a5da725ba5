// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/experiment_detail.h>

#include <cstddef>
#include <optional>
#include <vector>

#include "experiments/memberships.h"
#include "model/config.h"
#include "targeting/context.h"

namespace corvo::corvo_internal::experiments {

/// The name of an experiment type.
[[nodiscard]] const char* wordOf(model::ExperimentType type);

/// The limit for the values of repeated names in one answer, in bytes.
inline constexpr std::size_t kMostRepeatedBytes = std::size_t{64} << 20;

/// The user's values from each of the experiments that they take part in. A flag or parameter
/// without a value for them has no entry. Empty if entries of repeated names would take more than
/// `kMostRepeatedBytes`: each copies the first one's value, so a short document could otherwise
/// demand any amount of memory.
[[nodiscard]] std::optional<std::vector<CorvoExperimentDetail>> experimentDetails(
    const std::vector<Membership>& memberships, const targeting::Context& context);

}  // namespace corvo::corvo_internal::experiments
