#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "model/config.h"
#include "targeting/condition.h"
#include "targeting/context.h"

namespace corvo::targeting {

/// The rules of a flag, or of a flag's group, prepared for choosing: arranged with the default
/// rules last, in flat arrays. Choosing allocates only what a condition does.
///
/// Immutable. Refers to the records it is made from, which must outlive it and stay where they are.
class RuleList {
 public:
  RuleList() = default;
  RuleList(const std::vector<model::Rule>& rules, PropertyNames& names);

  [[nodiscard]] bool isEmpty() const noexcept { return rules_.empty(); }

  /// The first rule that holds, default rules tried last; null when none does. `hashed` is the
  /// privacy of whoever owns the decision.
  [[nodiscard]] const model::Rule* choose(const Context& context, bool hashed) const;

 private:
  struct PreparedRule {
    const model::Rule* rule;
    std::uint32_t firstCondition;
    std::uint32_t conditionCount = 0;
    model::ConditionalStatement statement = model::ConditionalStatement::and_;
  };

  void add(const model::Rule& rule, PropertyNames& names);
  [[nodiscard]] bool ruleMatches(const PreparedRule& rule, const Context& context,
                                 bool hashed) const;

  std::vector<PreparedRule> rules_;
  std::vector<PreparedCondition> conditions_;
};

/// The test whether an experiment is for a user, prepared. Refers to the record it is made from,
/// which must outlive it and stay where it is.
struct PreparedTarget {
  PreparedTarget(const model::Target& target, PropertyNames& names);

  model::ConditionalStatement statement;
  std::vector<PreparedCondition> conditions;
};

/// Whether a target's conditions hold; always where it has none.
[[nodiscard]] bool targetMatches(const PreparedTarget& target, const Context& context, bool hashed);

}  // namespace corvo::targeting
