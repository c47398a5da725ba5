// SPDX-License-Identifier: Apache-2.0

#include <corvo/client_registry.h>
#include <corvo/fakes.h>
#include <corvo/lint.h>
#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <map>
#include <string>
#include <unordered_set>

#include "branch_count.h"
#include "tests/base/case_table.h"

// Measures how the work of a question grows with input that a backend or a user controls. Twice the
// input may cost three times the work, but not four.

namespace corvo {
namespace {

/// The input from a backend and an application.
struct World {
  std::string config;
  std::string property;  ///< The value of "appVersion" and "custom.p".
  std::string forced;    ///< The recorded inclusions.
  std::string location = "{}";
};

/// The text repeated with commas between, and with its index for each "@".
std::string times(std::size_t count, const std::string& text) {
  std::string all;
  for (std::size_t i = 0; i < count; ++i) {
    std::string one = text;
    tests::replaceAll(one, "@", std::to_string(i));
    all += (i == 0 ? "" : ",") + one;
  }
  return all;
}

const std::string kDefaultRule =
    R"({"is_default": true, "value": "2", "conditional_statement": "-", "conditions": []})";
std::string rule(const std::string& statement, const std::string& conditions) {
  return R"({"is_default": false, "value": "1", "conditional_statement": ")" + statement +
         R"(", "conditions": [)" + conditions + "]}";
}
std::string flag(const std::string& name, const std::string& conditions, bool isPrivate = false) {
  return R"({"name": ")" + name + R"(", "type": "t", "is_private": )" +
         (isPrivate ? "true" : "false") + R"(, "rules": [)" + rule("OR", conditions) + "," +
         kDefaultRule + "]}";
}
std::string condition(const std::string& sign, const std::string& values, const std::string& name) {
  return R"({"name": ")" + name + R"(", "condition_sign": ")" + sign + R"(", "value": [)" + values +
         "]}";
}
World ofFlags(const std::string& flags, const std::string& property = "") {
  return {R"({"experiments": [], "feature_flags": [)" + flags + "]}", property, ""};
}

/// A row of the table of comparisons, which describes its columns.
using Comparison = std::array<std::string, 6>;

World ofComparison(const Comparison& row, std::size_t size) {
  auto [what, form, sign, name, text, property] = row;
  tests::replaceAll(property, "@", std::to_string(size));
  property = tests::unfolded(property);
  const std::string value = '"' + text + "@\"";
  const std::size_t count = property.size() / 8;
  const std::string conditions = form == "values" ? condition(sign, times(count, value), name)
                                                  : times(count, condition(sign, value, name));
  return ofFlags(flag("f", conditions, form == "private"), property);
}

/// Flags whose names all fall into one bucket of the standard hash.
World ofCollidingNames(std::size_t size) {
  std::unordered_set<std::string> table;
  table.reserve(size);
  std::string flags = flag("-", "");
  for (std::size_t number = 0, found = 0; found < size; ++number) {
    if (table.bucket(std::to_string(number)) != 0) continue;
    flags += ',' + flag(std::to_string(number), "");
    ++found;
  }
  return ofFlags(flags);
}

World ofExperiments(const std::string& experiments) {
  return {R"({"feature_flags": [], "experiments": [)" + experiments + "]}", "", ""};
}
std::string experiment(const std::string& name, const std::string& more, int allocation = 1) {
  return R"({"name": ")" + name + R"(", "salt": "s", "allocation": )" + std::to_string(allocation) +
         R"(, "groups": [{"name": "g", "weight": 1}])" + more + "}";
}

World ofForcedExperiments(std::size_t size) {
  World world = ofExperiments(times(2 * size, experiment("e@", "")));
  world.forced = "{" + times(2 * size, R"("e@":0)") + "}";
  return world;
}

World ofOneName(std::size_t size) {
  const std::string naming = R"(, "holdouts": [)" + times(size, R"("h@")") + "]";
  return ofExperiments(times(size, experiment("h@", R"(, "type": 5)", 0)) + "," +
                       times(8, experiment("e", naming, 0)));
}

/// One holdout that is expensive to resolve, and many experiments of one name that refer to it.
World ofOneHoldout(std::size_t size) {
  const std::string intervals = R"(, "type": 5, "layer_bounds": [)" +
                                times(size, R"({"lower_bound": 1e6, "upper_bound": 1e6})") + "]";
  return ofExperiments(experiment("h", intervals) + "," +
                       times(size, experiment("e", R"(, "holdouts": ["h"])", 0)));
}

/// One experiment with flags, one with parameters; each name occurs twice.
World ofValuesInAGroup(std::size_t size) {
  const std::string flag =
      R"({"name": "f@", "type": "t", "rules": [], "groups": [{"group": "g", "rules": [)" +
      kDefaultRule + "]}]}";
  const std::string param =
      R"({"name": "f@", "type": "t", "values": [{"group": "g", "value": "1"}]})";
  const auto twice = [&](const std::string& text) { return times(size / 2, text + "," + text); };
  return ofExperiments(experiment("e", R"(, "type": 1, "feature_flags": [)" + twice(flag) + "]") +
                       "," + experiment("p", R"(, "type": 2, "params": [)" + twice(param) + "]"));
}

/// Private conditions, each on its own property.
World ofProperties(std::size_t size) {
  World world = ofFlags(flag("f", times(size, condition("equal", R"("x")", "geo.p@")), true));
  world.location = "{" + times(size, R"("p@":"v")") + "}";
  return world;
}

using Worlds = std::map<std::string, std::function<World(std::size_t)>>;
Worlds makeWorlds() {
  Worlds worlds{{"names that collide", ofCollidingNames},
                {"forced", ofForcedExperiments},
                {"one name", ofOneName},
                {"one holdout", ofOneHoldout},
                {"values in a group", ofValuesInAGroup},
                {"properties", ofProperties}};
  for (const Comparison& row : tests::caseTable<6>(CORVO_COST_CASES "comparisons.txt")) {
    worlds[row[0]] = [row](std::size_t size) { return ofComparison(row, size); };
  }
  return worlds;
}

class Counted {
 public:
  explicit Counted(const World& world) {
    fake.session->always("config.json", fakes::ok(world.config));
    fake.session->always("geo", fakes::ok(world.location));
    if (!world.forced.empty()) {
      const PreferencesChange forced{"corvoForcedExperiments.value", world.forced};
      fake.store->open("storagetagtoken")->apply({&forced, 1});
    }
    CorvoUser::Builder user(fake.time, fake.timeZone);
    user.setUserId("u").setAppVersion(world.property).setCustomProperty(world.property, "p");
    client = registry.initializeClient("token", user.build(), "https://a", 60, 0, "tag");
  }

  std::size_t count(const std::function<void(CorvoClient&)>& ask) {
    const std::size_t before = corvoBranchCount;
    ask(*client);
    fake.time->run();
    return corvoBranchCount - before;
  }

 private:
  fakes::FakePlatform fake;
  ClientRegistry registry{fake.platform()};
  std::shared_ptr<CorvoClient> client;
};

const std::map<std::string, std::function<void(CorvoClient&)>> kQuestions{
    {"flag", [](CorvoClient& c) { c.checkFlag<bool>("f", [](auto) {}); }},
    {"report", [](CorvoClient& c) { c.getUserFeatureFlagsDetails([](auto) {}); }},
    {"experiment", [](CorvoClient& c) { c.getExperiment("e", [](auto) {}); }},
    {"experiments", [](CorvoClient& c) { c.getAllUserExperiments([](auto) {}); }},
    {"why flag", [](CorvoClient& c) { c.explainFlag("f", [](auto) {}); }},
    {"why experiment", [](CorvoClient& c) { c.explainExperiment("e", [](auto) {}); }},
    {"details", [](CorvoClient& c) { c.getUserExperimentsDetails([](auto) {}); }},
};

/// The cost of each question, by name, when it is asked for the first and for the second time.
std::map<std::string, std::size_t> costs(const World& world) {
  Counted counted(world);
  std::map<std::string, std::size_t> counts;
  for (const char* turn : {"first ", "second "}) {
    for (const auto& [name, ask] : kQuestions) counts[turn + name] = counted.count(ask);
  }
  return counts;
}

TEST(Growth, OfTheWorkIsNotQuadratic) {
  for (const auto& [what, world] : makeWorlds()) {
    const auto once = costs(world(800));
    bool grows = false;
    for (const auto& [question, twice] : costs(world(1'600))) {
      EXPECT_LE(twice, 3 * once.at(question)) << what << ": " << question;
      grows = grows || 2 * twice > 3 * once.at(question);
    }
    EXPECT_TRUE(grows) << what << " says nothing";
  }
}

/// Documents with findings proportional to a size, of one kind each, or with many comparisons.
std::map<std::string, std::function<std::string(std::size_t)>> lintedDocuments() {
  const auto rules = [](const std::string& rule) {
    return [=](std::size_t size) {
      return R"({"feature_flags": [{"name": "f", "type": "t", "rules": [)" + times(size, rule) +
             "]}]}";
    };
  };
  const auto inLayer = [](const std::string& lower, const std::string& upper) {
    return experiment("e@", R"(, "layer_bounds": [{"lower_bound": )" + lower +
                                R"(, "upper_bound": )" + upper + "}]");
  };
  return {
      {"keys", [](std::size_t size) { return "{" + times(size, R"("k@": 1, "k@": 2)") + "}"; }},
      {"a long key",
       [](std::size_t size) {
         return R"({")" + std::string(64 * size, 'k') + R"(": [)" +
                times(size, R"({"a": 1, "a": 2})") + "]}";
       }},
      {"a long name",
       [](std::size_t size) {
         return ofExperiments(experiment(std::string(64 * size, 'n'), "") + "," +
                              times(size, experiment("e@", "")))
             .config;
       }},
      {"salts",
       [](std::size_t size) { return ofExperiments(times(size, experiment("e@", ""))).config; }},
      {"overlaps",
       [=](std::size_t size) { return ofExperiments(times(size, inLayer("0", "@"))).config; }},
      {"rules", rules(rule("AND", condition("less", R"("@")", "geo.p")))},
      {"versions",
       [=](std::size_t size) {
         const auto above = [&](const std::string& version) {
           return rule("AND", condition("greater", version, "appVersion"));
         };
         const std::string zeros = "{" + std::to_string(32 * size) + "*0.}";
         return tests::unfolded(
             rules(above('"' + zeros + "9\"") + "," + times(size, above(R"("0.@")")))(1));
       }},
      {"conditions",
       [=](std::size_t size) {
         return rules(rule("AND", times(size, condition("any of", R"("@", "a", "b")", "geo.p"))))(
             2);
       }},
      {"groups",
       [=](std::size_t size) {
         const std::string more =
             R"(, "groups": [)" + times(size, R"({"name": "g@", "weight": 0.5})") +
             R"(], "params": [)" + times(size, R"({"name": "p@", "type": "t"})") + "]";
         return ofExperiments(experiment("e", more)).config;
       }},
  };
}

std::size_t costOfLint(const std::string& document) {
  const std::size_t before = corvoBranchCount;
  EXPECT_FALSE(lint(document).empty());
  return corvoBranchCount - before;
}

TEST(Growth, OfLintIsNotQuadratic) {
  for (const auto& [what, document] : lintedDocuments()) {
    EXPECT_LE(costOfLint(document(1'600)), 3 * costOfLint(document(800))) << what;
  }
}

}  // namespace
}  // namespace corvo
