#include "flags/flag_decision.h"

#include <string>
#include <vector>

#include "experiments/resolution.h"
#include "targeting/rules.h"

namespace corvo::flags {
namespace {

using Reason = FlagDecision::Reason;

FlagDecision chooseRule(const targeting::RuleList& rules, const targeting::Context& context,
                        bool hashed, const model::Group* group) {
  const targeting::RuleChoice choice = rules.choose(context, hashed);
  switch (choice.outcome) {
    case targeting::RuleOutcome::chosen:
      return {Reason::rule, choice.rule, group};
    case targeting::RuleOutcome::noRules:
      return {Reason::noRules, nullptr, group};
    case targeting::RuleOutcome::noneSatisfied:
      break;
  }
  return {Reason::rulesNotSatisfied, nullptr, group};
}

// The rules of the flag's first group of the name of the user's group.
FlagDecision decideInGroup(const experiments::FlagEntry& entry, const targeting::Context& context,
                           const model::Group& group) {
  const std::vector<model::FeatureFlagGroup>& groups = entry.carried->record->groups;
  for (std::size_t i = 0; i < groups.size(); ++i) {
    if (groups[i].name != group.name) continue;
    return chooseRule(entry.carried->groupRules[i], context,
                      entry.carrier->record->isPrivate.value_or(false), &group);
  }
  return {Reason::groupNotMatching, nullptr, &group};
}

CorvoError groupNotMatching(const experiments::FlagEntry& entry, std::string_view flagName,
                            const model::Group& group) {
  std::vector<std::string> names;
  for (const model::FeatureFlagGroup& candidate : entry.carried->record->groups) {
    names.push_back(candidate.name);
  }
  return CorvoError(CorvoError::ExperimentGroupNotMatchingFeatureFlagGroup{
      entry.carrier->record->name, std::string(flagName), group.name, std::move(names)});
}

}  // namespace

FlagDecision decideFlag(const experiments::FlagEntry* entry, const targeting::Context& context) {
  if (entry == nullptr) return {};
  if (entry->carrier != nullptr) {
    const auto resolution = experiments::resolveExperiment(*entry->carrier, context);
    if (resolution.group != nullptr) return decideInGroup(*entry, context, *resolution.group);
  }
  if (entry->record == nullptr) return {};
  return chooseRule(entry->rules, context, entry->record->isPrivate.value_or(false), nullptr);
}

CorvoError errorOf(const FlagDecision& decision, std::string_view flagName,
                   const experiments::FlagEntry* entry) {
  std::string name(flagName);
  switch (decision.reason) {
    case Reason::noRules:
      return CorvoError(CorvoError::FeatureFlagNoRules{std::move(name)});
    case Reason::rulesNotSatisfied:
      return CorvoError(CorvoError::FeatureFlagRulesNotSatisfied{std::move(name)});
    case Reason::groupNotMatching:
      return groupNotMatching(*entry, flagName, *decision.group);
    case Reason::rule:
    case Reason::notFound:
      break;
  }
  return CorvoError(CorvoError::FeatureFlagNotFound{std::move(name)});
}

}  // namespace corvo::flags
