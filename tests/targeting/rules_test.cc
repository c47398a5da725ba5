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

const model::Condition kTrue{"plan", ConditionSign::equal, {"gold"}};
const model::Condition kFalse{"plan", ConditionSign::equal, {"silver"}};

class Rules : public testing::Test {
 protected:
  const std::string* choose(const std::vector<model::Rule>& rules) {
    Vocabulary vocabulary;
    RuleBook book;
    const std::vector<model::Rule> ofAnotherFlag{{false, "another", and_, {kTrue}}};
    static_cast<void>(book.add(ofAnotherFlag, vocabulary));
    const RuleList list = book.add(rules, vocabulary);
    book.close();
    return list.choose(contextOf(vocabulary), false);
  }

  bool matches(const model::Target& target) {
    Vocabulary vocabulary;
    const PreparedTarget prepared(target, vocabulary);
    return targetMatches(prepared, contextOf(vocabulary), false);
  }

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

/// What each word of a text stands for.
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
    const auto conditions = listOf<model::Condition>(plans, {{"gold", kTrue}, {"silver", kFalse}});
    const model::ConditionalStatement joined = statements.at(statement);
    EXPECT_EQ(choose({{false, "on", joined, conditions}}) != nullptr, rule == "yes")
        << statement << ' ' << plans;
    EXPECT_EQ(matches({joined, conditions}), target == "yes") << statement << ' ' << plans;
  }
}

TEST_F(Rules, ChooseTheFirstThatHoldsDefaultsLast) {
  const std::map<std::string, model::Rule> rules{{"unmet", {false, "unmet", and_, {kFalse}}},
                                                 {"first", {false, "first", or_, {kFalse, kTrue}}},
                                                 {"second", {false, "second", and_, {kTrue}}},
                                                 {"off", {true, "off", empty, {kFalse}}},
                                                 {"other", {true, "other", and_, {}}}};
  for (const auto& [names, chosen, position] :
       tests::caseTable<3>(CORVO_TARGETING_CASES "choices.txt")) {
    const auto list = listOf(names, rules);
    const std::string* const value = choose(list);
    EXPECT_EQ(value, chosen.empty() ? nullptr : &list.at(std::stoul(position)).value) << names;
    EXPECT_TRUE(!value || *value == chosen) << names;
  }
}

TEST(Vocabulary, KeepsEqualContentsOnceAndOthersApart) {
  using List = std::vector<std::string>;
  Vocabulary vocabulary;
  const std::string texts[] = {"x", "y", "", "x"};
  const List lists[] = {{"a", "b"}, {"b", "a"}, {"ab"}, {}, {""}, {"a", "b"}};
  for (const std::string& text : texts) {
    EXPECT_EQ(&vocabulary.shared(text), &text == &texts[3] ? &texts[0] : &text);
  }
  for (const List& list : lists) {
    EXPECT_EQ(&vocabulary.shared(list), &list == &lists[5] ? &lists[0] : &list);
  }
}

}  // namespace
}  // namespace corvo::corvo_internal::targeting
