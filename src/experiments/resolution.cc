#include "experiments/resolution.h"

#include "experiments/bucketing.h"
#include "experiments/split_identifier.h"
#include "targeting/rules.h"

namespace corvo::experiments {

using Reason = PlacementReason;

Placement resolveExperiment(const PreparedExperiment& experiment,
                            const targeting::Context& context) {
  if (!splitIdentifier(experiment.record->splitMode, context)) {
    return {.reason = Reason::noSplitIdentifier};
  }
  for (const PreparedExperiment* holdout : experiment.holdouts) {
    if (resolveIgnoringHoldouts(*holdout, context).group) {
      return {.reason = Reason::heldOut, .holdout = holdout->record};
    }
  }
  return resolveIgnoringHoldouts(experiment, context);
}

Placement resolveIgnoringHoldouts(const PreparedExperiment& experiment,
                                  const targeting::Context& context) {
  const model::Experiment& record = *experiment.record;
  const std::string* splitId = splitIdentifier(record.splitMode, context);
  if (splitId == nullptr) return {.reason = Reason::noSplitIdentifier};
  const Placement placement = assignGroup(*splitId, record);
  if (placement.reason != Reason::bucketed || !experiment.target) return placement;
  if (targetMatches(*experiment.target, context, record.isPrivate.value_or(false))) {
    return placement;
  }
  return {.reason = Reason::targetsNotMet, .bucket = placement.bucket};
}

}  // namespace corvo::experiments
