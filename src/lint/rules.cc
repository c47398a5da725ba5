// SPDX-License-Identifier: Apache-2.0

#include "targeting/rules.h"

#include <algorithm>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "lint/checks.h"
#include "lint/condition_check.h"
#include "lint/requirement.h"

namespace corvo::corvo_internal::lint {
namespace {

using model::ConditionalStatement;
using model::Experiment;
using model::FeatureFlag;
using model::FeatureFlagGroup;
using model::Rule;
using model::Target;

// --- Conclusions about conditions without a user -------------------------------------------------

enum class Holds { never, sometimes, always };

Holds holdsOf(ConditionalStatement statement, const std::vector<Requirement>& requirements) {
  if (statement == ConditionalStatement::empty) return Holds::never;
  const bool isAnd = statement == ConditionalStatement::and_;
  const auto isOf = [](bool answer) {
    return [=](const Requirement& requirement) { return requirement.constant == answer; };
  };
  // A single one of these decides the list; if all are neutral, the other answer remains.
  if (std::ranges::any_of(requirements, isOf(!isAnd))) return isAnd ? Holds::never : Holds::always;
  if (std::ranges::all_of(requirements, isOf(isAnd))) return isAnd ? Holds::always : Holds::never;
  if (isAnd) return isContradictory(requirements) ? Holds::never : Holds::sometimes;
  return isExhaustive(requirements) ? Holds::always : Holds::sometimes;
}

// The texts of conditions, regardless of their order. The answers of the other conditions are
// known.
using RequirementTexts = std::set<std::string>;

RequirementTexts textsOf(const std::vector<Requirement>& requirements) {
  RequirementTexts texts;
  for (const Requirement& requirement : requirements) {
    if (!requirement.constant) texts.insert(requirement.text);
  }
  return texts;
}

// Lists of conditions that must all hold. Each list is stored under the condition that has the
// fewest lists, so that a search makes few comparisons.
class EarlierLists {
 public:
  // Whether one of the lists consists only of these conditions. Stops after a number of
  // comparisons, so that not all lists are compared with each other.
  [[nodiscard]] bool hasPartOf(const RequirementTexts& texts) const {
    if (lists_.contains(texts)) return true;
    int left = 64;
    for (const std::string& text : texts) {
      const auto found = at_.find(text);
      if (found == at_.end()) continue;
      for (const RequirementTexts* list : found->second) {
        if (left-- == 0) return false;
        if (list->size() < texts.size() && std::ranges::includes(texts, *list)) return true;
      }
    }
    return false;
  }

  void add(RequirementTexts texts) {
    const auto count = [this](const std::string& text) { return at_[text].size(); };
    const auto fewest = std::ranges::min_element(texts, {}, count);
    auto& lists = at_[*fewest];
    lists.push_back(&*lists_.insert(std::move(texts)).first);
  }

 private:
  std::set<RequirementTexts> lists_;
  std::map<std::string, std::vector<const RequirementTexts*>> at_;
};

// The users that earlier rules have covered, as far as that is certain.
class CoveredUsers {
 public:
  [[nodiscard]] bool hasAll(ConditionalStatement statement,
                            const std::vector<Requirement>& requirements) const {
    const auto isTaken = [this](const Requirement& requirement) { return has(requirement); };
    if (statement == ConditionalStatement::or_) return std::ranges::all_of(requirements, isTaken);
    return std::ranges::any_of(requirements, isTaken) || lists_.hasPartOf(textsOf(requirements));
  }

  void add(ConditionalStatement statement, const std::vector<Requirement>& requirements) {
    if (statement == ConditionalStatement::or_ || requirements.size() == 1) {
      for (const Requirement& requirement : requirements) add(requirement);
    } else {
      lists_.add(textsOf(requirements));
    }
  }

  // Whether no users are left.
  [[nodiscard]] bool isEverybody() const noexcept { return rest_.isEmpty(); }

 private:
  [[nodiscard]] bool has(const Requirement& requirement) const {
    if (requirement.constant) return !*requirement.constant;
    if (texts_.contains(requirement.text)) return true;
    const auto isTaken = [this](const std::string& text) { return texts_.contains(text); };
    if (!requirement.oneOf.empty() && std::ranges::all_of(requirement.oneOf, isTaken)) return true;
    if (!requirement.bound) return false;
    const auto widest = widest_.find({requirement.bound->line, requirement.bound->isLower});
    return widest != widest_.end() && widest->second.covers(*requirement.bound);
  }

  void add(const Requirement& requirement) {
    if (requirement.constant) return;
    rest_.forbid(requirement);
    texts_.insert(requirement.text);
    texts_.insert(requirement.oneOf.begin(), requirement.oneOf.end());
    if (!requirement.bound) return;
    const auto [widest, isNew] = widest_.try_emplace(
        {requirement.bound->line, requirement.bound->isLower}, *requirement.bound);
    if (!isNew && !widest->second.covers(*requirement.bound))
      widest->second = PreparedBound(*requirement.bound);
  }

  std::set<std::string> texts_;
  EarlierLists lists_;
  RemainingValues rest_;
  std::map<std::pair<Bound::Line, bool>, PreparedBound> widest_;
};

// --- Lists of rules ------------------------------------------------------------------------------

class RuleCheck {
 public:
  RuleCheck(const Document& document, Report& report) : document_(document), report_(report) {}

  // The rules of a flag, or of a flag's group.
  template <class Owner>
  void rules(Placed<Owner> owner, bool isPrivate) {
    if (owner->rules.empty()) {
      return report_.add(Code::noRules, *owner.node,
                         "without rules, there is an error instead of a value");
    }
    const auto placed = document_.list(owner, &Owner::rules);
    Trial trial;
    targeting::inOrderOfTrial(owner->rules, [&](const Rule& rule) {
      const auto position = static_cast<std::size_t>(&rule - owner->rules.begin());
      check(placed[position], isPrivate, trial);
    });
    if (trial.over != nullptr) return;
    report_.add(Code::noDefaultRule, document_.place(owner, &Owner::rules),
                "there is no default rule: users for whom no rule holds get an error");
  }

  void target(Placed<Target> target, bool isPrivate) {
    if (target->conditions.empty()) return;
    const auto requirements = requirementsOf(target, isPrivate);
    if (target->conditionalStatement == ConditionalStatement::empty) {
      return report_.add(Code::dashStatement,
                         document_.place(target, &Target::conditionalStatement),
                         "conditions joined by \"-\" never hold");
    }
    checkContradiction(target, requirements);
  }

 private:
  // A list of rules and how far it has been tried.
  struct Trial {
    const char* over = nullptr;  // why no later rule can win; null while one can
    CoveredUsers covered = {};
  };

  void check(Placed<Rule> rule, bool isPrivate, Trial& trial) {
    std::vector<Requirement> requirements;
    Holds holds = Holds::always;
    if (rule->isDefault) {
      checkDefault(rule);
    } else {
      requirements = requirementsOf(rule, isPrivate);
      checkStatement(rule);
      checkContradiction(rule, requirements);
      holds = holdsOf(rule->conditionalStatement, requirements);
    }
    if (holds == Holds::never) return;
    checkOrder(rule, requirements, holds, trial);
  }

  void checkDefault(Placed<Rule> rule) {
    if (rule->conditions.empty()) return;
    report_.add(Code::defaultWithConditions, document_.place(rule, &Rule::conditions),
                "the conditions of a default rule are ignored");
  }

  void checkStatement(Placed<Rule> rule) {
    const JsonNode& node = document_.place(rule, &Rule::conditionalStatement);
    if (rule->conditionalStatement == ConditionalStatement::empty) {
      report_.add(Code::dashStatement, node, "with the statement \"-\", only a default rule holds");
    }
    if (rule->conditionalStatement == ConditionalStatement::or_ && rule->conditions.empty()) {
      report_.add(Code::orWithoutConditions, node,
                  "a rule with the statement \"OR\" and no conditions never holds");
    }
  }

  // A rule that never holds because of one condition has been reported at that condition.
  template <class Owner>
  void checkContradiction(Placed<Owner> owner, const std::vector<Requirement>& requirements) {
    if (owner->conditionalStatement != ConditionalStatement::and_ ||
        !isContradictory(requirements)) {
      return;
    }
    report_.add(Code::contradiction, document_.place(owner, &Owner::conditions),
                "these conditions never hold together");
  }

  void checkOrder(Placed<Rule> rule, const std::vector<Requirement>& requirements, Holds holds,
                  Trial& trial) {
    if (trial.over != nullptr) {
      report_.add(Code::ruleNeverWins, *rule.node, trial.over);
    } else if (holds == Holds::always) {
      trial.over = "an earlier rule always holds";
    } else if (trial.covered.hasAll(rule->conditionalStatement, requirements)) {
      report_.add(Code::ruleNeverWins, *rule.node, "an earlier rule holds whenever this one does");
    } else {
      trial.covered.add(rule->conditionalStatement, requirements);
      if (trial.covered.isEverybody()) trial.over = "one of the earlier rules holds for every user";
    }
  }

  template <class Owner>
  std::vector<Requirement> requirementsOf(Placed<Owner> owner, bool isPrivate) {
    std::vector<Requirement> requirements;
    for (const auto condition : document_.list(owner, &Owner::conditions)) {
      const Requirement& requirement = requirements.emplace_back(*condition, vocabulary_);
      checkCondition(document_, condition, requirement.constant, isPrivate, report_);
    }
    return requirements;
  }

  const Document& document_;
  Report& report_;
  base::Pool pool_;
  targeting::Vocabulary vocabulary_{pool_};
};

}  // namespace

void checkRules(const Document& document, Report& report) {
  RuleCheck check(document, report);
  for (const auto flag : document.flags()) check.rules(flag, flag->isPrivate.value_or(false));
  for (const auto experiment : document.experiments()) {
    const bool isPrivate = experiment->isPrivate.value_or(false);
    if (experiment->targets) {
      const JsonNode& node = document.place(experiment, &Experiment::targets);
      check.target({&*experiment->targets, &node}, isPrivate);
    }
    for (const auto flag : document.list(experiment, &Experiment::featureFlags)) {
      for (const auto group : document.list(flag, &FeatureFlag::groups)) {
        check.rules(group, isPrivate);
      }
    }
  }
}

}  // namespace corvo::corvo_internal::lint
