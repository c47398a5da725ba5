// SPDX-License-Identifier: Apache-2.0

#include "evaluation/evaluator.h"

#include <corvo/property.h>

#include "base/text.h"
#include "evaluation/explainer.h"
#include "experiments/details.h"
#include "experiments/experiment_impl.h"
#include "flags/flag_decision.h"

namespace corvo::corvo_internal::evaluation {
namespace {

using experiments::Scope;
using placement::Placement;
using project::PreparedExperiment;
using targeting::Context;

// The same error as for a document that could not be decoded.
CorvoError tooManyRepeatedValues() {
  return CorvoError(CorvoError::RequestConfigFailed{CorvoNetworkError(
      CorvoNetworkError::DecodingError{"the values of repeated names take more than 64 MiB"})});
}
static_assert(experiments::kMostRepeatedBytes == std::size_t{64} << 20);

Result<std::string_view> valueOf(const flags::FlagDecision& decision, std::string_view name) {
  if (decision.rule != nullptr) return std::string_view(decision.rule->value);
  return flags::failureOf<std::string_view>(decision, name);
}

CorvoError experimentNotFound(std::string_view name) {
  return CorvoError(CorvoError::ExperimentNotFound{base::wellFormed(name)});
}

// Converts a text to its typed value in place.
struct Typed {
  std::string_view text;
  operator CorvoProperty() const { return typedProperty(text); }
};

template <class T>
std::size_t positionOf(const T& element, const T* first) {
  return static_cast<std::size_t>(&element - first);
}

// The first of several experiments of one name that the user takes part in; null if there is none.
struct Joined {
  const PreparedExperiment* experiment = nullptr;
  Placement placement = {};
};
template <class Resolve>
Joined firstJoined(const PreparedExperiment* each, Resolve resolve) {
  for (; each != nullptr; each = each->nextOfName) {
    const Placement placement = resolve(*each);
    if (placement.group != nullptr) return {each, placement};
  }
  return {};
}

}  // namespace

Result<std::string_view> Evaluator::flag(std::string_view name, const Context& context) {
  return valueOf(flags::decideFlag(project_->findFlag(name), resolver_, context), name);
}

FlagReport Evaluator::flags(const Context& context) {
  FlagReport report;
  report.reserve(project_->config().featureFlags.size());
  placement::Resolver::Report resolved(resolver_, context);
  for (const project::FlagEntry& entry : project_->flags()) {
    if (entry.record == nullptr) continue;
    const flags::FlagDecision decision = flags::decideFlag(entry, resolved, context);
    if (decision.rule) report.emplace(entry.name, Typed{decision.rule->value});
  }
  return report;
}

void Evaluator::flagTexts(std::span<const std::size_t> positions, const Context& context,
                          std::vector<Evaluation::FlagText>& texts) {
  texts.clear();
  const std::vector<project::FlagEntry>& entries = project_->flags();
  placement::Resolver::Report resolved(resolver_, context);
  for (const std::size_t each : positions) {
    if (each >= entries.size() || entries[each].record == nullptr) continue;
    const flags::FlagDecision decision = flags::decideFlag(entries[each], resolved, context);
    if (decision.rule) texts.push_back({each, decision.rule->value});
  }
}

void Evaluator::flagDecisions(std::span<const std::size_t> positions, const Context& context,
                              std::vector<Evaluation::FlagDecision>& decisions) {
  decisions.clear();
  const std::vector<project::FlagEntry>& entries = project_->flags();
  placement::Resolver::Report resolved(resolver_, context);
  for (const std::size_t each : positions) {
    if (each >= entries.size()) continue;
    const auto [reason, rule, group, carried] = flags::decideFlag(entries[each], resolved, context);
    auto& decision = decisions.emplace_back(Evaluation::FlagDecision{each, reason});
    if (rule != nullptr) {
      decision.text = rule->value;
      decision.rule = rule->position;
      decision.hasConditions = !rule->conditions.empty();
    }
    if (carried != nullptr) {
      decision.experiment = positionOf(*carried->carrier, project_->experiments().data());
      decision.group = positionOf(*group, carried->carrier->record->groups.data());
    }
  }
}

Result<CorvoExperimentPointer> Evaluator::experiment(std::string_view name,
                                                     const Context& context) {
  const PreparedExperiment* first = project_->findExperiment(name);
  if (first == nullptr) return experimentNotFound(name);
  // Several experiments of one name may name the same holdouts. A report resolves each holdout
  // once, but needs memory for the whole project.
  std::optional<placement::Resolver::Report> several;
  if (first->nextOfName != nullptr) several.emplace(resolver_, context);
  const Joined joined = firstJoined(first, [&](const PreparedExperiment& each) {
    return several ? several->resolve(each) : resolver_.resolve(each, context);
  });
  if (joined.experiment == nullptr) return nullptr;
  return std::make_shared<const experiments::CorvoExperimentImpl>(project_, *joined.experiment,
                                                                  joined.placement, context);
}

// Ignores the holdouts that a holdout itself names, although the list of all holdouts respects
// them.
Result<bool> Evaluator::holdout(std::string_view name, const Context& context) {
  const PreparedExperiment* holdout = project_->findHoldout(name);
  if (holdout == nullptr) return CorvoError(CorvoError::HoldoutNotFound{base::wellFormed(name)});
  return resolver_.resolveIgnoringHoldouts(*holdout, context).group != nullptr;
}

std::vector<CorvoExperimentPointer> Evaluator::experiments(const Context& context) {
  return experiments::experimentHandles(project_, memberships(Scope::all, context), context);
}

std::optional<std::string> Evaluator::experimentsText(Scope scope, const Context& context) {
  return experiments::membershipText(memberships(scope, context));
}

Result<std::vector<CorvoExperimentDetail>> Evaluator::details(Scope scope, const Context& context) {
  auto details = experiments::experimentDetails(memberships(scope, context), context);
  if (!details) return tooManyRepeatedValues();
  return *std::move(details);
}

template <class Visit>
void Evaluator::placeInEach(std::span<const std::size_t> experiments, const Context& context,
                            Visit visit) {
  const std::vector<PreparedExperiment>& all = project_->experiments();
  placement::Resolver::Report resolved(resolver_, context);
  for (const std::size_t each : experiments) {
    if (each < all.size()) visit(each, resolved.resolve(all[each]));
  }
}

void Evaluator::memberships(std::span<const std::size_t> experiments, const Context& context,
                            std::vector<Evaluation::Membership>& memberships) {
  memberships.clear();
  placeInEach(experiments, context, [&](std::size_t position, const Placement& placement) {
    if (placement.group != nullptr) memberships.push_back({position, placement.index});
  });
}

void Evaluator::placements(std::span<const std::size_t> experiments, const Context& context,
                           std::vector<Evaluation::Placement>& placements) {
  placements.clear();
  const model::Experiment* const records = project_->config().experiments.data();
  placeInEach(experiments, context, [&](std::size_t position, const Placement& placement) {
    auto& each = placements.emplace_back(Evaluation::Placement{position, placement.reason});
    if (placement.group != nullptr) each.group = placement.index;
    if (placement.holdout != nullptr) {
      each.holdout = positionOf(*placement.holdout, records);
    }
  });
}

Explanation Evaluator::explainFlag(std::string_view name, const Context& context) {
  const project::FlagEntry* entry = project_->findFlag(name);
  Explainer explainer(*project_, context);
  explainer.flagLookedUp(entry);
  Result<std::string_view> value = valueOf(flags::decideFlag(entry, context, explainer), name);
  Explanation explanation{.question = Explanation::Question::flag, .name = base::wellFormed(name)};
  if (CorvoError* error = value.error()) {
    explanation.error = std::move(*error);
  } else {
    explainer.valueFound(value.value());
    explanation.value = value.value();
  }
  explanation.steps = explainer.take();
  return explanation;
}

Explanation Evaluator::explainExperiment(std::string_view name, const Context& context) {
  const PreparedExperiment* first = project_->findExperiment(name);
  Explainer explainer(*project_, context);
  Explanation explanation{.question = Explanation::Question::experiment,
                          .name = base::wellFormed(name)};
  if (first == nullptr) {
    explainer.experimentNotFound();
    explanation.error = experimentNotFound(name);
  }
  placement::ObservedResolver resolver(context, explainer);
  const Joined joined = firstJoined(first, [&](const PreparedExperiment& each) {
    explainer.experimentBegun(each);
    const Placement placement = resolver.resolve(each);
    explainer.experimentDecided(placement);
    return placement;
  });
  if (joined.experiment != nullptr) {
    explanation.value = std::string(joined.placement.group->name);
    for (const auto* each = joined.experiment->nextOfName; each != nullptr;
         each = each->nextOfName) {
      explainer.experimentNotReached(*each);
    }
  }
  explanation.steps = explainer.take();
  return explanation;
}

std::vector<experiments::Membership> Evaluator::memberships(Scope scope, const Context& context) {
  placement::Resolver::Report resolved(resolver_, context);
  return experiments::eligibleExperiments(*project_, scope, resolved);
}

}  // namespace corvo::corvo_internal::evaluation
