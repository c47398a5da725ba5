// SPDX-License-Identifier: Apache-2.0

#include <corvo/evaluation.h>
#include <gmock/gmock.h>
#include <unistd.h>

#include <cmath>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "tests/base/case_table.h"
#include "tests/tool/backend.h"
#include "tests/tool/json.h"
#include "tests/tool/transcript.h"

namespace corvo::tool {
namespace {

constexpr const char* kFolder = CORVO_TOOL_CASES "diff";
constexpr std::int64_t kUsers = 1'000;
const std::string kVaried =
    " --vary custom.plan=0.3:gold --vary custom.plan=0.2:free --vary custom.basket=0.4:150";

std::string fileNamed(const std::string& name) {
  return testing::TempDir() + "corvo_diff_" + name + std::to_string(getpid());
}

/// The users that the command wrote to a file.
std::vector<PropertyMap> usersIn(const std::string& file) {
  std::vector<PropertyMap> users;
  std::istringstream lines(tests::contentsOf(file));
  for (std::string line; std::getline(lines, line);) {
    const JsonValue user = json(line);
    EXPECT_EQ(count(user, "id"), static_cast<std::int64_t>(users.size()));
    users.emplace_back();
    for (const auto& [name, value] : object(*user.find("properties"))) {
      users.back().emplace(name, *value.as<std::string>());
    }
  }
  return users;
}

// --- Against the engine, user by user ------------------------------------------------------------

/// The old and the new answer as JSON texts, and how many users have both.
using Moves = std::map<std::pair<std::string, std::string>, std::int64_t>;

/// Asks the engine's questions about one item, by name.
std::string answerAbout(const std::string& item, bool isFlag, Evaluation& about) {
  if (isFlag) {
    const auto value = about.checkFlag<std::string>(item);
    return value.error() == nullptr ? JsonValue(*value.value()).toJson()
                                    : "{\"error\":\"" + std::string(value.error()->name()) + "\"}";
  }
  const auto experiment = about.getExperiment(item);
  const bool isIn = experiment.error() == nullptr && experiment.value() != nullptr;
  return isIn ? JsonValue(*experiment.value()->userGroupName()).toJson() : "null";
}

Moves movesAbout(const std::string& item, bool isFlag, const Project& before, const Project& after,
                 const std::vector<PropertyMap>& users) {
  Moves moves;
  for (const PropertyMap& user : users) {
    const std::vector<EvaluationContext::Property> properties(user.begin(), user.end());
    const EvaluationContext context{.properties = properties, .now = 0};
    Evaluation old = before.evaluate(context);
    Evaluation current = after.evaluate(context);
    ++moves[{answerAbout(item, isFlag, old), answerAbout(item, isFlag, current)}];
  }
  return moves;
}

/// Checks that the report about an item has exactly these moves.
void expectMoves(const Moves& moves, bool isFlag, const JsonValue& item) {
  std::map<std::string, std::int64_t> counts{
      {"kept", 0}, {"changed", 0}, {"entered", 0}, {"left", 0}};
  Moves expected = moves;
  for (const auto& [answers, users] : moves) {
    const auto& [from, to] = answers;
    const bool wasThere = isFlag ? !from.starts_with('{') : from != "null";
    const bool isThere = isFlag ? !to.starts_with('{') : to != "null";
    if (from == to) expected.erase(answers);
    const char* const change = wasThere == isThere ? "changed" : isThere ? "entered" : "left";
    counts[from == to ? "kept" : change] += users;
  }
  for (const auto& [name, users] : counts) EXPECT_EQ(count(item, name), users) << name;
  Moves reported;
  for (const JsonValue& move : list(item, "moves")) {
    reported[{move.find("from")->toJson(), move.find("to")->toJson()}] = count(move, "users");
  }
  EXPECT_EQ(reported, expected);
}

/// An edit of the document old.json: a text in it, and the text that replaces it.
struct Edit {
  std::string name, from, to;
  std::string item;    ///< Affected in the way stated by the next two.
  std::string change;  ///< The only count of it that is neither 0 nor "kept".
  std::set<std::string> reasons;
};

const std::vector<Edit> kEdits{
    {"a group is renamed",
     R"("name": "wide")",
     R"("name": "broad")",
     "page",
     "changed",
     {R"(share: holds (group "wide", weight 0.5, end 100) -> )"
      R"(share: holds (group "broad", weight 0.5, end 100))"}},
    {"a carried flag lacks the renamed group",
     R"("name": "wide")",
     R"("name": "broad")",
     "steps",
     "left",
     {R"(experiment "page": share: holds (group "wide", weight 0.5, end 100) -> )"
      R"(share: holds (group "broad", weight 0.5, end 100))"}},
    {"groups swap their places, with their weights",
     R"({"name": "a", "weight": 0.2}, {"name": "b", "weight": 0.8})",
     R"({"name": "b", "weight": 0.8}, {"name": "a", "weight": 0.2})",
     "side",
     "changed",
     {R"(share: holds (group "a", weight 0.2, end 20) -> )"
      R"(share: holds (group "b", weight 0.8, end 80))",
      R"(share: holds (group "b", weight 0.8, end 100) -> )"
      R"(share: does not hold (group "b", weight 0.8, end 80))"}},
    {"weights change",
     R"({"name": "a", "weight": 0.2}, {"name": "b", "weight": 0.8})",
     R"({"name": "a", "weight": 0.3}, {"name": "b", "weight": 0.7})",
     "side",
     "changed",
     {R"(share: does not hold (group "a", weight 0.2, end 20) -> )"
      R"(share: holds (group "a", weight 0.3, end 30))"}},
    {"the salt changes",
     "page-1",
     "page-2",
     "page",
     "changed",
     {R"(bucket (salt "page-1") -> bucket (salt "page-2"))"}},
    {"the allocation is halved",
     R"("allocation": 0.5)",
     R"("allocation": 0.25)",
     "side",
     "left",
     {"allocation: holds (allocation 0.5) -> allocation: does not hold (allocation 0.25)"}},
    {"a holdout shrinks",
     R"("allocation": 0.1,)",
     R"("allocation": 0.05,)",
     "side",
     "entered",
     {R"(holdout "quiet": allocation: holds (allocation 0.1) -> )"
      "allocation: does not hold (allocation 0.05)"}},
    {"a holdout is no longer named",
     R"("holdouts": ["quiet"])",
     R"("holdouts": [])",
     "side",
     "entered",
     {"holdout: in (name \"quiet\") -> (no such step)"}},
    {"a holdout is named",
     R"("targets": null)",
     R"("holdouts": ["quiet"])",
     "page",
     "left",
     {"(no such step) -> holdout: in (name \"quiet\")"}},
    {"an experiment carries the flag, without the group",
     R"("split_by": "profileId")",
     R"("split_by": "profileId", "feature_flags": [
       {"name": "texted", "type": "string", "groups": []}])",
     "texted",
     "left",
     {R"((no such step) -> experiment: in (name "side", reason "bucketed", group "a"))",
      R"((no such step) -> experiment: in (name "side", reason "bucketed", group "b"))"}},
    {"users are split by another identifier",
     R"("type": 1, "split_by": "userId")",
     R"("type": 1, "split_by": "deviceId")",
     "page",
     "changed",
     {R"(split identifier: found (property "userId") -> )"
      R"(split identifier: found (property "deviceId"))"}},
    {"the holdout's own users",
     R"("allocation": 0.1,)",
     R"("allocation": 0.05,)",
     "quiet",
     "left",
     {"allocation: holds (allocation 0.1) -> allocation: does not hold (allocation 0.05)"}},
    {"a user is forced out of one group into the other",
     R"("forced_user_list": [])",
     R"("forced_user_list": ["user-0", "user-1", "user-2", "user-3"])",
     "page",
     "changed",
     {"forced into a group: not found -> forced into a group: found (group \"wide\")"}},
    {"an experiment gets targets",
     R"("targets": null)",
     R"("targets": {"conditional_statement": "AND", "conditions": [
       {"name": "custom.plan", "condition_sign": "equal", "value": "gold"}]})",
     "page",
     "left",
     {R"((no such step) -> targets: does not hold (statement "AND", private false))"}},
    {"a rule for a varied property comes first",
     R"("rules": [{"is_default": true, "value": "0")",
     R"("rules": [{"is_default": false, "value": "10", "conditional_statement": "AND",
       "conditions": [{"name": "custom.plan", "condition_sign": "equal", "value": "gold"}]},
      {"is_default": true, "value": "0")",
     "offer",
     "changed",
     {R"(rule: holds (position 0, default true, statement "-", value "0") -> )"
      R"(rule: holds (position 0, default false, statement "AND", value "10"))"}},
    {"a condition changes",
     R"("value": "200")",
     R"("value": "100")",
     "discount",
     "changed",
     {R"(rule 0: condition: does not hold (property "custom.basket", sign "greater", values ["200"]))"
      R"( -> condition: holds (property "custom.basket", sign "greater", values ["100"]))"}},
    {"a value gets another type",
     R"("value": "yes")",
     R"("value": "1")",
     "texted",
     "changed",
     {R"(rule: holds (position 0, default true, statement "-", value "yes") -> )"
      R"(rule: holds (position 0, default true, statement "-", value "1"))"}},
    {"a flag loses its rules",
     R"("rules": [{"is_default": true, "value": "yes", "conditional_statement": "-", "conditions": []}])",
     R"("rules": [])",
     "texted",
     "left",
     {R"(rule: holds (position 0, default true, statement "-", value "yes") -> (no such step))"}},
    {"a flag is dropped", R"("name": "texted")", R"("name": "gone")", "texted", "left", {}},
    {"a flag is added", R"("name": "texted")", R"("name": "gone")", "gone", "entered", {}},
    {"an experiment is added",
     R"("name": "side")",
     R"("name": "other side")",
     "other side",
     "entered",
     {}},
};

class Diff : public testing::Test {
 protected:
  ~Diff() override {
    for (const std::string& file : {new_, users_}) std::remove(file.c_str());
  }

  const std::string old_ = std::string(kFolder) + "/old.json";
  const std::string new_ = fileNamed("new.json");
  const std::string users_ = fileNamed("users.jsonl");
};

/// The experiments of two configurations, without the salt and the groups of the last one, and a
/// reason.
struct Cause {
  std::string before, after, why;
};

const std::string kTwo =
    R"("conditions": [{"name": "custom.plan", "condition_sign": "equal", "value": "gold"},
    {"name": "custom.plan", "condition_sign": "equal", "value": "free"}])";
const std::string kCarried = R"("feature_flags": [{"name": "f", "type": "x"}])";

const std::vector<Cause> kCauses{
    {"", R"({"name": "e", "allocation": 0, )" + kCarried,  // no step decides that alone
     R"((no such step) -> experiment: out (name "e")"},
    {R"({"name": "e", "allocation": 1, "targets": {"conditional_statement": "AND", )" + kTwo + "}",
     R"({"name": "e", "allocation": 1, "targets": {"conditional_statement": "OR", )" + kTwo + "}",
     R"(targets: does not hold (statement "AND", private false) -> )"
     R"(targets: holds (statement "OR", private false))"},
    {R"({"name": "e", "allocation": 1, "targets": {"conditional_statement": "OR", )" + kTwo + "}",
     R"({"name": "e", "is_private": true, "allocation": 1, "targets": {"conditional_statement": "OR", )" +
         kTwo + "}",
     R"(targets: holds (statement "OR", private false) -> )"
     R"(targets: does not hold (statement "OR", private true))"},
    {R"({"name": "e", "allocation": 1, "layer_id": "L", "layer_bounds": [
        {"lower_bound": 0, "upper_bound": 500}])",
     R"({"name": "e", "allocation": 1, "layer_id": "M", "layer_bounds": [
        {"lower_bound": 0, "upper_bound": 500}])",
     R"(layer: holds (layer "L", salt "L") -> layer: does not hold (layer "M", salt "M"))"},
    {R"({"name": "e", "allocation": 1, "layer_id": "L", "layer_bounds": [
        {"lower_bound": 2000, "upper_bound": 3000}])",
     R"({"name": "e", "allocation": 1)",
     R"(layer "L": interval: does not hold (lower 2000, upper 3000) -> (no such step))"},
    {R"({"name": "d", "allocation": 0, )" + kCarried +
         R"(, "salt": "d"}, {"name": "e", "allocation": 1, )" + kCarried,
     R"({"name": "e", "allocation": 1, )" + kCarried + R"(, "salt": "d", "groups": [
        {"name": "a", "weight": 1}]}, {"name": "d", "allocation": 0, )" +
         kCarried,
     R"(experiment: not reached (name "e") -> )"
     R"(experiment: in (name "e", reason "bucketed", group "a"))"},
};

TEST_F(Diff, NamesTheCause) {
  const auto config = [](const std::string& experiments) -> std::string {
    if (experiments.empty()) return R"({"feature_flags": [{"name": "f", "type": "x"}]})";
    return R"({"feature_flags": [{"name": "f", "type": "x", "rules": [{"is_default": false,
        "value": "1", "conditional_statement": "-", "conditions": []}]}], "experiments": [)" +
           experiments + R"(, "salt": "s", "groups": [{"name": "a", "weight": 1}]}]})";
  };
  for (const auto& [before, after, why] : kCauses) {
    std::ofstream(users_) << config(before);
    std::ofstream(new_) << config(after);
    const Ran ran =
        runCorvo("diff " + users_ + " " + new_ + " --users 9 --vary custom.plan=1:gold");
    EXPECT_THAT(ran.out, testing::HasSubstr(why));
  }
}

TEST_F(Diff, PairsRulesByTheirFirstCondition) {
  const auto flagWith = [](const std::string& rules) {
    return R"({"feature_flags": [{"name": "f", "type": "x", "rules": [)" + rules + "]}]}";
  };
  const auto rule = [](const std::string& property, const std::string& value) {
    return R"({"is_default": false, "conditional_statement": "AND", "value": ")" + value +
           R"(", "conditions": [{"name": ")" + property +
           R"(", "condition_sign": "equal", "value": "gold"}]})";
  };
  std::ofstream(users_) << flagWith(rule("custom.plan", "1"));
  std::ofstream(new_) << flagWith(rule("custom.none", "7") + "," + rule("custom.plan", "2"));
  const Ran ran = runCorvo("diff " + users_ + " " + new_ + " --users 9 --vary custom.plan=1:gold");
  EXPECT_THAT(ran.out,
              testing::HasSubstr(
                  R"(rule: holds (position 0, default false, statement "AND", value "1") -> )"
                  R"(rule: holds (position 1, default false, statement "AND", value "2"))"));
}

/// Checks that the report about an item explains all answers that change. Returns the reasons.
std::set<std::string> reasonsOf(const JsonValue& item) {
  std::set<std::string> reasons;
  std::int64_t explained = 0;
  for (const JsonValue& reason : list(item, "why")) {
    reasons.insert(text(reason, "text"));
    explained += count(reason, "users");
  }
  const bool isInBoth = text(item, "status") == "both";
  EXPECT_EQ(explained, isInBoth ? kUsers - count(item, "kept") : 0);
  return reasons;
}

/// Checks a report item by item. Returns whether it has the item of the edit.
bool hasItemOf(const JsonValue& report, const Edit& edit, const Project& before,
               const Project& after, const std::vector<PropertyMap>& users) {
  bool isFound = false;
  for (const char* kind : {"flags", "experiments"}) {
    const bool isFlag = std::string(kind) == "flags";
    for (const JsonValue& item : list(report, kind)) {
      const std::string name = text(item, "name");
      SCOPED_TRACE(name);
      expectMoves(movesAbout(name, isFlag, before, after, users), isFlag, item);
      const std::set<std::string> reasons = reasonsOf(item);
      if (name != edit.item) continue;
      isFound = true;
      EXPECT_EQ(reasons, edit.reasons);
      EXPECT_GT(count(item, edit.change), 0);
      EXPECT_EQ(count(item, "kept") + count(item, edit.change), kUsers);
    }
  }
  return isFound;
}

TEST_F(Diff, AgreesWithTheEngineUserByUser) {
  const std::string oldText = tests::contentsOf(old_);
  const Project before = Project::decode(oldText, Project::Filter::client).value();
  const std::string questions = "diff " + old_ + " " + new_ + " --now 0 --json ";
  for (const Edit& edit : kEdits) {
    SCOPED_TRACE(edit.name);
    std::string newText = oldText;
    tests::replaceAll(newText, edit.from, edit.to);
    ASSERT_NE(newText, oldText);
    std::ofstream(new_) << newText;
    const Project after = Project::decode(newText, Project::Filter::client).value();
    const Ran ran = runCorvo(questions + kVaried + " --users " + std::to_string(kUsers) +
                             " --jobs 3 --users-out " + users_);
    ASSERT_EQ(ran.status, 0) << ran.err;
    const std::vector<PropertyMap> users = usersIn(users_);
    EXPECT_EQ(users.size(), kUsers);
    EXPECT_EQ(runCorvo(questions + "--jobs 1 --from " + users_).out, ran.out);
    EXPECT_TRUE(hasItemOf(json(ran.out), edit, before, after, users));
  }
}

TEST_F(Diff, AnswersAsTheTranscriptSays) {
  std::string transcript = tests::contentsOf(CORVO_TOOL_CASES "diff.txt");
  tests::replaceAll(transcript, "ESC", "\x1b");
  EXPECT_GT(replay(transcript, kFolder), 10U);
}

TEST_F(Diff, AsksABackendAsItReadsAFile) {
  Backend backend("--config " + old_ + " --geo " CORVO_SHOP "/geo.json");
  const std::string options = " --users 100 --json --now 0";
  const std::string other = std::string(kFolder) + "/new.json";
  const std::string limits = " --token t --timeout 5";
  EXPECT_EQ(runCorvo("diff " + backend.url() + " " + other + options + limits).out,
            runCorvo("diff " + old_ + " " + other + options).out);
}

// --- Synthetic users -----------------------------------------------------------------------------

TEST_F(Diff, VariesPropertiesByIndependentDrawsOfTheStatedShares) {
  const std::int64_t count = 20'000;
  const Ran ran =
      runCorvo("diff " + old_ + " " + old_ + kVaried + " --users 20000 --users-out " + users_);
  ASSERT_EQ(ran.status, 0) << ran.err;
  std::map<std::string, double> seen;
  for (const PropertyMap& user : usersIn(users_)) {
    const auto valueOf = [&](const char* name) {
      const auto found = user.find(name);
      return found == user.end() ? std::string("-") : found->second;
    };
    ++seen[valueOf("custom.plan") + " " + valueOf("custom.basket")];
  }
  // Six standard deviations of a binomial distribution.
  for (const auto& [values, share] : std::map<std::string, double>{{"gold 150", 0.3 * 0.4},
                                                                   {"gold -", 0.3 * 0.6},
                                                                   {"free 150", 0.2 * 0.4},
                                                                   {"free -", 0.2 * 0.6},
                                                                   {"- 150", 0.5 * 0.4},
                                                                   {"- -", 0.5 * 0.6}}) {
    EXPECT_NEAR(seen[values], share * count, 6 * std::sqrt(share * (1 - share) * count)) << values;
  }
  EXPECT_EQ(seen.size(), 6U);
}

}  // namespace
}  // namespace corvo::tool
