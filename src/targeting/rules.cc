// SPDX-License-Identifier: Apache-2.0

#include "targeting/rules.h"

#include <algorithm>
#include <span>

#include "targeting/observer.h"

namespace corvo::corvo_internal::targeting {
namespace {

using model::ConditionalStatement;

// An empty list holds under AND and fails under OR. "-" always fails.
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

base::List<PreparedCondition> prepared(model::List<model::Condition> conditions,
                                       Vocabulary& vocabulary) {
  return vocabulary.pool.list<PreparedCondition>(
      conditions.size(), [&](std::span<PreparedCondition> list) {
        std::ranges::transform(conditions, list.begin(), [&](const model::Condition& condition) {
          return PreparedCondition(condition, vocabulary);
        });
      });
}

// A default rule holds whatever its conditions, so it becomes an AND of none.
PreparedRule prepared(const model::Rule& rule, std::uint32_t position, Vocabulary& vocabulary) {
  if (rule.isDefault) return {.value = rule.value, .conditions = {}, .position = position};
  return {rule.value, prepared(rule.conditions, vocabulary), rule.conditionalStatement, position};
}

}  // namespace

RuleList::RuleList(model::List<model::Rule> rules, Vocabulary& vocabulary)
    : rules_(vocabulary.pool.list<PreparedRule>(rules.size(), [&](std::span<PreparedRule> list) {
        auto next = list.begin();
        inOrderOfTrial(rules, [&](const model::Rule& rule) {
          const auto position = static_cast<std::uint32_t>(&rule - rules.data());
          *next++ = prepared(rule, position, vocabulary);
        });
      })) {}

// The first rule that holds decides; the later ones are not tested.
template <class AnyObserver>
const PreparedRule* RuleList::chooseObserved(const Context& context, bool hashed,
                                             AnyObserver observer) const {
  for (const PreparedRule& rule : rules_) {
    observer.on(RuleBegun{});
    const bool holds =
        statementHolds<AnyObserver>(rule.statement, rule.conditions, context, hashed, observer);
    observer.on(RuleDecided{holds});
    if (holds) return &rule;
  }
  return nullptr;
}

const PreparedRule* RuleList::choose(const Context& context, bool hashed,
                                     NoObserver observer) const {
  return chooseObserved<NoObserver>(context, hashed, observer);
}
const PreparedRule* RuleList::choose(const Context& context, bool hashed,
                                     Observer& observer) const {
  return chooseObserved<Observer&>(context, hashed, observer);
}

PreparedTarget::PreparedTarget(const model::Target& target, Vocabulary& vocabulary)
    : conditions(prepared(target.conditions, vocabulary)), statement(target.conditionalStatement) {}

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
                   NoObserver observer) {
  return matches<NoObserver>(target, context, hashed, observer);
}
bool targetMatches(const PreparedTarget& target, const Context& context, bool hashed,
                   Observer& observer) {
  return matches<Observer&>(target, context, hashed, observer);
}

}  // namespace corvo::corvo_internal::targeting
