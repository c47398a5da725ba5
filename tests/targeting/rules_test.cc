#include "targeting/rules.h"

#include <corvo/fakes.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace corvo::targeting {
namespace {

using enum model::ConditionalStatement;
using model::ConditionSign;

const model::Condition kTrue{"plan", ConditionSign::equal, {"gold"}};
const model::Condition kFalse{"plan", ConditionSign::equal, {"silver"}};
const model::Condition kHashed{"plan", ConditionSign::equal, {"e07e81c20cf5935f5225765f0af81755"}};

class Rules : public testing::Test {
 protected:
  Rules() { user_.put("plan", "gold"); }

  RuleChoice choose(const std::vector<model::Rule>& rules, bool hashed = false) {
    return RuleList(rules).choose(context_, hashed);
  }

  fakes::FakeTimeZone zone_;
  LocalTime localTime_{zone_};
  PropertyLayer user_;
  Context context_{.user = &user_, .localTime = localTime_};
};

TEST_F(Rules, AndTargetsJoinTheirConditions) {
  struct Case {
    model::ConditionalStatement statement;
    std::vector<model::Condition> conditions;
    bool rule;
    bool target;
  };
  const Case cases[] = {
      {and_, {}, true, true},
      {and_, {kTrue, kTrue}, true, true},
      {and_, {kTrue, kFalse}, false, false},
      {and_, {kFalse, kTrue}, false, false},
      {or_, {}, false, true},
      {or_, {kFalse, kTrue}, true, true},
      {or_, {kTrue, kFalse}, true, true},
      {or_, {kFalse, kFalse}, false, false},
      {empty, {}, false, true},
      {empty, {kTrue}, false, false},
  };
  for (const Case& c : cases) {
    const std::vector<model::Rule> rules{{false, "on", c.statement, c.conditions}};
    const model::Target target{c.statement, c.conditions};
    EXPECT_EQ(choose(rules).outcome == RuleOutcome::chosen, c.rule) << &c - cases;
    EXPECT_EQ(targetMatches(PreparedTarget(target), context_, false), c.target) << &c - cases;
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
    const RuleChoice choice = choose(c.rules);
    ASSERT_EQ(choice.outcome, RuleOutcome::chosen);
    EXPECT_EQ(choice.position, c.position);
    EXPECT_EQ(choice.rule, &c.rules[c.position]);
    EXPECT_EQ(choice.rule->value, c.value);
  }
  EXPECT_EQ(choose({}).outcome, RuleOutcome::noRules);
  EXPECT_EQ(choose({unmet, unmet}).outcome, RuleOutcome::noneSatisfied);
  EXPECT_EQ(choose({unmet}).rule, nullptr);
}

TEST_F(Rules, CompareDigestsWhenTheOwnerIsPrivate) {
  const std::vector<model::Rule> rules{{false, "plain", and_, {kTrue}},
                                       {false, "hashed", and_, {kHashed}}};
  EXPECT_EQ(choose(rules, false).rule->value, "plain");
  EXPECT_EQ(choose(rules, true).rule->value, "hashed");
  const model::Target target{and_, {kHashed}};
  EXPECT_FALSE(targetMatches(PreparedTarget(target), context_, false));
  EXPECT_TRUE(targetMatches(PreparedTarget(target), context_, true));
}

}  // namespace
}  // namespace corvo::targeting
