#include "targeting/rules.h"

#include <algorithm>
#include <span>

namespace corvo::targeting {
namespace {

using model::ConditionalStatement;

// Of an empty list AND holds, OR does not. "-" never does.
bool statementHolds(ConditionalStatement statement, std::span<const PreparedCondition> conditions,
                    const Context& context, bool hashed) {
  const auto holds = [&](const PreparedCondition& condition) {
    return conditionMatches(condition, context, hashed);
  };
  switch (statement) {
    case ConditionalStatement::and_:
      return std::ranges::all_of(conditions, holds);
    case ConditionalStatement::or_:
      return std::ranges::any_of(conditions, holds);
    case ConditionalStatement::empty:
      break;
  }
  return false;
}

}  // namespace

RuleList::RuleList(const std::vector<model::Rule>& rules) {
  std::size_t conditionCount = 0;
  for (const model::Rule& rule : rules)
    conditionCount += rule.isDefault ? 0 : rule.conditions.size();
  rules_.reserve(rules.size());
  conditions_.reserve(conditionCount);
  for (const bool isDefault : {false, true}) {
    for (std::size_t position = 0; position < rules.size(); ++position) {
      if (rules[position].isDefault == isDefault) add(rules[position], position);
    }
  }
}

// A default rule holds whatever its conditions: it becomes an AND of none.
void RuleList::add(const model::Rule& rule, std::size_t position) {
  PreparedRule prepared{.rule = &rule,
                        .position = static_cast<std::uint32_t>(position),
                        .firstCondition = static_cast<std::uint32_t>(conditions_.size())};
  if (!rule.isDefault) {
    prepared.conditionCount = static_cast<std::uint32_t>(rule.conditions.size());
    prepared.statement = rule.conditionalStatement;
    for (const model::Condition& condition : rule.conditions) conditions_.emplace_back(condition);
  }
  rules_.push_back(prepared);
}

bool RuleList::ruleMatches(const PreparedRule& rule, const Context& context, bool hashed) const {
  const std::span conditions(conditions_);
  return statementHolds(rule.statement,
                        conditions.subspan(rule.firstCondition, rule.conditionCount), context,
                        hashed);
}

// The first rule that holds decides, so the rules behind it need not be looked at.
RuleChoice RuleList::choose(const Context& context, bool hashed) const {
  if (rules_.empty()) return {};
  for (const PreparedRule& rule : rules_) {
    if (ruleMatches(rule, context, hashed)) return {rule.rule, rule.position, RuleOutcome::chosen};
  }
  return {.outcome = RuleOutcome::noneSatisfied};
}

PreparedTarget::PreparedTarget(const model::Target& target)
    : statement(target.conditionalStatement),
      conditions(target.conditions.begin(), target.conditions.end()) {}

bool targetMatches(const PreparedTarget& target, const Context& context, bool hashed) {
  return target.conditions.empty() ||
         statementHolds(target.statement, target.conditions, context, hashed);
}

}  // namespace corvo::targeting
