#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "model/config.h"
#include "targeting/condition.h"
#include "targeting/context.h"
#include "targeting/observer.h"
#include "targeting/vocabulary.h"

namespace corvo::corvo_internal::targeting {

class RuleBook;

/// The rules of a flag, or of a flag's group, in a book, which must outlive it and stay where it
/// is. An empty list needs none.
class RuleList {
 public:
  RuleList() = default;

  [[nodiscard]] bool isEmpty() const noexcept { return count_ == 0; }

  /// The value of the first rule that holds, default rules tried last; null when none does.
  /// `hashed` is the privacy of whoever owns the decision. Allocates only what a condition does.
  [[nodiscard]] const model::Text* choose(const Context& context, bool hashed,
                                          Silent observer = {}) const;
  [[nodiscard]] const model::Text* choose(const Context& context, bool hashed,
                                          Observer& observer) const;

 private:
  friend class RuleBook;
  template <class AnyObserver>
  const model::Text* chooseSeen(const Context& context, bool hashed, AnyObserver observer) const;
  RuleList(const RuleBook& book, std::size_t first, std::size_t count)
      : book_(&book),
        first_(static_cast<std::uint32_t>(first)),
        count_(static_cast<std::uint32_t>(count)) {}

  const RuleBook* book_ = nullptr;
  std::uint32_t first_ = 0;
  std::uint32_t count_ = 0;
};

/// All rules of a configuration, prepared for choosing: in flat arrays, each list arranged with its
/// default rules last. May refer to the texts of any record that the vocabulary has seen, so all of
/// those must outlive it and stay where they are. Reading is safe from any thread while nobody
/// adds.
class RuleBook {
 public:
  RuleBook() = default;
  RuleBook(const RuleBook&) = delete;
  RuleBook& operator=(const RuleBook&) = delete;

  [[nodiscard]] RuleList add(model::List<model::Rule> rules, Vocabulary& vocabulary);

  /// Gives back the memory that was kept for more rules.
  void close();

 private:
  friend class RuleList;
  struct PreparedRule {
    model::Text value;
    std::uint32_t firstCondition;
    std::uint32_t conditionCount = 0;
    model::ConditionalStatement statement = model::ConditionalStatement::and_;
  };

  void add(const model::Rule& rule, Vocabulary& vocabulary);
  template <class AnyObserver>
  bool ruleMatches(const PreparedRule& rule, const Context& context, bool hashed,
                   AnyObserver observer) const;

  std::vector<PreparedRule> rules_;
  std::vector<PreparedCondition> conditions_;
};

/// Calls a function with each rule in the order in which they are tried: default rules last.
template <class Function>
void inOrderOfTrial(model::List<model::Rule> rules, Function function) {
  for (const bool isDefault : {false, true}) {
    for (const model::Rule& rule : rules) {
      if (rule.isDefault == isDefault) function(rule);
    }
  }
}

/// The test whether an experiment is for a user, prepared. Refers to texts as its conditions do.
struct PreparedTarget {
  PreparedTarget(const model::Target& target, Vocabulary& vocabulary);

  model::ConditionalStatement statement;
  std::vector<PreparedCondition> conditions;
};

/// Whether a target's conditions hold; always where it has none.
[[nodiscard]] bool targetMatches(const PreparedTarget& target, const Context& context, bool hashed,
                                 Silent observer = {});
[[nodiscard]] bool targetMatches(const PreparedTarget& target, const Context& context, bool hashed,
                                 Observer& observer);

}  // namespace corvo::corvo_internal::targeting
