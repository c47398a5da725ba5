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

RuleList::RuleList(const std::vector<model::Rule>& rules, PropertyNames& names) {
  std::size_t conditionCount = 0;
  for (const model::Rule& rule : rules)
    conditionCount += rule.isDefault ? 0 : rule.conditions.size();
  rules_.reserve(rules.size());
  conditions_.reserve(conditionCount);
  for (const bool isDefault : {false, true}) {
    for (const model::Rule& rule : rules) {
      if (rule.isDefault == isDefault) add(rule, names);
    }
  }
}

// A default rule holds whatever its conditions: it becomes an AND of none.
void RuleList::add(const model::Rule& rule, PropertyNames& names) {
  PreparedRule prepared{.rule = &rule,
                        .firstCondition = static_cast<std::uint32_t>(conditions_.size())};
  if (!rule.isDefault) {
    prepared.conditionCount = static_cast<std::uint32_t>(rule.conditions.size());
    prepared.statement = rule.conditionalStatement;
    for (const model::Condition& condition : rule.conditions) {
      conditions_.emplace_back(condition, names);
    }
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
const model::Rule* RuleList::choose(const Context& context, bool hashed) const {
  for (const PreparedRule& rule : rules_) {
    if (ruleMatches(rule, context, hashed)) return rule.rule;
  }
  return nullptr;
}

PreparedTarget::PreparedTarget(const model::Target& target, PropertyNames& names)
    : statement(target.conditionalStatement) {
  conditions.reserve(target.conditions.size());
  for (const model::Condition& condition : target.conditions) {
    conditions.emplace_back(condition, names);
  }
}

bool targetMatches(const PreparedTarget& target, const Context& context, bool hashed) {
  return target.conditions.empty() ||
         statementHolds(target.statement, target.conditions, context, hashed);
}

}  // namespace corvo::targeting
