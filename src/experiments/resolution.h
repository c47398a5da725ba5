#pragma once

#include "experiments/placement.h"
#include "experiments/project.h"
#include "targeting/context.h"

namespace corvo::experiments {

/// Decides about one experiment for the user of the context. Looked at in this order: the split
/// identifier, the holdouts that the experiment names, the group, and, unless a forced list put the
/// user there, the targets.
[[nodiscard]] Placement resolveExperiment(const PreparedExperiment& experiment,
                                          const targeting::Context& context);

/// The same without regard to holdouts: what counts for being in a holdout oneself.
[[nodiscard]] Placement resolveIgnoringHoldouts(const PreparedExperiment& experiment,
                                                const targeting::Context& context);

}  // namespace corvo::experiments
