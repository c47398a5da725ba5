#include "evaluation/explainer.h"

#include <corvo/property.h>

#include <algorithm>
#include <array>
#include <string>
#include <utility>

#include "base/md5.h"
#include "base/text.h"
#include "experiments/details.h"
#include "model/fields.h"
#include "placement/bucketing.h"
#include "targeting/device_properties.h"

namespace corvo::corvo_internal::evaluation {
namespace {

using model::Condition;
using placement::Placement;
using placement::PlacementReason;
using project::PreparedExperiment;
using targeting::Context;

struct ReasonWord {
  PlacementReason reason;
  const char* word;
};
using Of = PlacementReason;
constexpr std::array<ReasonWord, 9> kReasons{{
    {Of::forcedIntoGroup, "forcedIntoGroup"},
    {Of::forcedIntoExperiment, "forcedIntoExperiment"},
    {Of::bucketed, "bucketed"},
    {Of::noSplitIdentifier, "noSplitIdentifier"},
    {Of::heldOut, "heldOut"},
    {Of::outsideLayer, "outsideLayer"},
    {Of::outsideAllocation, "outsideAllocation"},
    {Of::noGroup, "noGroup"},
    {Of::targetsNotMet, "targetsNotMet"},
}};
static_assert(model::isByEnumerator(kReasons, [](const auto& row) { return row.reason; }));

// The kinds of a typed property, in their order.
constexpr std::array<const char*, std::variant_size_v<CorvoProperty>> kTypes{
    "object", "boolean", "integer", "double", "string"};

template <class E>
std::string textOf(E enumerator) {
  return std::string(model::EnumTexts<E>::list.at(static_cast<std::size_t>(enumerator)).text);
}

// A user's text. Many steps may show it, so that a long one is cut: otherwise an explanation could
// take any amount of memory.
std::string shown(std::string_view text) {
  constexpr std::size_t kLongest = 1'024;
  if (text.size() <= kLongest) return std::string(text);
  std::size_t end = kLongest;
  while ((static_cast<unsigned char>(text[end]) & 0xC0U) == 0x80U) --end;  // inside a character
  return std::string(text.substr(0, end)) + "\u2026";
}

template <class T>
JsonValue valueOrNull(const std::optional<T>& value) {
  return value ? JsonValue(*value) : JsonValue();
}

template <class List, class TextOf>
JsonArray texts(const List& list, TextOf textOf) {
  JsonArray array;
  for (const auto& each : list) array.emplace_back(textOf(each));
  return array;
}

JsonValue secondsOrNull(double expiry) {
  return expiry == targeting::kForGood ? JsonValue() : JsonValue(expiry);
}

// Where a property's value comes from. Device and clock hide a location's property of their names.
const char* sourceOf(const std::string& name, std::uint32_t number, const std::string_view& value,
                     const Context& context) {
  if (context.properties->isUsers(number, value)) return "user";
  switch (targeting::whatShows(name)) {
    case targeting::Shows::device:
      return "device";
    case targeting::Shows::clock:
      return "clock";
    case targeting::Shows::neither:
      break;
  }
  return "location";
}

Explanation::Outcome holdsIf(bool holds) {
  return holds ? Explanation::Outcome::holds : Explanation::Outcome::fails;
}
Explanation::Outcome inIf(bool isIn) {
  return isIn ? Explanation::Outcome::in : Explanation::Outcome::out;
}
Explanation::Outcome foundIf(bool isFound) {
  return isFound ? Explanation::Outcome::found : Explanation::Outcome::notFound;
}

using Facts = std::vector<Explanation::Fact>;

Facts conditionFacts(const Condition& condition) {
  return {{"property", condition.name},
          {"sign", textOf(condition.conditionSign)},
          {"values", texts(condition.values, [](const std::string& value) { return value; })}};
}

Facts ruleFacts(const model::Rule& rule, std::ptrdiff_t position) {
  return {{"position", static_cast<std::int64_t>(position)},
          {"default", rule.isDefault},
          {"statement", textOf(rule.conditionalStatement)},
          {"value", rule.value}};
}

Facts intervalFacts(const model::LayerBounds& bounds) {
  return {{"lower", bounds.lowerBound}, {"upper", bounds.upperBound}};
}

Facts shareFacts(const model::Group& group) {
  return {{"group", group.name}, {"weight", group.weight}};
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

// --- The question --------------------------------------------------------------------------------

void Explainer::flagSought(const project::FlagEntry* entry) {
  if (entry == nullptr) return add(Code::flag, Outcome::notFound);
  add(Code::flag, Outcome::found,
      {{"inConfiguration", entry->record != nullptr}, {"private", entry->isPrivate}});
}

void Explainer::experimentNotFound() { add(Code::experiment, Outcome::notFound); }

Explainer::Facts Explainer::factsOf(const PreparedExperiment& experiment) const {
  const model::Experiment& record = *experiment.record;
  Facts facts{{"name", record.name},
              {"position", static_cast<std::int64_t>(&experiment - project_.experiments().data())}};
  if (record.type) facts.push_back({"type", std::string(experiments::wordOf(*record.type))});
  return facts;
}

void Explainer::experimentBegun(const PreparedExperiment& experiment) {
  asked_ = &experiment;
  begin(Code::experiment, factsOf(experiment));
}

void Explainer::experimentDecided(const Placement& placement) {
  Facts& facts = current().facts;
  facts.push_back(
      {"reason", std::string(kReasons.at(static_cast<std::size_t>(placement.reason)).word)});
  if (placement.group != nullptr) {
    facts.push_back({"group", placement.group->name});
    facts.push_back({"index", static_cast<std::int64_t>(placement.index)});
  }
  end(inIf(placement.group != nullptr));
}

void Explainer::experimentNotReached(const PreparedExperiment& experiment) {
  add(Code::experiment, Outcome::notReached, factsOf(experiment));
}

void Explainer::valueFound(std::string_view text) {
  add(Code::value, Outcome::done,
      {{"text", std::string(text)}, {"type", std::string(kTypes.at(typedProperty(text).index()))}});
}

// --- Conditions and rules ------------------------------------------------------------------------

void Explainer::on(const targeting::ConditionTested& event) {
  const Condition& condition = conditions_[event.position];
  const std::uint32_t number = event.condition.property();
  const std::string_view* value = event.subject.value();
  const bool isHashed = event.subject.isHashed() && event.condition.comparesDigests();
  Facts facts = conditionFacts(condition);
  facts.push_back({"actual", value != nullptr ? JsonValue(shown(*value)) : JsonValue()});
  if (value != nullptr) {
    facts.push_back({"source", std::string(sourceOf(condition.name, number, *value, context_))});
  }
  if (const auto expiry = context_.properties->expired(number, context_.now)) {
    facts.push_back({"expired", secondsOrNull(*expiry)});
  }
  facts.push_back({"hashed", isHashed});
  if (isHashed) facts.push_back({"digest", std::string(event.subject.text())});
  add(Code::condition, holdsIf(event.holds), std::move(facts));
}

void Explainer::restOf(std::span<const Condition> conditions) {
  for (const Condition& each : conditions.subspan(current().steps.size())) {
    add(Code::condition, Outcome::notReached, conditionFacts(each));
  }
}

void Explainer::on(const flags::RulesBegun& event) {
  begin(Code::rules, {{"private", event.hashed}});
  records_ = event.rules;
  rules_.clear();
  targeting::inOrderOfTrial(event.rules,
                            [this](const model::Rule& rule) { rules_.push_back(&rule); });
}

void Explainer::on(const targeting::RuleBegun& /*event*/) {
  const model::Rule& rule = *rules_[current().steps.size()];
  begin(Code::rule, ruleFacts(rule, &rule - records_.data()));
  conditions_ = {};
  if (!rule.isDefault) conditions_ = rule.conditions;
}

void Explainer::on(const targeting::RuleDecided& event) {
  restOf(conditions_);
  end(holdsIf(event.holds));
}

void Explainer::on(const flags::RulesDecided& event) {
  for (const model::Rule* rule : std::span(rules_).subspan(current().steps.size())) {
    add(Code::rule, Outcome::notReached, ruleFacts(*rule, rule - records_.data()));
  }
  end(foundIf(event.value != nullptr));
}

// --- Placement -----------------------------------------------------------------------------------

void Explainer::on(const placement::SplitIdentified& event) {
  Facts facts{{"property", textOf(event.mode)}};
  const targeting::OwnIdentifier* own =
      context_.own != nullptr ? &(*context_.own)[static_cast<std::size_t>(event.mode)] : nullptr;
  const bool hasExpired = own != nullptr && own->isThere && context_.findOwn(event.mode) == nullptr;
  if (event.identifier) {
    const bool isUsers = own != nullptr && own->isThere && !hasExpired;
    facts.push_back({"value", shown(*event.identifier)});
    facts.push_back({"source", std::string(isUsers ? "user" : "device")});
  }
  if (hasExpired) facts.push_back({"expired", secondsOrNull(own->expiry)});
  const Outcome missing = hasExpired ? Outcome::expired : Outcome::notFound;
  add(Code::splitIdentifier, event.identifier ? Outcome::found : missing, std::move(facts));
}

void Explainer::on(const placement::HoldoutBegun& event) {
  begin(Code::holdout, factsOf(event.holdout));
}

void Explainer::on(const placement::HoldoutDecided& event) {
  end(inIf(event.isIn));
  if (!event.isIn) return;
  const auto& steps = current().steps;
  const auto looked = std::ranges::count(steps, Code::holdout, &Step::code);
  for (const PreparedExperiment* each :
       std::span(asked_->holdouts).subspan(static_cast<std::size_t>(looked))) {
    add(Code::holdout, Outcome::notReached, factsOf(*each));
  }
}

void Explainer::on(const placement::GroupsForced& event) {
  Facts facts;
  if (event.group) {
    facts = {{"group", event.experiment.groups[*event.group].name},
             {"index", static_cast<std::int64_t>(*event.group)}};
  }
  add(Code::forcedGroup, foundIf(event.group.has_value()), std::move(facts));
}

void Explainer::on(const placement::ExperimentForced& event) {
  add(Code::forcedExperiment, foundIf(event.isListed));
}

void Explainer::on(const placement::LayerBegun& event) {
  begin(Code::layer, {{"layer", valueOrNull(event.experiment.layerId)}});
  bounds_ = event.experiment.layerBounds;
}

void Explainer::on(const placement::IntervalTested& event) {
  if (current().steps.empty()) current().facts.push_back({"point", event.point});
  add(Code::interval, holdsIf(event.admits), intervalFacts(event.bounds));
}

void Explainer::on(const placement::LayerDecided& event) {
  for (const model::LayerBounds& each : bounds_.subspan(current().steps.size())) {
    add(Code::interval, Outcome::notReached, intervalFacts(each));
  }
  end(holdsIf(event.isInside));
}

void Explainer::on(const placement::Hashed& event) {
  const base::Md5Digest digest = base::md5(event.identifier, event.salt);
  Facts facts{{"identifier", shown(event.identifier)},
              {"salt", std::string(event.salt)},
              {"digest", std::string(base::view(base::hexDigits(digest)))},
              {"hash", static_cast<std::int64_t>(placement::stringHash32(digest))},
              {"bucket", event.bucket}};
  if (current().code != Code::layer) return add(Code::bucket, Outcome::done, std::move(facts));
  std::ranges::move(facts, std::back_inserter(current().facts));
}

void Explainer::on(const placement::AllocationTested& event) {
  add(Code::allocation, holdsIf(event.isInside),
      {{"allocation", event.allocation}, {"used", event.used}, {"limit", event.limit}});
}

void Explainer::on(const placement::SharesBegun& event) {
  begin(Code::group, {{"point", event.point}});
  groups_ = event.experiment.groups;
}

void Explainer::on(const placement::ShareTested& event) {
  Facts facts = shareFacts(groups_[current().steps.size()]);
  facts.push_back({"end", event.end});
  add(Code::share, holdsIf(event.holds), std::move(facts));
}

void Explainer::on(const placement::SharesDecided& event) {
  const auto& shares = current().steps;
  const bool isInShare = !shares.empty() && shares.back().outcome == Outcome::holds;
  for (const model::Group& each : groups_.subspan(shares.size())) {
    add(Code::share, Outcome::notReached, shareFacts(each));
  }
  if (!event.group) return end(Outcome::notFound);
  current().facts.push_back({"group", groups_[*event.group].name});
  end(isInShare ? Outcome::found : Outcome::rest);
}

void Explainer::on(const placement::TargetsBegun& event) {
  const model::Target& target = *event.experiment.targets;
  begin(Code::targets, {{"statement", textOf(target.conditionalStatement)},
                        {"private", event.experiment.isPrivate.value_or(false)}});
  conditions_ = target.conditions;
}

void Explainer::on(const placement::TargetsDecided& event) {
  restOf(conditions_);
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
  add(Code::carriedFlag, foundIf(event.isFound),
      {{"group", event.group.name},
       {"groups", texts(event.flag.record->groups,
                        [](const model::FeatureFlagGroup& each) { return each.name; })}});
}

}  // namespace corvo::corvo_internal::evaluation
