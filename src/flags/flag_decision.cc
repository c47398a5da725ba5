#include "flags/flag_decision.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

namespace corvo::corvo_internal::flags {

namespace {

FlagDecision decideByRules(const targeting::RuleList& rules, const targeting::Context& context,
                           bool hashed) {
  if (const std::string* value = rules.choose(context, hashed)) {
    return {FlagDecision::Reason::rule, value};
  }
  return {rules.isEmpty() ? FlagDecision::Reason::noRules
                          : FlagDecision::Reason::rulesNotSatisfied};
}

// The experiment's privacy counts, not the flag's.
FlagDecision decideInGroup(const project::CarriedFlag& flag, const model::Group& group,
                           const targeting::Context& context) {
  const std::vector<model::FeatureFlagGroup>& groups = flag.record->groups;
  const auto found = std::ranges::find(groups, group.name, &model::FeatureFlagGroup::name);
  FlagDecision decision{FlagDecision::Reason::groupNotMatching};
  if (found != groups.end()) {
    decision = decideByRules(flag.groupRules[static_cast<std::size_t>(found - groups.begin())],
                             context, flag.experiment->isPrivate.value_or(false));
  }
  decision.group = &group;
  decision.carried = &flag;
  return decision;
}

// Only the first experiment that carries the flag is asked.
template <class Resolve>
FlagDecision decide(const project::FlagEntry& entry, const targeting::Context& context,
                    Resolve resolve) {
  if (entry.carrier != nullptr) {
    const placement::Placement& placement = resolve(*entry.carrier);
    if (placement.group) return decideInGroup(*entry.carried, *placement.group, context);
  }
  if (entry.record == nullptr) return {};
  return decideByRules(entry.rules, context, entry.isPrivate);
}

CorvoError groupNotMatching(const FlagDecision& decision, std::string_view flagName) {
  std::vector<std::string> names;
  for (const model::FeatureFlagGroup& candidate : decision.carried->record->groups) {
    names.push_back(candidate.name);
  }
  return CorvoError(CorvoError::ExperimentGroupNotMatchingFeatureFlagGroup{
      decision.carried->experiment->name, std::string(flagName), decision.group->name,
      std::move(names)});
}

}  // namespace

FlagDecision decideFlag(const project::FlagEntry* entry, placement::Resolver& resolver,
                        const targeting::Context& context) {
  if (entry == nullptr) return {};
  return decide(*entry, context, [&](const project::PreparedExperiment& carrier) {
    return resolver.resolve(carrier, context);
  });
}

FlagDecision decideFlag(const project::FlagEntry& entry, placement::Resolver::Report& report,
                        const targeting::Context& context) {
  return decide(entry, context, [&](const project::PreparedExperiment& carrier) {
    return report.resolve(carrier);
  });
}

std::vector<FlagDecision> decideFlags(const project::PreparedExperiment& experiment,
                                      const model::Group& group,
                                      const targeting::Context& context) {
  std::vector<FlagDecision> decisions;
  decisions.reserve(experiment.flags.size());
  for (const std::uint32_t first : experiment.firstFlags) {
    decisions.push_back(first < decisions.size()
                            ? decisions[first]
                            : decideInGroup(experiment.flags[first], group, context));
  }
  return decisions;
}

CorvoError errorOf(const FlagDecision& decision, std::string_view flagName) {
  switch (decision.reason) {
    case FlagDecision::Reason::noRules:
      return CorvoError(CorvoError::FeatureFlagNoRules{std::string(flagName)});
    case FlagDecision::Reason::rulesNotSatisfied:
      return CorvoError(CorvoError::FeatureFlagRulesNotSatisfied{std::string(flagName)});
    case FlagDecision::Reason::groupNotMatching:
      return groupNotMatching(decision, flagName);
    case FlagDecision::Reason::rule:
    case FlagDecision::Reason::notFound:
      break;
  }
  return CorvoError(CorvoError::FeatureFlagNotFound{std::string(flagName)});
}

}  // namespace corvo::corvo_internal::flags
