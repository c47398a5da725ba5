#pragma once

#include "experiments/project.h"
#include "model/config.h"
#include "targeting/context.h"

namespace corvo::experiments {

/// Which group a user has in an experiment.
struct Resolution {
  const model::Group* group = nullptr;  // null when the user is not in the experiment
};

/// Decides about one experiment for the user of the context. No experiment places users yet: the
/// answer is always that the user is not in it.
[[nodiscard]] Resolution resolveExperiment(const PreparedExperiment& experiment,
                                           const targeting::Context& context);

}  // namespace corvo::experiments
