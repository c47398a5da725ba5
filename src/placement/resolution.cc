// SPDX-License-Identifier: Apache-2.0

#include "placement/resolution.h"

#include <algorithm>
#include <array>
#include <span>
#include <type_traits>

#include "placement/split_identifier.h"
#include "targeting/rules.h"

namespace corvo::corvo_internal::placement {
namespace {

// A holdout predicate that ignores holdouts: those that a holdout itself names do not count.
struct IgnoreHoldouts {};

// The first of the experiment's holdouts that the user is in, or null.
template <class AnyObserver, class IsInHoldout>
const model::Experiment* holdoutOf(const project::PreparedExperiment& experiment,
                                   IsInHoldout isInHoldout, AnyObserver observer) {
  if constexpr (!std::is_same_v<IsInHoldout, IgnoreHoldouts>) {
    for (const project::PreparedExperiment* holdout : experiment.holdouts) {
      observer.on(HoldoutBegun{*holdout});
      const bool isIn = isInHoldout(*holdout);
      observer.on(HoldoutDecided{isIn});
      if (isIn) return holdout->record;
    }
  }
  return nullptr;
}

// The common part of all resolutions: `isInHoldout` tests a holdout, `assign` selects the group.
// Forced users skip the targets.
template <class AnyObserver, class IsInHoldout, class Assign>
Placement resolveBy(const project::PreparedExperiment& experiment,
                    const targeting::Context& context, IsInHoldout isInHoldout, Assign assign,
                    AnyObserver observer) {
  const model::Experiment& record = *experiment.record;
  const auto splitId = splitIdentifier(record.splitMode, context);
  observer.on(SplitIdentified{record.splitMode.value_or(model::SplitMode::userId), splitId});
  if (!splitId) return {.reason = PlacementReason::noSplitIdentifier};
  if (const auto* holdout = holdoutOf<AnyObserver>(experiment, isInHoldout, observer)) {
    return {.reason = PlacementReason::heldOut, .holdout = holdout};
  }
  const Placement& placement = assign(*splitId);
  if (placement.reason != PlacementReason::bucketed || !experiment.target) return placement;
  observer.on(TargetsBegun{record});
  const bool areMet =
      targetMatches(*experiment.target, context, record.isPrivate.value_or(false), observer);
  observer.on(TargetsDecided{areMet});
  if (areMet) return placement;
  return {.reason = PlacementReason::targetsNotMet, .bucket = placement.bucket};
}

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
  return resolve(experiment, context, Digests::single, IgnoreHoldouts());
}

template <class IsInHoldout>
Placement Resolver::resolve(const project::PreparedExperiment& experiment,
                            const targeting::Context& context, Digests digests,
                            IsInHoldout isInHoldout) {
  const auto assign = [&](std::string_view splitId) -> const Placement& {
    return assignOnce(splitId, experiment, context, digests);
  };
  return resolveBy<NoObserver>(experiment, context, isInHoldout, assign, {});
}

const Placement& Resolver::assignOnce(std::string_view splitId,
                                      const project::PreparedExperiment& experiment,
                                      const targeting::Context& context, Digests digests) {
  const std::size_t position = positionOf(experiment);
  Remembered& known = recall(position, splitId, context);
  if (known.isPlaced) return known.placement;
  if (digests == Digests::together && !known.hasBucket) makeBuckets(position, context);
  known.placement = assignGroup(
      splitId, *experiment.record,
      {.bucket = known.hasBucket ? &known.bucket : nullptr, .forced = experiment.forced.get()});
  known.isPlaced = true;
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

// Computing the buckets of an experiment and its neighbours takes little longer than its own.
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
        resolver_.resolve(holdout, context_, Digests::together, IgnoreHoldouts()).group != nullptr;
    known.holdoutIn = resolver_.report_;
  }
  return known.isInHoldout;
}

Placement ObservedResolver::resolve(const project::PreparedExperiment& experiment) {
  return resolve(experiment,
                 [this](const project::PreparedExperiment& holdout) { return isIn(holdout); });
}

bool ObservedResolver::isIn(const project::PreparedExperiment& holdout) {
  if (const auto known = isIn_.find(&holdout); known != isIn_.end()) {
    observer_.on(HoldoutRemembered{});
    return known->second;
  }
  return isIn_[&holdout] = resolve(holdout, IgnoreHoldouts()).group != nullptr;
}

template <class IsInHoldout>
Placement ObservedResolver::resolve(const project::PreparedExperiment& experiment,
                                    IsInHoldout isInHoldout) {
  const auto assign = [&](std::string_view splitId) {
    return assignGroup(splitId, *experiment.record, observer_);
  };
  return resolveBy<Observer&>(experiment, context_, isInHoldout, assign, observer_);
}

}  // namespace corvo::corvo_internal::placement
