#include "flags/flag_decision.h"

#include <corvo/fakes.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "experiments/project.h"
#include "model/config.h"
#include "targeting/context.h"
#include "targeting/local_time.h"

namespace corvo::flags {
namespace {

using Reason = FlagDecision::Reason;

model::Rule rule(const char* value, bool isDefault, const char* plan = nullptr) {
  model::Rule made{isDefault, value, model::ConditionalStatement::and_, {}};
  if (plan) made.conditions = {{"plan", model::ConditionSign::equal, {plan}}};
  return made;
}

model::FeatureFlag flag(const char* name, std::vector<model::Rule> rules) {
  model::FeatureFlag made;
  made.name = name;
  made.rules = std::move(rules);
  return made;
}

// A project of one user, whose plan is "gold".
class FlagDecisionTest : public testing::Test {
 protected:
  FlagDecision decide(const model::ConfigResponse& config, const char* name) {
    project_.emplace(std::make_shared<const model::ConfigResponse>(config));
    const targeting::PropertyTable properties(project_->propertyNames(), {.user = &user_});
    return decideFlag(project_->findFlag(name),
                      {.user = &user_, .properties = &properties, .localTime = localTime_});
  }

  std::optional<experiments::Project> project_;
  fakes::FakeTimeZone zone_;
  targeting::LocalTime localTime_{zone_};
  targeting::PropertyLayer user_ = targeting::lastingLayer({{"plan", "gold"}});
};

TEST_F(FlagDecisionTest, ChoosesTheFirstRuleThatHoldsDefaultRulesLast) {
  struct Case {
    const char* what;
    std::vector<model::Rule> rules;
    Reason reason;
    const char* value;
  };
  for (const Case& each : std::vector<Case>{
           {"no rules", {}, Reason::noRules, ""},
           {"none holds", {rule("a", false, "silver")}, Reason::rulesNotSatisfied, ""},
           {"a default rule waits",
            {rule("off", true), rule("on", false, "gold")},
            Reason::rule,
            "on"},
           {"the first default rule",
            {rule("x", false, "silver"), rule("y", true), rule("z", true)},
            Reason::rule,
            "y"},
           {"the first of two", {rule("a", false, "gold"), rule("b", false)}, Reason::rule, "a"}}) {
    const FlagDecision decision = decide({{flag("f", each.rules)}, {}}, "f");
    EXPECT_EQ(decision.reason, each.reason) << each.what;
    EXPECT_EQ(decision.value ? *decision.value : "", each.value) << each.what;
  }
}

TEST_F(FlagDecisionTest, ComparesDigestsForAPrivateFlag) {
  // MD5 of "gold", by md5sum.
  model::FeatureFlag secret = flag("f", {rule("on", false, "e07e81c20cf5935f5225765f0af81755")});
  secret.isPrivate = true;
  EXPECT_EQ(decide({{secret}, {}}, "f").reason, Reason::rule);
  secret.isPrivate = std::nullopt;
  EXPECT_EQ(decide({{secret}, {}}, "f").reason, Reason::rulesNotSatisfied);
}

TEST_F(FlagDecisionTest, TakesTheFirstFlagOfAName) {
  const model::ConfigResponse config{{flag("f", {rule("1", true)}), flag("f", {rule("2", true)})},
                                     {}};
  EXPECT_EQ(*decide(config, "f").value, "1");
}

TEST_F(FlagDecisionTest, FallsBackToTheFlagItselfWhereTheUserIsInNoExperiment) {
  model::Experiment experiment;
  experiment.name = "e";
  experiment.featureFlags = {flag("f", {rule("carried", true)}), flag("g", {})};
  const model::ConfigResponse config{{flag("f", {rule("own", true)})}, {experiment}};
  EXPECT_EQ(*decide(config, "f").value, "own");
  EXPECT_EQ(decide(config, "g").reason, Reason::notFound);
  EXPECT_EQ(decide(config, "h").reason, Reason::notFound);
}

}  // namespace
}  // namespace corvo::flags
