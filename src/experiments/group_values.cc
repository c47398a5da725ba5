#include "experiments/group_values.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

namespace corvo::experiments {
namespace {

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

FlagDecision decideByRules(const targeting::RuleList& rules, const targeting::Context& context,
                           bool hashed) {
  if (const std::string* value = rules.choose(context, hashed)) {
    return {FlagDecision::Reason::rule, value};
  }
  return {rules.isEmpty() ? FlagDecision::Reason::noRules
                          : FlagDecision::Reason::rulesNotSatisfied};
}

// The experiment's privacy counts, not the flag's.
FlagDecision decideInGroup(const CarriedFlag& flag, const model::Group& group,
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

std::vector<FlagDecision> decideFlags(const PreparedExperiment& experiment,
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

const std::string* paramValue(const model::Param& param, const model::Group& group) {
  const auto value = std::ranges::find(param.values, group.name, &model::Param::Value::group);
  return value == param.values.end() ? nullptr : &value->value;
}

}  // namespace corvo::experiments
