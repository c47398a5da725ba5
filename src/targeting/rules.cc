#include "targeting/rules.h"

#include <algorithm>
#include <span>

namespace corvo::corvo_internal::targeting {
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

RuleList RuleBook::add(const std::vector<model::Rule>& rules, Vocabulary& vocabulary) {
  const std::size_t first = rules_.size();
  for (const bool isDefault : {false, true}) {
    for (const model::Rule& rule : rules) {
      if (rule.isDefault == isDefault) add(rule, vocabulary);
    }
  }
  return {*this, first, rules.size()};
}

// A default rule holds whatever its conditions: it becomes an AND of none.
void RuleBook::add(const model::Rule& rule, Vocabulary& vocabulary) {
  PreparedRule prepared{.value = &vocabulary.shared(rule.value),
                        .firstCondition = static_cast<std::uint32_t>(conditions_.size())};
  if (!rule.isDefault) {
    prepared.conditionCount = static_cast<std::uint32_t>(rule.conditions.size());
    prepared.statement = rule.conditionalStatement;
    for (const model::Condition& condition : rule.conditions) {
      conditions_.emplace_back(condition, vocabulary);
    }
  }
  rules_.push_back(prepared);
}

void RuleBook::close() {
  rules_.shrink_to_fit();
  conditions_.shrink_to_fit();
}

bool RuleBook::ruleMatches(const PreparedRule& rule, const Context& context, bool hashed) const {
  const std::span conditions(conditions_);
  return statementHolds(rule.statement,
                        conditions.subspan(rule.firstCondition, rule.conditionCount), context,
                        hashed);
}

// The first rule that holds decides, so the rules behind it need not be looked at.
const std::string* RuleList::choose(const Context& context, bool hashed) const {
  if (isEmpty()) return nullptr;
  for (const RuleBook::PreparedRule& rule : std::span(book_->rules_).subspan(first_, count_)) {
    if (book_->ruleMatches(rule, context, hashed)) return rule.value;
  }
  return nullptr;
}

PreparedTarget::PreparedTarget(const model::Target& target, Vocabulary& vocabulary)
    : statement(target.conditionalStatement) {
  conditions.reserve(target.conditions.size());
  for (const model::Condition& condition : target.conditions) {
    conditions.emplace_back(condition, vocabulary);
  }
}

bool targetMatches(const PreparedTarget& target, const Context& context, bool hashed) {
  return target.conditions.empty() ||
         statementHolds(target.statement, target.conditions, context, hashed);
}

}  // namespace corvo::corvo_internal::targeting
