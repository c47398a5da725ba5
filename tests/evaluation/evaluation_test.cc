// SPDX-License-Identifier: Apache-2.0

#include <corvo/evaluation.h>
#include <corvo/fakes.h>
#include <gmock/gmock.h>

#include <algorithm>
#include <set>
#include <thread>
#include <vector>

#include "tests/base/case_table.h"

namespace corvo {
namespace {

Project read(const std::string& file) {
  return Project::decode(tests::contentsOf(file), Project::Filter::client).value();
}

PropertyMap location() { return {{"country", "DE"}, {"city", "Berlin"}}; }

CorvoUser userOf(int number) {
  const std::string id = std::to_string(number);
  CorvoUser user{
      {{"userId", "user-" + id},
       {"custom.plan", number % 2 == 0 ? "gold" : "free"},
       {"custom.\xFF", "\xFF"}},
      PropertyMap{{"userId", "2030-01-01 00:00:00"}, {"custom.plan", "2024-05-02 00:00:00"}}};
  if (number % 3 == 0) user.properties["deviceId"] = "own-" + id;
  if (number % 3 == 0) user.corvoExpiration->emplace("deviceId", "2024-05-01 12:00:00");
  if (number % 7 == 0) user.corvoExpiration->at("custom.plan") = "2030-01-01 00:00:00\xFF";
  if (number % 7 == 1) user.corvoExpiration->emplace("custom.\xFF", "2030-01-01 00:00:00");
  if (number % 5 == 0) user.properties["profileId"] = "profile-" + id;
  if (number % 5 == 0) user.corvoExpiration->emplace("profileId", "2030-01-01 00:00:00");
  return user;
}

std::string textOf(const Explanation& why) { return why.toText(); }
std::string textOf(const Result<Explanation>& why) { return why.value().toText(); }

// All answers of a client or of an evaluation, as one text.
template <class Asked, class Get>
std::string everything(const Project& project, Asked& asked, Get get) {
  std::string all;
  const auto add = [&](const auto& answer) {
    using Answered = std::decay_t<decltype(answer)>;
    const CorvoError* const error = answer.error();
    if (error != nullptr) return void(all += error->description() + '\n');
    if constexpr (requires { answer.value()->groupIndex(); }) {
      if (answer.value() == nullptr) return void(all += "out\n");
      all += answer.value()->name() + *answer.value()->userGroupName();
    } else if constexpr (std::is_same_v<Answered, Result<bool>>) {
      all += answer.value() ? "in" : "out";
    } else {
      all += answer.value().value_or("none");
    }
    all += '\n';
  };
  for (const Project::Flag& flag : project.flags()) {
    add(get([&] { return asked.template checkFlag<std::string>(flag.name); }));
    all += textOf(get([&] { return asked.explainFlag(flag.name); }));
  }
  add(get([&] { return asked.template checkFlag<std::string>("no such flag \xFF"); }));
  for (const auto& list : {project.experiments(), project.holdouts()}) {
    for (const Project::Experiment& each : list) {
      add(get([&] { return asked.getExperiment(each.name); }));
      add(get([&] { return asked.getHoldout(each.name); }));
      all += textOf(get([&] { return asked.explainExperiment(each.name); }));
    }
  }
  add(get([&] { return asked.getAllUserExperimentsText(); }));
  add(get([&] { return asked.getAllUserExperimentsText(false); }));
  add(get([&] { return asked.getAllUserHoldouts(); }));
  const auto reports = get([&] { return asked.getUserFeatureFlagsDetails(); });
  for (const auto& each : std::map(reports.value().begin(), reports.value().end())) {
    all += each.first + '\n';
  }
  const auto details = get([&] { return asked.getUserExperimentsDetails(); });
  for (const auto& [type, id, group, results] : details.value()) {
    for (const auto& [name, value] : results) all.append(id).append(name).append(value) += '\n';
  }
  return all;
}

std::string everythingOf(const Project& project, Evaluation& evaluation) {
  return everything(project, evaluation, [](auto ask) { return ask(); });
}

TEST(Evaluation, AnswersAsAClientDoes) {
  for (const std::string file : {CORVO_SHOP "config.json", CORVO_CLIENT_CASES "experiments.json"}) {
    const fakes::ReadyClient client(tests::contentsOf(file),
                                    {.location = location(), .cacheTTL = 1'000'000});
    const fakes::FakePlatform& fake = client.fake;
    const Device& device = *fake.device;
    EvaluationContext context{.location = location(),
                              .device = {device.applicationVersion(), device.vendorIdentifier(),
                                         device.systemName(), device.systemVersion()},
                              .timeZone = fake.timeZone};
    const Project project = read(file);
    Evaluation evaluation = project.evaluate(context);
    for (int i = 0; i < 60; ++i) {
      if (i == 20) fake.timeZone->change(3'600);
      if (i == 40) fake.time->advance(86'400);
      const CorvoUser user = userOf(i);
      client->setUser(user);
      context.user = &user;
      context.now = fake.time->now();
      evaluation.reset(context);
      const auto get = [](auto ask) -> Result<decltype(ask().get())> {
        try {
          return ask().get();
        } catch (const CorvoError& error) {
          return CorvoError(error);
        }
      };
      const std::string expected = everything(project, *client, get);
      const Project ofClient = client->getProject().get();
      Evaluation another = ofClient.evaluate(context);
      ASSERT_EQ(everythingOf(ofClient, another), expected);
      for (const bool again : {false, true}) {
        ASSERT_EQ(everythingOf(project, evaluation), expected) << file << " " << i << again;
      }
    }
  }
}

// The answers of the position lists, by name.
std::string byPosition(const Project& project, Evaluation& about) {
  const std::vector<Project::Flag> flags = project.flags();
  auto experiments = project.experiments();
  for (const auto& each : project.holdouts()) experiments.push_back(each);
  const auto isBefore = [](const auto& a, const auto& b) { return a.position < b.position; };
  std::ranges::sort(experiments, isBefore);
  std::vector<std::size_t> positions{flags.size() + experiments.size()};
  for (std::size_t i = 0; i < positions[0]; ++i) positions.push_back(i);
  std::string all;
  for (const auto& [flag, text] : about.flagTexts(positions)) {
    all.append(flags[flag].name).append("=").append(text) += '\n';
  }
  for (const auto& [experiment, group] : about.memberships(positions)) {
    const Project::Experiment& each = experiments[experiment];
    all += each.name + "." + std::to_string(group) + each.groups[group].name + '\n';
  }
  return all;
}

TEST(Evaluation, AnswersByPositionAsByName) {
  for (const std::string file : {CORVO_SHOP "config.json", CORVO_CLIENT_CASES "experiments.json"}) {
    const Project project = read(file);
    Evaluation about = project.evaluate({});
    for (int i = 0; i < 60; ++i) {
      const CorvoUser user = userOf(i);
      about.reset({.user = &user, .location = location(), .now = 1'714'564'800 + 3'600.0 * i});
      std::string expected;
      const FlagReport report = about.getUserFeatureFlagsDetails().value();
      for (const Project::Flag& flag : project.flags()) {
        EXPECT_FALSE(flag.isOnlyCarried && report.contains(flag.name));
        if (!report.contains(flag.name)) continue;
        const auto text = about.checkFlag<std::string>(flag.name).value();
        expected += flag.name + "=" + *text + '\n';
      }
      for (const auto& each : about.getAllUserExperiments().value()) {
        expected += each->name() + "." + std::to_string(*each->groupIndex());
        expected += *each->userGroupName() + '\n';
      }
      ASSERT_EQ(byPosition(project, about), expected) << file << " " << i;
    }
  }
}

// A decision in words: what decided, the text, the rule.
std::string wordsOf(const Evaluation::FlagDecision& decision) {
  const auto numberOf = [](const char* word, std::optional<std::size_t> number) {
    return number ? " " + std::string(word) + " " + std::to_string(*number) : "";
  };
  return std::string(textOf(decision.reason)) + numberOf("experiment", decision.experiment) +
         numberOf("group", decision.group) + numberOf("rule", decision.rule) +
         (decision.text ? " = " + std::string(*decision.text) : "") +
         (decision.hasConditions ? " by conditions" : "");
}

TEST(Evaluation, GivesTheReasonOfEachFlag) {
  const std::string goldOnly = R"("conditional_statement": "AND", "conditions": [
      {"name": "custom.plan", "condition_sign": "equal", "value": "gold"}])";
  const std::string gold = R"({"value": "G", "is_default": false, )" + goldOnly + "}";
  const std::string other = R"({"value": "O", "is_default": true, )" + goldOnly + "}";
  const std::string always = R"({"value": "A", "is_default": false, "conditional_statement": "AND",
      "conditions": []})";
  const auto flag = [](const std::string& name, const std::string& rules) {
    return R"({"name": ")" + name + R"(", "type": "t", )" + rules + "}";
  };
  const auto rules = [](const std::string& list) { return R"("rules": [)" + list + "]"; };
  const auto groups = [&](const std::string& name, const std::string& list) {
    return R"("groups": [{"group": ")" + name + R"(", )" + rules(list) + "}]";
  };
  const Project project =
      Project::decode(R"({"feature_flags": [)" + flag("default", rules(other + "," + gold)) + "," +
                      flag("empty", rules("")) + "," + flag("strict", rules(gold)) + "," +
                      flag("plain", rules(gold + "," + always + "," + other)) + "," +
                      flag("own", rules(other)) +
                      R"(], "experiments": [{"name": "idle", "salt": "s", "allocation": 0},
            {"name": "e", "salt": "s", "allocation": 1,
             "groups": [{"name": "none", "weight": 0}, {"name": "all", "weight": 1}],
             "feature_flags": [)" +
                      flag("own", groups("all", gold + "," + other)) + "," +
                      flag("carried", groups("all", "")) + "," +
                      flag("missed", groups("none", always)) + "]}]}")
          .value();
  ASSERT_EQ(project.flags().size(), 7U);
  const std::string noGroup = "experimentGroupNotMatchingFeatureFlagGroup experiment 1 group 1";
  const struct {
    std::vector<EvaluationContext::Property> user;
    std::vector<std::string> decisions;
  } cases[] = {
      {{{"userId", "u"}, {"custom.plan", "gold"}},
       {"rule rule 1 = G by conditions", "featureFlagNoRules", "rule rule 0 = G by conditions",
        "rule rule 0 = G by conditions", "rule experiment 1 group 1 rule 0 = G by conditions",
        "featureFlagNoRules experiment 1 group 1", noGroup}},
      {{{"userId", "u"}},
       {"rule rule 0 = O", "featureFlagNoRules", "featureFlagRulesNotSatisfied", "rule rule 1 = A",
        "rule experiment 1 group 1 rule 1 = O", "featureFlagNoRules experiment 1 group 1",
        noGroup}},
      {{},
       {"rule rule 0 = O", "featureFlagNoRules", "featureFlagRulesNotSatisfied", "rule rule 1 = A",
        "rule rule 0 = O", "featureFlagNotFound", "featureFlagNotFound"}},
  };
  Evaluation about = project.evaluate({});
  for (const auto& [user, expected] : cases) {
    about.reset({.properties = user});
    std::vector<std::string> decisions;
    for (const auto& each : about.flagDecisions(std::vector<std::size_t>{0, 1, 7, 2, 3, 4, 5, 6})) {
      EXPECT_EQ(each.flag, decisions.size());
      decisions.push_back(wordsOf(each));
    }
    EXPECT_EQ(decisions, expected) << user.size();
  }
}

// The same from the question and its explanation: the last experiment that the user is in, and the
// rule that holds, are the ones that decided.
std::string explainedDecision(Evaluation& about, const std::string& flag) {
  const auto number = [](const Explanation::Step& step, const char* fact) {
    return std::to_string(*step.find(fact)->as<std::int64_t>());
  };
  const auto answer = about.checkFlag<std::string>(flag);
  const CorvoError* const error = answer.error();
  std::string words(error != nullptr ? error->name() : "rule");
  std::string conditions;
  for (const Explanation::Step& step : about.explainFlag(flag).steps) {
    if (step.code == Explanation::Code::experiment && step.outcome == Explanation::Outcome::in) {
      words += " experiment " + number(step, "position") + " group " + number(step, "index");
    }
    if (step.code != Explanation::Code::rules) continue;
    for (const Explanation::Step& rule : step.steps) {
      if (rule.outcome != Explanation::Outcome::holds) continue;
      words += " rule " + number(rule, "position");
      if (!rule.steps.empty()) conditions = " by conditions";
    }
  }
  return words + (error != nullptr ? "" : " = " + *answer.value()) + conditions;
}

TEST(Evaluation, DecidesAsItExplains) {
  for (const std::string file : {CORVO_SHOP "config.json", CORVO_CLIENT_CASES "experiments.json"}) {
    const Project project = read(file);
    const std::vector<Project::Flag> flags = project.flags();
    std::vector<std::size_t> positions;
    for (std::size_t i = flags.size(); i-- > 0;) positions.push_back(i);
    Evaluation about = project.evaluate({});
    for (int i = 0; i < 60; ++i) {
      const CorvoUser user = userOf(i);
      about.reset({.user = &user, .location = location(), .now = 1'714'564'800 + 3'600.0 * i});
      const auto decided = about.flagDecisions(positions);
      ASSERT_EQ(decided.size(), flags.size());
      const std::vector<Evaluation::FlagDecision> decisions(decided.begin(), decided.end());
      for (const Evaluation::FlagDecision& each : decisions) {
        const std::string& name = flags[each.flag].name;
        EXPECT_EQ(wordsOf(each), explainedDecision(about, name)) << file << i << name;
      }
    }
  }
}

// What explanations say about the experiments of a name: position, reason, group and holdout.
std::set<std::string> explainedPlacements(const Project& project, Evaluation& about) {
  std::set<std::string> all;
  for (const auto& list : {project.experiments(), project.holdouts()}) {
    for (const Project::Experiment& each : list) {
      for (const Explanation::Step& step : about.explainExperiment(each.name).steps) {
        std::string facts;
        for (const char* name : {"position", "reason", "index", "heldOutBy"}) {
          const JsonValue* const value = step.find(name);
          facts += (value == nullptr ? "-" : value->toJson()) + " ";
        }
        if (step.outcome != Explanation::Outcome::notReached) all.insert(facts);
      }
    }
  }
  return all;
}

TEST(Evaluation, GivesTheReasonOfEachPlacement) {
  for (const std::string file : {CORVO_SHOP "config.json", CORVO_CLIENT_CASES "experiments.json"}) {
    const Project project = read(file);
    auto experiments = project.experiments();
    for (const auto& each : project.holdouts()) experiments.push_back(each);
    const auto nameAt = [&](std::size_t position) {
      return std::ranges::find(experiments, position, &Project::Experiment::position)->name;
    };
    std::vector<std::size_t> positions{experiments.size()};  // which does not exist
    for (std::size_t i = 0; i < experiments.size(); ++i) positions.push_back(i);
    Evaluation about = project.evaluate({});
    for (int i = 0; i < 60; ++i) {
      const CorvoUser user = userOf(i);
      about.reset({.user = &user, .location = location(), .now = 1'714'564'800 + 3'600.0 * i});
      std::vector<std::string> placements;
      for (const auto& [position, reason, group, holdout] : about.placements(positions)) {
        placements.push_back(std::to_string(position) + " \"" + std::string(textOf(reason)) +
                             "\" " + (group ? std::to_string(*group) : "-") + " " +
                             (holdout ? "\"" + nameAt(*holdout) + "\"" : "-") + " ");
      }
      EXPECT_EQ(placements.size(), experiments.size());
      EXPECT_THAT(placements, testing::IsSupersetOf(explainedPlacements(project, about)))
          << file << i;
    }
  }
}

// The buckets reach 9942.703. Half a layer is 4970 of them. An allocation of 0.0142 admits 142, and
// the weights leave 40 of the first 100 and 2 of the other 42 without a group.
TEST(Project, GivesSharesAsFractionsOfTheUsersWhoAreLeft) {
  const auto shares = [](const std::string& holdout, const std::string& layer) {
    const std::string groups =
        R"("groups": [{"name": "x", "weight": 0.4}, {"name": "y", "weight": 0.2}])";
    return Project::decode(R"({"experiments": [{"name": "e", "salt": "s", "allocation": 0.0142,
               "layer_id": "l", "holdouts": ["h"], "layer_bounds": [)" +
                           layer + "], " + groups +
                           R"(}, {"name": "h", "type": 5, "allocation": 0.5, )" + holdout + groups +
                           "}]}")
        .value();
  };
  const std::string half = R"({"lower_bound": 0, "upper_bound": 496})";
  const Project project = shares(R"("salt": "h",)", half);
  const Project::Shares exact = project.shares(0).value();
  EXPECT_NEAR(exact.layer, 4970 / 9942.703247, 1e-6);
  EXPECT_NEAR(exact.allocation, 142 / 9942.703247, 1e-6);
  EXPECT_NEAR(exact.covered, 102.0 / 142, 1e-6);
  EXPECT_NEAR(exact.groups.at(0), 80.0 / 102, 1e-6);
  EXPECT_DOUBLE_EQ(exact.groups.at(0) + exact.groups.at(1), 1);
  EXPECT_EQ(project.shares(1)->layer, 1);
  EXPECT_FALSE(project.shares(2));
  EXPECT_FALSE(shares(R"("salt": "h",)", R"({"lower_bound": 2, "upper_bound": 1})").shares(0));

  const auto depend = [&](const std::string& holdout) {
    return shares(holdout, half).shares(0)->dependOnHoldouts;
  };
  EXPECT_FALSE(exact.dependOnHoldouts);
  EXPECT_TRUE(depend(R"("salt": "s",)"));
  EXPECT_FALSE(depend(R"("salt": "s", "split_by": "deviceId",)"));
  EXPECT_FALSE(depend(R"("salt": "l",)")) << "the layer's hash does not select the group";
  EXPECT_TRUE(depend(R"("salt": "h", "layer_id": "s", "layer_bounds": [)" + half + "],"));
}

TEST(Evaluation, TakesPropertiesThatDoNotExpire) {
  const Project project = read(CORVO_CLIENT_CASES "experiments.json");
  const CorvoUser user = userOf(4);
  const EvaluationContext::Property properties[] = {{"userId", "user-4"},
                                                    {"custom.plan", "gold"},
                                                    {"userId", "another"},
                                                    {"custom.\xFF", "\xFF"}};
  EvaluationContext context{.user = &user, .now = 1'714'564'800};
  Evaluation about = project.evaluate(context);
  const std::string expected = everythingOf(project, about);
  context = {.properties = properties, .now = 4e9};
  about.reset(context);
  EXPECT_EQ(everythingOf(project, about), expected);
  about.reset({.now = 4e9});
  EXPECT_NE(everythingOf(project, about), expected) << "nothing is left of the former user";
}

TEST(Evaluation, ServesManyThreadsFromOneProject) {
  const Project project = read(CORVO_CLIENT_CASES "experiments.json");
  // Not the C library's zone, whose internal lock the thread sanitizer does not know.
  const auto zone = std::make_shared<fakes::FakeTimeZone>();
  std::vector<std::string> expected;
  const auto answersOf = [&](int number) {
    const CorvoUser user = userOf(number);
    Evaluation about = project.evaluate({.user = &user, .now = 1'714'564'800, .timeZone = zone});
    return everythingOf(project, about);
  };
  for (int i = 0; i < 8; ++i) expected.push_back(answersOf(i));
  std::vector<std::thread> threads;
  for (int t = 0; t < 8; ++t) {
    threads.emplace_back([&] {
      for (int i = 0; i < 8; ++i) EXPECT_EQ(answersOf(i), expected[static_cast<std::size_t>(i)]);
    });
  }
  for (std::thread& each : threads) each.join();
}

TEST(Project, ReportsWhereADocumentIsInvalid) {
  struct Case {
    const char* text;
    const char* reason;
    std::size_t offset;
  };
  for (const auto& [text, reason, offset] :
       {Case{"\xEF\xBB\xBF {\"feature_flags\": 7}",
             "expected array, found number at /feature_flags", 22},
        Case{"{\"feature_flags\": [}", "not a JSON text", 19}, Case{"", "not a JSON text", 0},
        Case{"[]", "expected object, found array", 0}}) {
    const auto result = Project::decode(text);
    ASSERT_NE(result.error(), nullptr) << text;
    const auto* failed = result.error()->as<CorvoError::RequestConfigFailed>();
    const auto* error = failed->error.as<CorvoNetworkError::DecodingError>();
    EXPECT_EQ(error->localizedDescription, reason);
    EXPECT_EQ(error->offset, offset) << text;
    EXPECT_THROW(static_cast<void>(result.value()), CorvoError);
  }
}

TEST(Project, ListsItsContentsDropsAndStops) {
  const std::string text = R"({"feature_flags": [{"name": "a", "type": "t"}, 7,
      {"name": "w", "type": "t", "platform": "iOS"}],
    "experiments": [{"name": "e", "salt": "s", "allocation": 1, "platforms": ["web"]},
      {"name": "h", "salt": "", "allocation": "0.5", "type": 5, "layer_id": "l",
       "layer_bounds": [{"lower_bound": 2, "upper_bound": 1}, {}],
       "groups": [{"name": "g", "weight": 0.25}], "is_private": true, "split_by": "deviceId",
       "feature_flags": [{"name": "b", "type": "u"}]}]})";
  const Project project = Project::decode(text).value();
  ASSERT_EQ(project.drops().size(), 2U);
  for (const Project::Drop& drop : project.drops()) {
    const bool isFlag = drop.pointer == "/feature_flags/1";
    EXPECT_EQ(drop.offset, text.find(isFlag ? "7," : "{}")) << drop.pointer;
    EXPECT_FALSE(drop.reason.empty());
  }
  EXPECT_EQ(project.flags().size(), 3U);
  EXPECT_EQ(project.flags()[2].carriedBy, "h");
  EXPECT_EQ(project.experiments().size(), 1U);
  ASSERT_EQ(project.holdouts().size(), 1U);
  const Project::Experiment holdout = project.holdouts()[0];
  EXPECT_EQ(holdout.type, "holdout");
  EXPECT_EQ(holdout.splitBy, "deviceId");
  EXPECT_EQ(holdout.groups.at(0).weight, 0.25);
  EXPECT_EQ(project.stops().at(0).experiment, "h");

  const Project filtered = Project::decode(text, Project::Filter::client).value();
  EXPECT_TRUE(filtered.experiments().empty());
  std::vector<Project::Drop> drops = filtered.drops();
  ASSERT_EQ(drops.size(), 4U);
  EXPECT_EQ(drops[1], (Project::Drop{"/feature_flags/2", "its platform is \"iOS\"",
                                     text.find(R"({"name": "w")")}));
  EXPECT_EQ(drops[2], (Project::Drop{"/experiments/0", "its platforms are [\"web\"]",
                                     text.find(R"({"name": "e")")}));
  EXPECT_EQ(filtered.properties(), (std::vector<std::string>{"userId", "deviceId", "profileId"}));
}

}  // namespace
}  // namespace corvo
