// SPDX-License-Identifier: Apache-2.0

#include <corvo/evaluation.h>
#include <corvo/json_value.h>
#include <corvo/property.h>
#include <gmock/gmock.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
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

namespace fs = std::filesystem;

/// A folder for files of a test.
class Simulate : public testing::Test {
 protected:
  Simulate() { fs::create_directory(folder_); }
  ~Simulate() override { fs::remove_all(folder_); }

  std::string write(const std::string& name, const std::string& text) const {
    std::ofstream(folder_ / name, std::ios::binary) << text;
    return (folder_ / name).string();
  }

  const fs::path folder_ =
      fs::path(testing::TempDir()) / ("corvo_simulate" + std::to_string(getpid()));
};

TEST(SimulateCommand, AnswersAsTheTranscriptSays) {
  const std::string cases = tests::contentsOf(CORVO_TOOL_CASES "simulate.txt");
  EXPECT_GT(replay(cases, CORVO_TOOL_CASES "simulate"), 10U);
}

using Counts = std::map<std::string, std::int64_t>;

/// The counts of a simulation, without those that are 0.
Counts countsOf(const JsonValue& simulation) {
  Counts counts;
  std::map<std::int64_t, std::string> names;
  for (const JsonValue& each : list(simulation, "experiments")) {
    const std::string name = names[count(each, "position")] = text(each, "name");
    counts[name] = count(each, "users");
    for (const JsonValue& group : list(each, "groups")) {
      counts[name + " in " + text(group, "name")] = count(group, "users");
      counts[name + " forced into " + text(group, "name")] = count(group, "forced");
    }
    for (const JsonValue& out : list(each, "outside")) {
      counts[name + " " + text(out, "reason") + text(out, "holdout")] = count(out, "users");
    }
  }
  for (const JsonValue& each : list(simulation, "overlaps")) {
    const JsonArray& both = list(each, "experiments");
    counts[names[*both[0].as<std::int64_t>()] + " & " + names[*both[1].as<std::int64_t>()]] =
        count(each, "users");
  }
  std::erase_if(counts, [](const auto& each) { return each.second == 0; });
  return counts;
}

/// The same by asking about one user after the other, by name.
Counts countedOneByOne(const Project& project, const PropertyMap& location,
                       const std::string& users) {
  Counts counts;
  std::istringstream lines(users);
  for (std::string line; std::getline(lines, line);) {
    const JsonValue parsed = json(line);
    std::vector<EvaluationContext::Property> properties;
    for (const auto& [name, value] : *parsed.find("properties")->as<JsonObject>()) {
      properties.emplace_back(name, *value.as<std::string>());
    }
    Evaluation about =
        project.evaluate({.properties = properties, .location = location, .now = 1'714'564'800});
    std::vector<std::string> in;
    auto experiments = project.holdouts();
    for (const auto& each : project.experiments()) experiments.push_back(each);
    std::ranges::sort(experiments, {}, &Project::Experiment::position);
    for (const Project::Experiment& each : experiments) {
      const Explanation why = about.explainExperiment(each.name);
      const std::string reason = *why.steps.front().find("reason")->as<std::string>();
      const JsonValue* const holdout = why.steps.front().find("heldOutBy");
      if (!why.value) {
        ++counts[each.name + " " + reason + (holdout ? *holdout->as<std::string>() : "")];
        continue;
      }
      ++counts[each.name];
      ++counts[each.name + (reason == "bucketed" ? " in " : " forced into ") + *why.value];
      for (const std::string& other : in) ++counts[other + " & " + each.name];
      in.push_back(each.name);
    }
  }
  return counts;
}

TEST_F(Simulate, CountsAsOneByOne) {
  for (const std::string& config : {std::string(CORVO_SHOP "/config.json"),
                                    std::string(CORVO_TOOL_CASES "simulate/config.json")}) {
    const std::string command = "simulate --json --config " + config +
                                " --geo " CORVO_SHOP "/geo.json --now 1714564800 --jobs ";
    const std::string users = (folder_ / "users").string();
    const Ran synthetic = runCorvo(command +
                                   "3 --users 2000 --vary custom.plan=0.3:gold "
                                   "--vary custom.plan=0.1:platinum --users-out " +
                                   users);
    EXPECT_EQ(runCorvo(command + "1 --from " + users).out, synthetic.out);
    const Project project =
        Project::decode(tests::contentsOf(config), Project::Filter::client).value();
    const JsonValue geo = json(tests::contentsOf(CORVO_SHOP "/geo.json"));
    PropertyMap location;
    for (const auto& [name, value] : *geo.as<JsonObject>()) {
      location.emplace(name, *value.as<std::string>());
    }
    EXPECT_EQ(countsOf(json(synthetic.out)),
              countedOneByOne(project, location, tests::contentsOf(users)));
  }
}

// The counts are compared with the exact shares. Here the allocation admits buckets up to 142: all
// of the first cycle of 100, and 42 of the second one. So the first half gets 92 of 142.
TEST_F(Simulate, FlagsOnlyGroupsThatDoNotFit) {
  const std::string cut = write("cut", R"({"experiments": [{
    "name": "e", "salt": "e", "allocation": 0.0142,
    "groups": [{"name": "a", "weight": 0.5}, {"name": "b", "weight": 0.5}]}]})");
  const JsonValue fair = json(runCorvo("simulate --json --config " + cut).out);
  const JsonValue& only = list(fair, "experiments").front();
  EXPECT_GT(count(only, "users"), 1'000);
  EXPECT_NEAR(*list(only, "groups").front().find("share")->asNumber(), 92.0 / 142, 1e-6);
  EXPECT_GT(*only.find("test")->find("p")->asNumber(), 0.001);

  const Project project = Project::decode(tests::contentsOf(CORVO_SHOP "/config.json")).value();
  std::string selected;
  for (int i = 0; i < 1'000; ++i) {
    const std::string id = "u" + std::to_string(i);
    const EvaluationContext::Property property{"userId", id};
    Evaluation about = project.evaluate({.properties = {&property, 1}});
    const auto handle = about.getExperiment("short-checkout").value();
    if (handle && handle->userGroupName() == "short") {
      selected += R"({"properties": {"userId": ")" + id + "\"}}\n";
    }
  }
  const std::string command =
      "simulate --config " CORVO_SHOP "/config.json --experiment short-checkout ";
  const std::string users = "--from " + write("selected", selected);
  const std::string page = (folder_ / "page").string();
  const Ran ran = runCorvo(command + users + " --color always --html " + page);
  EXPECT_THAT(ran.out, testing::HasSubstr("\x1b[31mchi-square "));
  EXPECT_THAT(ran.out, testing::HasSubstr("p < 0.0001: the groups do not fit their shares"));
  EXPECT_THAT(tests::contentsOf(page),
              testing::HasSubstr("1 experiment with groups that do not fit"));
  EXPECT_THAT(runCorvo(command + users + " --json").out, testing::HasSubstr("\"flagged\":true"));
}

// The first holdout takes all users of the second one, which the experiment names, too. The other
// experiment has the salt of the second one, so they share more users than by chance.
TEST_F(Simulate, ExpectsNoOverlapWithAHoldout) {
  const std::string groups = R"(, "groups": [{"name": "a", "weight": 1}])";
  const std::string config = write(
      "held", R"({"experiments": [{"name": "wide", "type": 5, "salt": "s", "allocation": 0.4)" +
                  groups + R"(}, {"name": "narrow", "type": 5, "salt": "s", "allocation": 0.2)" +
                  groups + R"(}, {"name": "e", "salt": "e", "allocation": 1,
                        "holdouts": ["wide", "narrow"])" +
                  groups + R"(}, {"name": "other",
                        "salt": "s", "allocation": 0.2)" +
                  groups + "}]}");
  const std::string out = runCorvo("simulate --users 2000 --config " + config).out;
  EXPECT_THAT(out, testing::HasSubstr("\nnarrow      other "));
  EXPECT_THAT(out, testing::Not(testing::HasSubstr("\nnarrow      e ")));
  EXPECT_THAT(out, testing::Not(testing::HasSubstr("\nwide        e ")));
}

TEST_F(Simulate, WritesOnAPageWhatIsNotTested) {
  const auto pageFor = [&](int experiments) {
    std::string list;
    for (int i = 0; i < experiments; ++i) {
      list += std::string(i > 0 ? "," : "") + R"({"name": "e)" + std::to_string(i) +
              R"(", "salt": "s", "allocation": 1, "groups": []})";
    }
    const std::string page = (folder_ / "page").string();
    static_cast<void>(runCorvo("simulate --users 1 --html " + page + " --config " +
                               write("config", R"({"experiments": [)" + list + "]}")));
    return tests::contentsOf(page);
  };
  EXPECT_THAT(pageFor(1), testing::HasSubstr("No groups were tested."));
  EXPECT_THAT(pageFor(1'025),
              testing::HasSubstr("Not counted: there are more than 1024 experiments."));
}

/// The elements of a page, as a set of names. Fails if they are not nested correctly.
std::set<std::string> elementsOf(const std::string& page) {
  std::set<std::string> all;
  std::vector<std::string> open;
  for (auto at = page.find('<'); at != std::string::npos; at = page.find('<', at + 1)) {
    const auto end = page.find('>', at);
    const std::string tag = page.substr(at + 1, end - at - 1);
    if (tag.starts_with('!')) continue;
    if (tag.starts_with('/')) {
      EXPECT_EQ(open.empty() ? "" : open.back(), tag.substr(1));
      if (!open.empty()) open.pop_back();
      continue;
    }
    const std::string name = tag.substr(0, tag.find_first_of(" /"));
    all.insert(name);
    if (!tag.ends_with('/')) open.push_back(name);
  }
  EXPECT_THAT(open, testing::IsEmpty());
  return all;
}

TEST_F(Simulate, WritesAPageThatHostileNamesCannotChange) {
  const auto pageOf = [&](const std::string& name, const std::string& quoted) {
    const std::string group =
        R"([{"name": ")" + quoted + R"(", "weight": 0.5}, {"name": "b", "weight": 0.5}])";
    const std::string rest = R"(", "salt": "s", "allocation": 0.9, "holdouts": [")" + quoted +
                             R"("], "groups": )" + group + "}";
    const std::string config =
        write("config", R"({"experiments": [{"name": ")" + quoted +
                            R"(", "type": 5, "salt": "h", "allocation": 0.1, "groups": )" + group +
                            R"(}, {"name": ")" + quoted + "1" + rest + R"(, {"name": ")" + quoted +
                            "2" + rest + "]}");
    const std::string page = (folder_ / name).string();
    EXPECT_EQ(runCorvo("simulate --users 2000 --config " + config + " --html " + page).err, "");
    return tests::contentsOf(page);
  };
  const std::string plain = pageOf("plain", "name");
  const std::string hostile = pageOf(
      "hostile",
      R"(</bdi></td><script>x()</script><img src=x onerror='x()'>\" onclick=\"x() &lt; \u0000\n)");
  EXPECT_EQ(elementsOf(hostile), elementsOf(plain));
  EXPECT_THAT(hostile, testing::HasSubstr("&lt;script&gt;x()&lt;/script&gt;"));
  for (const std::string& page : {plain, hostile}) {
    EXPECT_THAT(page,
                testing::HasSubstr("content=\"default-src 'none'; style-src 'unsafe-inline'\""));
    EXPECT_THAT(page, testing::Not(testing::HasSubstr("://")));
    for (const char* quote : {"\" onclick", "' onclick", "'x()", "<script", "<img", "url("}) {
      EXPECT_THAT(page, testing::Not(testing::HasSubstr(quote)));
    }
  }
  EXPECT_THAT(plain, testing::HasSubstr("<h2 id='e1'><bdi>name1</bdi>"));
  EXPECT_THAT(plain, testing::HasSubstr("<a href='#e1'><bdi>name1</bdi></a>"));
  EXPECT_THAT(plain, testing::HasSubstr("held out by <bdi>name</bdi>"));
}

}  // namespace
}  // namespace corvo::tool
