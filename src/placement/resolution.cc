#include "placement/resolution.h"

#include <algorithm>
#include <array>
#include <optional>
#include <span>

#include "placement/split_identifier.h"
#include "targeting/rules.h"

namespace corvo::corvo_internal::placement {
namespace {

constexpr auto kNoHoldout = [](const project::PreparedExperiment&) { return false; };

}  // namespace

Placement Resolver::resolve(const project::PreparedExperiment& experiment,
                            const targeting::Context& context) {
  return resolve(experiment, context, Digests::single,
                 [&](const project::PreparedExperiment& holdout) {
                   return resolveIgnoringHoldouts(holdout, context).group != nullptr;
                 });
}

Placement Resolver::resolveIgnoringHoldouts(const project::PreparedExperiment& experiment,
                                            const targeting::Context& context) {
  return resolve(experiment, context, Digests::single, kNoHoldout);
}

template <class IsInHoldout>
Placement Resolver::resolve(const project::PreparedExperiment& experiment,
                            const targeting::Context& context, Digests digests,
                            IsInHoldout isInHoldout) {
  const auto splitId = splitIdentifier(experiment.record->splitMode, context);
  if (!splitId) return {.reason = PlacementReason::noSplitIdentifier};
  for (const project::PreparedExperiment* holdout : experiment.holdouts) {
    if (isInHoldout(*holdout)) {
      return {.reason = PlacementReason::heldOut, .holdout = holdout->record};
    }
  }
  return place(*splitId, experiment, context, digests);
}

// The group, and, unless a forced list put the user there, the targets.
Placement Resolver::place(std::string_view splitId, const project::PreparedExperiment& experiment,
                          const targeting::Context& context, Digests digests) {
  const std::size_t position = positionOf(experiment);
  const model::Experiment& record = *experiment.record;
  Remembered& known = recall(position, splitId, context);
  if (!known.isPlaced) {
    if (digests == Digests::together && !known.hasBucket) makeBuckets(position, context);
    known.placement = assignGroup(splitId, record, known.hasBucket ? &known.bucket : nullptr);
    known.isPlaced = true;
  }
  if (known.placement.reason == PlacementReason::bucketed && experiment.target &&
      !targetMatches(*experiment.target, context, record.isPrivate.value_or(false))) {
    return {.reason = PlacementReason::targetsNotMet, .bucket = known.placement.bucket};
  }
  return known.placement;
}

Resolver::Remembered& Resolver::recall(std::size_t position, std::string_view splitId,
                                       const targeting::Context& context) {
  if (memory_.empty()) memory_.resize(project_.experiments().size());
  Remembered& known = memory_[position];
  if (known.revision != context.revision || known.identifier != splitId.data()) {
    known.revision = context.revision;
    known.identifier = splitId.data();
    known.hasBucket = false;
    known.isPlaced = false;
  }
  return known;
}

// Those of an experiment and its neighbours take little longer than its own.
void Resolver::makeBuckets(std::size_t position, const targeting::Context& context) {
  const std::size_t first = position - position % base::kMd5Lanes;
  const auto neighbours = std::span(project_.experiments()).subspan(first);
  const std::size_t count = std::min(neighbours.size(), base::kMd5Lanes);
  std::array<base::Md5Message, base::kMd5Lanes> messages;
  std::array<Remembered*, base::kMd5Lanes> places{};
  for (std::size_t lane = 0; lane < count; ++lane) {
    const model::Experiment& record = *neighbours[lane].record;
    const auto splitId = splitIdentifier(record.splitMode, context);
    if (!splitId) continue;
    messages[lane] = {*splitId, record.salt};
    places[lane] = &recall(first + lane, *splitId, context);
  }
  const Buckets buckets = bucketValues(messages);
  for (std::size_t lane = 0; lane < count; ++lane) {
    if (places[lane] == nullptr) continue;
    places[lane]->bucket = buckets[lane];
    places[lane]->hasBucket = true;
  }
}

std::size_t Resolver::positionOf(const project::PreparedExperiment& experiment) const {
  return static_cast<std::size_t>(&experiment - project_.experiments().data());
}

Resolver::Report::Report(Resolver& resolver, const targeting::Context& context)
    : resolver_(resolver), context_(context) {
  resolver_.reported_.resize(resolver_.project_.experiments().size());
  ++resolver_.report_;
}

const Placement& Resolver::Report::resolve(const project::PreparedExperiment& experiment) {
  Reported& known = resolver_.reported_[resolver_.positionOf(experiment)];
  if (known.resolvedIn != resolver_.report_) {
    known.placement = resolver_.resolve(
        experiment, context_, Digests::together,
        [this](const project::PreparedExperiment& holdout) { return isInHoldout(holdout); });
    known.resolvedIn = resolver_.report_;
  }
  return known.placement;
}

bool Resolver::Report::isInHoldout(const project::PreparedExperiment& holdout) {
  Reported& known = resolver_.reported_[resolver_.positionOf(holdout)];
  if (known.holdoutIn != resolver_.report_) {
    known.isInHoldout =
        resolver_.resolve(holdout, context_, Digests::together, kNoHoldout).group != nullptr;
    known.holdoutIn = resolver_.report_;
  }
  return known.isInHoldout;
}

}  // namespace corvo::corvo_internal::placement
