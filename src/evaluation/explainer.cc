// SPDX-License-Identifier: Apache-2.0

#include "evaluation/explainer.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <string>

#include "model/fields.h"

namespace corvo::corvo_internal::evaluation {
namespace {

using project::PreparedExperiment;

Explanation::Outcome holdsIf(bool holds) {
  return holds ? Explanation::Outcome::holds : Explanation::Outcome::fails;
}
Explanation::Outcome inIf(bool isIn) {
  return isIn ? Explanation::Outcome::in : Explanation::Outcome::out;
}
Explanation::Outcome foundIf(bool isFound) {
  return isFound ? Explanation::Outcome::found : Explanation::Outcome::notFound;
}

}  // namespace

void Explainer::begin(Code code, Facts facts) {
  open_.push_back({.code = code, .facts = std::move(facts)});
}

void Explainer::end(Outcome outcome) {
  Step step = std::move(open_.back());
  open_.pop_back();
  step.outcome = outcome;
  current().steps.push_back(std::move(step));
}

void Explainer::add(Code code, Outcome outcome, Facts facts) {
  current().steps.push_back({.code = code, .outcome = outcome, .facts = std::move(facts)});
}

template <class Parts>
void Explainer::notReached(Code code, Parts parts) {
  for (const auto& part : parts.subspan(current().steps.size())) {
    add(code, Outcome::notReached, factsOf(part));
  }
}

// --- The question --------------------------------------------------------------------------------

void Explainer::flagLookedUp(const project::FlagEntry* entry) {
  if (entry == nullptr || entry->record == nullptr) return add(Code::flag, Outcome::notFound);
  add(Code::flag, Outcome::found, {{"private", entry->isPrivate}});
}

void Explainer::experimentNotFound() { add(Code::experiment, Outcome::notFound); }

void Explainer::experimentBegun(const PreparedExperiment& experiment) {
  asked_ = &experiment;
  begin(Code::experiment, factsOf(experiment, project_));
  JsonArray unknown;
  for (const model::Text name : experiment.record->holdouts) {
    if (project_.findHoldout(name) == nullptr) unknown.emplace_back(std::string(name));
  }
  if (!unknown.empty()) current().facts.push_back({"unknownHoldouts", std::move(unknown)});
}

void Explainer::experimentDecided(const placement::Placement& placement) {
  addPlacement(placement, current().facts);
  end(inIf(placement.group != nullptr));
}

void Explainer::experimentNotReached(const PreparedExperiment& experiment) {
  add(Code::experiment, Outcome::notReached, factsOf(experiment, project_));
}

void Explainer::valueFound(std::string_view text) {
  add(Code::value, Outcome::done, factsOfValue(text));
}

// --- Conditions and rules ------------------------------------------------------------------------

void Explainer::on(const targeting::ConditionTested& event) {
  const model::Condition& condition = conditions_[event.position];
  Facts facts = factsOf(condition);
  addTest(event, condition, context_, facts);
  add(Code::condition, holdsIf(event.holds), std::move(facts));
}

void Explainer::on(const flags::RulesBegun& event) {
  begin(Code::rules, {{"private", event.hashed}});
  rules_.clear();
  targeting::inOrderOfTrial(event.rules, [&](const model::Rule& rule) {
    rules_.push_back({&rule, static_cast<std::size_t>(&rule - event.rules.data())});
  });
}

void Explainer::on(const targeting::RuleBegun& /*event*/) {
  const auto& [rule, position] = rules_[current().steps.size()];
  begin(Code::rule, factsOf(*rule, position));
  conditions_ = {};
  if (!rule->isDefault) conditions_ = rule->conditions;
}

void Explainer::on(const targeting::RuleDecided& event) {
  notReached(Code::condition, conditions_);
  end(holdsIf(event.holds));
}

void Explainer::on(const flags::RulesDecided& event) {
  for (const auto& [rule, position] : std::span(rules_).subspan(current().steps.size())) {
    add(Code::rule, Outcome::notReached, factsOf(*rule, position));
  }
  end(foundIf(event.rule != nullptr));
}

// --- Placement -----------------------------------------------------------------------------------

void Explainer::on(const placement::SplitIdentified& event) {
  const Outcome missing = hasExpired(event.mode, context_) ? Outcome::expired : Outcome::notFound;
  add(Code::splitIdentifier, event.identifier ? Outcome::found : missing, factsOf(event, context_));
}

void Explainer::on(const placement::HoldoutBegun& event) {
  begin(Code::holdout, factsOf(event.holdout, project_));
}

void Explainer::on(const placement::HoldoutRemembered& /*event*/) {
  current().facts.push_back({"explainedBefore", true});
}

void Explainer::on(const placement::HoldoutDecided& event) {
  end(inIf(event.isIn));
  if (!event.isIn) return;
  const auto looked = std::ranges::count(current().steps, Code::holdout, &Step::code);
  for (const PreparedExperiment* each :
       std::span(asked_->holdouts).subspan(static_cast<std::size_t>(looked))) {
    add(Code::holdout, Outcome::notReached, factsOf(*each, project_));
  }
}

void Explainer::on(const placement::GroupsForced& event) {
  Facts facts;
  if (event.group) {
    facts = {{"group", std::string(event.experiment.groups[*event.group].name)},
             {"index", static_cast<std::int64_t>(*event.group)}};
  }
  add(Code::forcedGroup, foundIf(event.group.has_value()), std::move(facts));
}

void Explainer::on(const placement::ExperimentForced& event) {
  add(Code::forcedExperiment, foundIf(event.isListed));
}

void Explainer::on(const placement::LayerBegun& event) {
  const std::optional<model::Text> name = event.experiment.layerId;
  begin(Code::layer, {{"layer", name ? JsonValue(std::string(*name)) : JsonValue()}});
  bounds_ = event.experiment.layerBounds;
}

void Explainer::on(const placement::IntervalTested& event) {
  if (current().steps.empty()) current().facts.push_back({"point", event.point});
  add(Code::interval, holdsIf(event.admits), factsOf(event.bounds));
}

void Explainer::on(const placement::LayerDecided& event) {
  notReached(Code::interval, bounds_);
  end(holdsIf(event.isInside));
}

void Explainer::on(const placement::Hashed& event) {
  Facts facts = factsOf(event);
  if (current().code != Code::layer) return add(Code::bucket, Outcome::done, std::move(facts));
  std::ranges::move(facts, std::back_inserter(current().facts));
}

void Explainer::on(const placement::AllocationTested& event) {
  add(Code::allocation, holdsIf(event.isInside), factsOf(event));
}

void Explainer::on(const placement::WeightsBegun& event) {
  begin(Code::group, {{"point", event.point}});
  groups_ = event.experiment.groups;
}

void Explainer::on(const placement::WeightTested& event) {
  Facts facts = factsOf(groups_[current().steps.size()]);
  facts.push_back({"end", event.end});
  add(Code::share, holdsIf(event.holds), std::move(facts));
}

void Explainer::on(const placement::WeightsDecided& event) {
  const auto& shares = current().steps;
  const bool isInShare = !shares.empty() && shares.back().outcome == Outcome::holds;
  notReached(Code::share, groups_);
  if (!event.group) return end(Outcome::notFound);
  current().facts.push_back({"group", std::string(groups_[*event.group].name)});
  current().facts.push_back({"index", static_cast<std::int64_t>(*event.group)});
  end(isInShare ? Outcome::found : Outcome::rest);
}

void Explainer::on(const placement::TargetsBegun& event) {
  const model::Target& target = *event.experiment.targets;
  begin(Code::targets, {{"statement", std::string(model::textOf(target.conditionalStatement))},
                        {"private", event.experiment.isPrivate.value_or(false)}});
  conditions_ = target.conditions;
}

void Explainer::on(const placement::TargetsDecided& event) {
  notReached(Code::condition, conditions_);
  end(holdsIf(event.areMet));
}

// --- Flags ---------------------------------------------------------------------------------------

void Explainer::on(const flags::CarrierBegun& event) { experimentBegun(event.experiment); }

void Explainer::on(const flags::CarrierDecided& event) {
  experimentDecided(event.placement);
  const auto& all = project_.experiments();
  const auto carries = [&](const project::CarriedFlag& flag) {
    return flag.record->name == event.flag.record->name;
  };
  for (const PreparedExperiment& each :
       std::span(all).subspan(static_cast<std::size_t>(asked_ - all.data()) + 1)) {
    if (std::ranges::any_of(each.flags, carries)) experimentNotReached(each);
  }
}

void Explainer::on(const flags::GroupMatched& event) {
  JsonArray groups;
  for (const model::FeatureFlagGroup& each : event.flag.record->groups) {
    groups.emplace_back(std::string(each.name));
  }
  add(Code::carriedFlag, foundIf(event.isFound),
      {{"group", std::string(event.group.name)}, {"groups", std::move(groups)}});
}

}  // namespace corvo::corvo_internal::evaluation
