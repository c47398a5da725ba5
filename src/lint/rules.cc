#include "targeting/rules.h"

#include <algorithm>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "lint/checks.h"
#include "lint/condition_check.h"
#include "lint/demand.h"

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

Holds holdsOf(ConditionalStatement statement, const std::vector<Demand>& demands) {
  if (statement == ConditionalStatement::empty) return Holds::never;
  const bool isAnd = statement == ConditionalStatement::and_;
  const auto isOf = [](bool answer) {
    return [=](const Demand& demand) { return demand.constant == answer; };
  };
  // A single one of these decides the list; if all are neutral, the other answer remains.
  if (std::ranges::any_of(demands, isOf(!isAnd))) return isAnd ? Holds::never : Holds::always;
  if (std::ranges::all_of(demands, isOf(isAnd))) return isAnd ? Holds::always : Holds::never;
  if (isAnd) return isContradictory(demands) ? Holds::never : Holds::sometimes;
  return isExhaustive(demands) ? Holds::always : Holds::sometimes;
}

// The texts of conditions, regardless of their order. The answers of the other conditions are
// known.
using DemandTexts = std::set<std::string>;

DemandTexts textsOf(const std::vector<Demand>& demands) {
  DemandTexts texts;
  for (const Demand& demand : demands) {
    if (!demand.constant) texts.insert(demand.text);
  }
  return texts;
}

// Lists of conditions that must all hold. Each list is stored under the condition that has the
// fewest lists, so that a search makes few comparisons.
class TakenLists {
 public:
  // Whether one of the lists consists only of these conditions. Stops after a number of
  // comparisons, so that not all lists are compared with each other.
  [[nodiscard]] bool hasPartOf(const DemandTexts& texts) const {
    if (lists_.contains(texts)) return true;
    int left = 64;
    for (const std::string& text : texts) {
      const auto found = at_.find(text);
      if (found == at_.end()) continue;
      for (const DemandTexts* list : found->second) {
        if (left-- == 0) return false;
        if (list->size() < texts.size() && std::ranges::includes(texts, *list)) return true;
      }
    }
    return false;
  }

  void add(DemandTexts texts) {
    const auto count = [this](const std::string& text) { return at_[text].size(); };
    const auto fewest = std::ranges::min_element(texts, {}, count);
    auto& lists = at_[*fewest];
    lists.push_back(&*lists_.insert(std::move(texts)).first);
  }

 private:
  std::set<DemandTexts> lists_;
  std::map<std::string, std::vector<const DemandTexts*>> at_;
};

// The users that earlier rules have taken, as far as that is certain.
class Taken {
 public:
  [[nodiscard]] bool hasAll(ConditionalStatement statement,
                            const std::vector<Demand>& demands) const {
    const auto isTaken = [this](const Demand& demand) { return has(demand); };
    if (statement == ConditionalStatement::or_) return std::ranges::all_of(demands, isTaken);
    return std::ranges::any_of(demands, isTaken) || lists_.hasPartOf(textsOf(demands));
  }

  void add(ConditionalStatement statement, const std::vector<Demand>& demands) {
    if (statement == ConditionalStatement::or_ || demands.size() == 1) {
      for (const Demand& demand : demands) add(demand);
    } else {
      lists_.add(textsOf(demands));
    }
  }

  // Whether no users are left.
  [[nodiscard]] bool isEverybody() const noexcept { return rest_.isEmpty(); }

 private:
  [[nodiscard]] bool has(const Demand& demand) const {
    if (demand.constant) return !*demand.constant;
    if (texts_.contains(demand.text)) return true;
    const auto isTaken = [this](const std::string& text) { return texts_.contains(text); };
    if (!demand.oneOf.empty() && std::ranges::all_of(demand.oneOf, isTaken)) return true;
    if (!demand.end) return false;
    const auto widest = widest_.find({demand.end->line, demand.end->isLower});
    return widest != widest_.end() && widest->second.covers(*demand.end);
  }

  void add(const Demand& demand) {
    if (demand.constant) return;
    rest_.forbid(demand);
    texts_.insert(demand.text);
    texts_.insert(demand.oneOf.begin(), demand.oneOf.end());
    if (!demand.end) return;
    const auto [widest, isNew] =
        widest_.try_emplace({demand.end->line, demand.end->isLower}, *demand.end);
    if (!isNew && !widest->second.covers(*demand.end)) widest->second = KeptEnd(*demand.end);
  }

  std::set<std::string> texts_;
  TakenLists lists_;
  Remainder rest_;
  std::map<std::pair<End::Line, bool>, KeptEnd> widest_;
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
    const auto demands = demandsOf(target, isPrivate);
    if (target->conditionalStatement == ConditionalStatement::empty) {
      return report_.add(Code::dashStatement,
                         document_.place(target, &Target::conditionalStatement),
                         "conditions joined by \"-\" never hold");
    }
    checkContradiction(target, demands);
  }

 private:
  // A list of rules and how far it has been tried.
  struct Trial {
    const char* over = nullptr;  // why no later rule can win; null while one can
    Taken taken = {};
  };

  void check(Placed<Rule> rule, bool isPrivate, Trial& trial) {
    std::vector<Demand> demands;
    Holds holds = Holds::always;
    if (rule->isDefault) {
      checkDefault(rule);
    } else {
      demands = demandsOf(rule, isPrivate);
      checkStatement(rule);
      checkContradiction(rule, demands);
      holds = holdsOf(rule->conditionalStatement, demands);
    }
    if (holds == Holds::never) return;
    checkOrder(rule, demands, holds, trial);
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
  void checkContradiction(Placed<Owner> owner, const std::vector<Demand>& demands) {
    if (owner->conditionalStatement != ConditionalStatement::and_ || !isContradictory(demands)) {
      return;
    }
    report_.add(Code::contradiction, document_.place(owner, &Owner::conditions),
                "these conditions never hold together");
  }

  void checkOrder(Placed<Rule> rule, const std::vector<Demand>& demands, Holds holds,
                  Trial& trial) {
    if (trial.over != nullptr) {
      report_.add(Code::ruleNeverWins, *rule.node, trial.over);
    } else if (holds == Holds::always) {
      trial.over = "an earlier rule always holds";
    } else if (trial.taken.hasAll(rule->conditionalStatement, demands)) {
      report_.add(Code::ruleNeverWins, *rule.node, "an earlier rule holds whenever this one does");
    } else {
      trial.taken.add(rule->conditionalStatement, demands);
      if (trial.taken.isEverybody()) trial.over = "one of the earlier rules holds for every user";
    }
  }

  template <class Owner>
  std::vector<Demand> demandsOf(Placed<Owner> owner, bool isPrivate) {
    std::vector<Demand> demands;
    for (const auto condition : document_.list(owner, &Owner::conditions)) {
      const Demand& demand = demands.emplace_back(*condition, vocabulary_);
      checkCondition(document_, condition, demand.constant, isPrivate, report_);
    }
    return demands;
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
