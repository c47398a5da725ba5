#include "targeting/rules.h"

#include <corvo/fakes.h>
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <variant>
#include <vector>

#include "model/codec.h"
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

TEST_F(Rules, AndTargetsJoinTheirConditions) {
  for (const auto& [statement, plans, rule, target] :
       tests::caseTable<4>(CORVO_TARGETING_CASES "rules.txt")) {
    std::string conditions;
    std::istringstream words(plans);
    for (std::string plan; words >> plan;) {
      conditions += conditions.empty() ? "" : ",";
      conditions += R"({"name": "plan", "condition_sign": "equal", "value": ")" + plan + "\"}";
    }
    const auto config = model::decodeJson<model::ConfigResponse>(
        R"({"feature_flags": [{"name": "f", "type": "t", "rules": [{"is_default": false,
            "value": "on", "conditional_statement": ")" +
        statement + R"(", "conditions": [)" + conditions + "]}]}]}");
    const auto& rules = std::get<model::ConfigResponse>(config).featureFlags.at(0).rules;
    EXPECT_EQ(choose(rules) != nullptr, rule == "yes") << statement << ' ' << plans;
    EXPECT_EQ(matches({rules.at(0).conditionalStatement, rules.at(0).conditions}), target == "yes")
        << statement << ' ' << plans;
  }
}

TEST_F(Rules, ChooseTheFirstThatHoldsDefaultsLast) {
  const model::Rule unmet{false, "unmet", and_, {kFalse}};
  const model::Rule first{false, "first", or_, {kFalse, kTrue}};
  const model::Rule second{false, "second", and_, {kTrue}};
  const model::Rule off{true, "off", empty, {kFalse}};
  const model::Rule other{true, "other", and_, {}};
  struct Case {
    std::vector<model::Rule> rules;
    std::uint32_t position;
    std::string value;
  };
  const Case cases[] = {
      {{off, first}, 1, "first"},
      {{unmet, off}, 1, "off"},
      {{unmet, first, second}, 1, "first"},
      {{other, unmet, off}, 0, "other"},
      {{unmet, off, second, other, first}, 2, "second"},
  };
  for (const Case& c : cases) {
    const std::string* chosen = choose(c.rules);
    EXPECT_EQ(chosen, &c.rules[c.position].value) << c.value;
    EXPECT_EQ(*chosen, c.value);
  }
  EXPECT_EQ(choose({}), nullptr);
  EXPECT_EQ(choose({unmet, unmet}), nullptr);
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
