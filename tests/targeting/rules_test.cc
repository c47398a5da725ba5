// SPDX-License-Identifier: Apache-2.0

#include "targeting/rules.h"

#include <corvo/fakes.h>
#include <gtest/gtest.h>

#include <map>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "model/fields.h"
#include "tests/base/case_table.h"

namespace corvo::corvo_internal::targeting {
namespace {

using enum model::ConditionalStatement;
using model::ConditionSign;

class Rules : public testing::Test {
 protected:
  model::Condition conditionOn(std::string_view plan) {
    return {pool.text("plan"), ConditionSign::equal, pool.list(std::vector{pool.text(plan)})};
  }
  model::Rule rule(std::string_view value, model::ConditionalStatement statement,
                   const std::vector<model::Condition>& conditions, bool isDefault = false) {
    return {pool.text(value), pool.list(conditions), statement, isDefault};
  }

  std::string_view choose(const std::vector<model::Rule>& rules) {
    Vocabulary vocabulary{pool};
    const RuleList list(pool.list(rules), vocabulary);
    const PreparedRule* const chosen = list.choose(contextOf(vocabulary), false);
    if (chosen == nullptr) return {};
    EXPECT_EQ(chosen->value, rules.at(chosen->position).value);
    return chosen->value;
  }

  bool matches(const model::Target& target) {
    Vocabulary vocabulary{pool};
    const PreparedTarget prepared(target, vocabulary);
    return targetMatches(prepared, contextOf(vocabulary), false);
  }

  base::Pool pool;
  const model::Condition holding = conditionOn("gold");
  const model::Condition failing = conditionOn("silver");

 private:
  Context contextOf(const Vocabulary& vocabulary) {
    const std::uint32_t plan = vocabulary.names.find("plan");
    properties_.resize(vocabulary.names.count());
    if (plan != PropertyNames::kNone) properties_.putUser(plan, "gold", kNever);
    return {.properties = &properties_, .localTime = localTime_};
  }

  fakes::FakeTimeZone zone_;
  LocalTime localTime_{zone_};
  PropertyTable properties_;
};

/// The value for each word of a text.
template <class T>
std::vector<T> listOf(const std::string& text, const std::map<std::string, T>& meanings) {
  std::vector<T> list;
  std::istringstream words(text);
  for (std::string word; words >> word;) list.push_back(meanings.at(word));
  return list;
}

TEST_F(Rules, AndTargetsJoinTheirConditions) {
  std::map<std::string_view, model::ConditionalStatement> statements;
  for (const auto& [value, text] : model::EnumTexts<model::ConditionalStatement>::list) {
    statements[text] = value;
  }
  for (const auto& [statement, plans, rule, target] :
       tests::caseTable<4>(CORVO_TARGETING_CASES "rules.txt")) {
    const auto conditions =
        listOf<model::Condition>(plans, {{"gold", holding}, {"silver", failing}});
    const model::ConditionalStatement joined = statements.at(statement);
    EXPECT_EQ(choose({this->rule("on", joined, conditions)}) == "on", rule == "yes")
        << statement << ' ' << plans;
    EXPECT_EQ(matches({joined, pool.list(conditions)}), target == "yes")
        << statement << ' ' << plans;
  }
}

TEST_F(Rules, ChooseTheFirstThatHoldsDefaultsLast) {
  const std::map<std::string, model::Rule> rules{{"unmet", rule("unmet", and_, {failing})},
                                                 {"first", rule("first", or_, {failing, holding})},
                                                 {"second", rule("second", and_, {holding})},
                                                 {"off", rule("off", empty, {failing}, true)},
                                                 {"other", rule("other", and_, {}, true)}};
  for (const auto& [names, chosen] : tests::caseTable<2>(CORVO_TARGETING_CASES "choices.txt")) {
    EXPECT_EQ(choose(listOf(names, rules)), chosen) << names;
  }
}

}  // namespace
}  // namespace corvo::corvo_internal::targeting
