#include "experiments/resolution.h"

namespace corvo::experiments {

Resolution resolveExperiment(const PreparedExperiment& /*experiment*/,
                             const targeting::Context& /*context*/) {
  return {};
}

}  // namespace corvo::experiments
