// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "model/config.h"
#include "targeting/condition.h"
#include "targeting/context.h"
#include "targeting/observer.h"
#include "targeting/vocabulary.h"

namespace corvo::corvo_internal::targeting {

/// Calls a function with each rule in the order in which they are tried: default rules last.
template <class Function>
void inOrderOfTrial(model::List<model::Rule> rules, Function function) {
  for (const bool isDefault : {false, true}) {
    for (const model::Rule& rule : rules) {
      if (rule.isDefault == isDefault) function(rule);
    }
  }
}

/// A value with the conditions under which it applies, prepared.
struct PreparedRule {
  model::Text value;
  base::List<PreparedCondition> conditions;
  model::ConditionalStatement statement = model::ConditionalStatement::and_;
  std::uint32_t position = 0;  ///< In the document's list.
};

/// The rules of a flag, or of a flag's group, prepared for selection: default rules last. Refers to
/// the texts of the records and to its vocabulary. Concurrent reads are safe.
class RuleList {
 public:
  RuleList() = default;
  RuleList(model::List<model::Rule> rules, Vocabulary& vocabulary);

  [[nodiscard]] bool isEmpty() const noexcept { return rules_.empty(); }

  /// The first rule that holds, trying default rules last; null if none does. `hashed`
  /// is the privacy setting of the flag or experiment that decides. Allocates only as much as the
  /// conditions do.
  [[nodiscard]] const PreparedRule* choose(const Context& context, bool hashed,
                                           NoObserver observer = {}) const;
  [[nodiscard]] const PreparedRule* choose(const Context& context, bool hashed,
                                           Observer& observer) const;

 private:
  template <class AnyObserver>
  const PreparedRule* chooseObserved(const Context& context, bool hashed,
                                     AnyObserver observer) const;

  base::List<PreparedRule> rules_;
};

/// The prepared test whether an experiment targets a user. Refers to the same data as its
/// conditions.
struct PreparedTarget {
  PreparedTarget(const model::Target& target, Vocabulary& vocabulary);

  base::List<PreparedCondition> conditions;
  model::ConditionalStatement statement;
};

/// Whether a target's conditions hold; true if it has none.
[[nodiscard]] bool targetMatches(const PreparedTarget& target, const Context& context, bool hashed,
                                 NoObserver observer = {});
[[nodiscard]] bool targetMatches(const PreparedTarget& target, const Context& context, bool hashed,
                                 Observer& observer);

}  // namespace corvo::corvo_internal::targeting
