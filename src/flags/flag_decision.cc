// SPDX-License-Identifier: Apache-2.0

#include "flags/flag_decision.h"

#include <algorithm>
#include <array>
#include <string>
#include <utility>
#include <vector>

#include "base/text.h"
#include "model/fields.h"

namespace corvo {

std::string_view textOf(FlagReason reason) noexcept {
  using Why = FlagReason;
  struct Row {
    FlagReason reason;
    std::string_view word;
  };
  static constexpr std::array<Row, 5> kWords{{
      {Why::rule, "rule"},
      {Why::featureFlagNotFound, "featureFlagNotFound"},
      {Why::featureFlagNoRules, "featureFlagNoRules"},
      {Why::featureFlagRulesNotSatisfied, "featureFlagRulesNotSatisfied"},
      {Why::experimentGroupNotMatchingFeatureFlagGroup,
       "experimentGroupNotMatchingFeatureFlagGroup"},
  }};
  static_assert(
      corvo_internal::model::isByEnumerator(kWords, [](const Row& row) { return row.reason; }));
  return kWords[static_cast<std::size_t>(reason)].word;
}

}  // namespace corvo

namespace corvo::corvo_internal::flags {

namespace {

// The records must be those that the list was prepared from.
template <class AnyObserver>
FlagDecision decideByRules(const targeting::RuleList& rules, model::List<model::Rule> records,
                           const targeting::Context& context, bool hashed, AnyObserver observer) {
  observer.on(RulesBegun{records, hashed});
  const targeting::PreparedRule* rule = rules.choose(context, hashed, observer);
  observer.on(RulesDecided{rule});
  if (rule != nullptr) return {FlagReason::rule, rule};
  return {rules.isEmpty() ? FlagReason::featureFlagNoRules
                          : FlagReason::featureFlagRulesNotSatisfied};
}

// The experiment's privacy setting applies, not the flag's.
template <class AnyObserver>
FlagDecision decideInGroup(const project::CarriedFlag& flag, const model::Group& group,
                           const targeting::Context& context, AnyObserver observer) {
  const model::List<model::FeatureFlagGroup> groups = flag.record->groups;
  const auto found = std::ranges::find_if(groups, [&](const model::FeatureFlagGroup& each) {
    return base::sameBytes(each.name, group.name);
  });
  observer.on(GroupMatched{flag, group, found != groups.end()});
  FlagDecision decision{FlagReason::experimentGroupNotMatchingFeatureFlagGroup};
  if (found != groups.end()) {
    decision = decideByRules<AnyObserver>(
        flag.groupRules[static_cast<std::size_t>(found - groups.begin())], found->rules, context,
        flag.carrier->record->isPrivate.value_or(false), observer);
  }
  decision.group = &group;
  decision.carried = &flag;
  return decision;
}

// Only the first experiment that carries the flag is considered.
template <class AnyObserver, class Resolve>
FlagDecision decide(const project::FlagEntry& entry, const targeting::Context& context,
                    Resolve resolve, AnyObserver observer) {
  if (entry.carried != nullptr) {
    observer.on(CarrierBegun{*entry.carried->carrier});
    const placement::Placement& placement = resolve(*entry.carried->carrier);
    observer.on(CarrierDecided{*entry.carried, placement});
    if (placement.group)
      return decideInGroup<AnyObserver>(*entry.carried, *placement.group, context, observer);
  }
  if (entry.record == nullptr) return {};
  return decideByRules<AnyObserver>(entry.rules, entry.record->rules, context, entry.isPrivate,
                                    observer);
}

}  // namespace

FlagDecision decideFlag(const project::FlagEntry* entry, placement::Resolver& resolver,
                        const targeting::Context& context) {
  if (entry == nullptr) return {};
  const auto resolve = [&](const project::PreparedExperiment& carrier) {
    return resolver.resolve(carrier, context);
  };
  return decide<NoObserver>(*entry, context, resolve, {});
}

FlagDecision decideFlag(const project::FlagEntry& entry, placement::Resolver::Report& report,
                        const targeting::Context& context) {
  const auto resolve = [&](const project::PreparedExperiment& carrier) -> const auto& {
    return report.resolve(carrier);
  };
  return decide<NoObserver>(entry, context, resolve, {});
}

FlagDecision decideFlag(const project::FlagEntry* entry, const targeting::Context& context,
                        Observer& observer) {
  if (entry == nullptr) return {};
  placement::ObservedResolver resolver(context, observer);
  const auto resolve = [&](const project::PreparedExperiment& carrier) {
    return resolver.resolve(carrier);
  };
  return decide<Observer&>(*entry, context, resolve, observer);
}

void decideFlags(const project::PreparedExperiment& experiment, const model::Group& group,
                 const targeting::Context& context, std::vector<FlagDecision>& decisions) {
  decisions.clear();
  decisions.reserve(experiment.flags.size());
  for (const std::uint32_t first : experiment.firstFlags) {
    decisions.push_back(
        first < decisions.size()
            ? decisions[first]
            : decideInGroup<NoObserver>(experiment.flags[first], group, context, {}));
  }
}

CorvoError groupNotMatching(const FlagDecision& decision, std::string_view flagName) {
  std::vector<std::string> names;
  for (const model::FeatureFlagGroup& candidate : decision.carried->record->groups) {
    names.emplace_back(candidate.name);
  }
  return CorvoError(CorvoError::ExperimentGroupNotMatchingFeatureFlagGroup{
      std::string(decision.carried->carrier->record->name), base::wellFormed(flagName),
      std::string(decision.group->name), std::move(names)});
}

}  // namespace corvo::corvo_internal::flags
