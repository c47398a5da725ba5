#pragma once

#include <corvo/experiment_detail.h>

#include <vector>

#include "experiments/memberships.h"
#include "targeting/context.h"

namespace corvo::experiments {

/// What the user gets from each of the experiments that he takes part in. A flag or parameter that
/// has no value for him has no entry.
[[nodiscard]] std::vector<CorvoExperimentDetail> experimentDetails(
    const std::vector<Membership>& memberships, const targeting::Context& context);

}  // namespace corvo::experiments
