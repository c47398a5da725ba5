#include "experiments/resolution.h"

#include <string>
#include <string_view>

#include "experiments/bucketing.h"
#include "experiments/split_identifier.h"
#include "targeting/rules.h"

namespace corvo::experiments {

using Reason = PlacementReason;

namespace {

// The group, and, unless a forced list put the user there, the targets.
Placement place(std::string_view splitId, const PreparedExperiment& experiment,
                const targeting::Context& context) {
  const model::Experiment& record = *experiment.record;
  const Placement placement = assignGroup(splitId, record);
  if (placement.reason != Reason::bucketed || !experiment.target) return placement;
  if (targetMatches(*experiment.target, context, record.isPrivate.value_or(false))) {
    return placement;
  }
  return {.reason = Reason::targetsNotMet, .bucket = placement.bucket};
}

template <class IsInHoldout>
Placement resolve(const PreparedExperiment& experiment, const targeting::Context& context,
                  IsInHoldout isInHoldout) {
  const std::string* splitId = splitIdentifier(experiment.record->splitMode, context);
  if (splitId == nullptr) return {.reason = Reason::noSplitIdentifier};
  for (const PreparedExperiment* holdout : experiment.holdouts) {
    if (isInHoldout(*holdout)) return {.reason = Reason::heldOut, .holdout = holdout->record};
  }
  return place(*splitId, experiment, context);
}

}  // namespace

Placement resolveExperiment(const PreparedExperiment& experiment,
                            const targeting::Context& context) {
  return resolve(experiment, context, [&](const PreparedExperiment& holdout) {
    return resolveIgnoringHoldouts(holdout, context).group != nullptr;
  });
}

Placement resolveIgnoringHoldouts(const PreparedExperiment& experiment,
                                  const targeting::Context& context) {
  const std::string* splitId = splitIdentifier(experiment.record->splitMode, context);
  if (splitId == nullptr) return {.reason = Reason::noSplitIdentifier};
  return place(*splitId, experiment, context);
}

Resolver::Resolver(const Project& project, const targeting::Context& context)
    : project_(project),
      context_(context),
      placements_(project.experiments().size()),
      isInHoldout_(project.experiments().size()) {}

const Placement& Resolver::resolve(const PreparedExperiment& experiment) {
  std::optional<Placement>& placement = placements_[positionOf(experiment)];
  if (placement) return *placement;
  return placement.emplace(
      experiments::resolve(experiment, context_, [&](const PreparedExperiment& holdout) {
        std::optional<bool>& isIn = isInHoldout_[positionOf(holdout)];
        if (!isIn) isIn = resolveIgnoringHoldouts(holdout, context_).group != nullptr;
        return *isIn;
      }));
}

std::size_t Resolver::positionOf(const PreparedExperiment& experiment) const {
  return static_cast<std::size_t>(&experiment - project_.experiments().data());
}

}  // namespace corvo::experiments
