#include "targeting/rules.h"

#include <algorithm>
#include <span>

#include "targeting/observer.h"

namespace corvo::corvo_internal::targeting {
namespace {

using model::ConditionalStatement;

// Of an empty list AND holds, OR does not. "-" never does.
template <class AnyObserver>
bool statementHolds(ConditionalStatement statement, std::span<const PreparedCondition> conditions,
                    const Context& context, bool hashed, AnyObserver observer) {
  const auto holds = [&](const PreparedCondition& condition) {
    const Subject subject(context, condition.property(), hashed);
    const bool result = condition.matches(subject);
    const auto position = static_cast<std::size_t>(&condition - conditions.data());
    observer.on(ConditionTested{position, condition, subject, result});
    return result;
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

RuleList RuleBook::add(model::List<model::Rule> rules, Vocabulary& vocabulary) {
  const std::size_t first = rules_.size();
  inOrderOfTrial(rules, [&](const model::Rule& rule) { add(rule, vocabulary); });
  return {*this, first, rules.size()};
}

// A default rule holds whatever its conditions: it becomes an AND of none.
void RuleBook::add(const model::Rule& rule, Vocabulary& vocabulary) {
  PreparedRule prepared{.value = rule.value,
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

template <class AnyObserver>
bool RuleBook::ruleMatches(const PreparedRule& rule, const Context& context, bool hashed,
                           AnyObserver observer) const {
  observer.on(RuleBegun{});
  const std::span conditions(conditions_);
  const bool holds = statementHolds<AnyObserver>(
      rule.statement, conditions.subspan(rule.firstCondition, rule.conditionCount), context, hashed,
      observer);
  observer.on(RuleDecided{holds});
  return holds;
}

// The first rule that holds decides, so the rules behind it need not be looked at.
template <class AnyObserver>
const model::Text* RuleList::chooseSeen(const Context& context, bool hashed,
                                        AnyObserver observer) const {
  if (isEmpty()) return nullptr;
  for (const RuleBook::PreparedRule& rule : std::span(book_->rules_).subspan(first_, count_)) {
    if (book_->ruleMatches<AnyObserver>(rule, context, hashed, observer)) return &rule.value;
  }
  return nullptr;
}

const model::Text* RuleList::choose(const Context& context, bool hashed, Silent observer) const {
  return chooseSeen<Silent>(context, hashed, observer);
}
const model::Text* RuleList::choose(const Context& context, bool hashed, Observer& observer) const {
  return chooseSeen<Observer&>(context, hashed, observer);
}

PreparedTarget::PreparedTarget(const model::Target& target, Vocabulary& vocabulary)
    : statement(target.conditionalStatement) {
  conditions.reserve(target.conditions.size());
  for (const model::Condition& condition : target.conditions) {
    conditions.emplace_back(condition, vocabulary);
  }
}

namespace {

template <class AnyObserver>
bool matches(const PreparedTarget& target, const Context& context, bool hashed,
             AnyObserver observer) {
  return target.conditions.empty() ||
         statementHolds<AnyObserver>(target.statement, target.conditions, context, hashed,
                                     observer);
}

}  // namespace

bool targetMatches(const PreparedTarget& target, const Context& context, bool hashed,
                   Silent observer) {
  return matches<Silent>(target, context, hashed, observer);
}
bool targetMatches(const PreparedTarget& target, const Context& context, bool hashed,
                   Observer& observer) {
  return matches<Observer&>(target, context, hashed, observer);
}

}  // namespace corvo::corvo_internal::targeting
