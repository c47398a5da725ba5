#include "placement/resolution.h"

#include <algorithm>
#include <array>
#include <span>
#include <string>
#include <string_view>

#include "placement/split_identifier.h"
#include "targeting/rules.h"

namespace corvo::corvo_internal::placement {

namespace {

using Holdouts = std::span<const project::PreparedExperiment* const>;

// The group, and, unless a forced list put the user there, the targets.
Placement place(std::string_view splitId, const project::PreparedExperiment& experiment,
                const targeting::Context& context, const double* bucket) {
  const model::Experiment& record = *experiment.record;
  Placement placement = assignGroup(splitId, record, bucket);
  if (placement.reason == PlacementReason::bucketed && experiment.target &&
      !targetMatches(*experiment.target, context, record.isPrivate.value_or(false))) {
    placement = {.reason = PlacementReason::targetsNotMet, .bucket = placement.bucket};
  }
  return placement;
}

template <class IsInHoldout, class BucketOf>
Placement resolve(const project::PreparedExperiment& experiment, Holdouts holdouts,
                  const targeting::Context& context, IsInHoldout isInHoldout, BucketOf bucketOf) {
  const std::string* splitId = splitIdentifier(experiment.record->splitMode, context);
  if (splitId == nullptr) return {.reason = PlacementReason::noSplitIdentifier};
  for (const project::PreparedExperiment* holdout : holdouts) {
    if (isInHoldout(*holdout)) {
      return {.reason = PlacementReason::heldOut, .holdout = holdout->record};
    }
  }
  return place(*splitId, experiment, context, bucketOf(experiment));
}

constexpr auto kNoHoldout = [](const project::PreparedExperiment&) { return false; };
constexpr auto kUnknownBucket = [](const project::PreparedExperiment&) -> const double* {
  return nullptr;
};

}  // namespace

Placement resolveExperiment(const project::PreparedExperiment& experiment,
                            const targeting::Context& context) {
  const auto isInHoldout = [&](const project::PreparedExperiment& holdout) {
    return resolveIgnoringHoldouts(holdout, context).group != nullptr;
  };
  return resolve(experiment, experiment.holdouts, context, isInHoldout, kUnknownBucket);
}

Placement resolveIgnoringHoldouts(const project::PreparedExperiment& experiment,
                                  const targeting::Context& context) {
  return resolve(experiment, {}, context, kNoHoldout, kUnknownBucket);
}

Resolver::Resolver(const project::PreparedProject& project, const targeting::Context& context)
    : project_(project),
      context_(context),
      placements_(project.experiments().size()),
      isInHoldout_(project.experiments().size()),
      buckets_(project.experiments().size() / base::kMd5Lanes + 1) {}

const Placement& Resolver::resolve(const project::PreparedExperiment& experiment) {
  std::optional<Placement>& placement = placements_[positionOf(experiment)];
  if (placement) return *placement;
  return placement.emplace(placement::resolve(
      experiment, experiment.holdouts, context_,
      [this](const project::PreparedExperiment& holdout) { return isInHoldout(holdout); },
      [this](const project::PreparedExperiment& placed) { return bucketOf(placed); }));
}

bool Resolver::isInHoldout(const project::PreparedExperiment& holdout) {
  std::optional<bool>& isIn = isInHoldout_[positionOf(holdout)];
  if (isIn) return *isIn;
  const auto bucket = [this](const project::PreparedExperiment& placed) {
    return bucketOf(placed);
  };
  const Placement placement = placement::resolve(holdout, {}, context_, kNoHoldout, bucket);
  return isIn.emplace(placement.group != nullptr);
}

const double* Resolver::bucketOf(const project::PreparedExperiment& experiment) {
  const std::size_t position = positionOf(experiment);
  const std::size_t lane = position % base::kMd5Lanes;
  std::optional<Buckets>& buckets = buckets_[position / base::kMd5Lanes];
  if (!buckets) buckets = bucketsFrom(position - lane);
  return &(*buckets)[lane];
}

Buckets Resolver::bucketsFrom(std::size_t first) const {
  const auto neighbours = std::span(project_.experiments()).subspan(first);
  std::array<base::Md5Message, base::kMd5Lanes> messages;
  for (std::size_t lane = 0; lane < std::min(messages.size(), neighbours.size()); ++lane) {
    const model::Experiment& record = *neighbours[lane].record;
    const std::string* splitId = splitIdentifier(record.splitMode, context_);
    messages[lane] = {splitId == nullptr ? "" : std::string_view(*splitId), record.salt};
  }
  return bucketValues(messages);
}

std::size_t Resolver::positionOf(const project::PreparedExperiment& experiment) const {
  return static_cast<std::size_t>(&experiment - project_.experiments().data());
}

}  // namespace corvo::corvo_internal::placement
