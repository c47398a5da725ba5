#include <corvo/client_registry.h>
#include <corvo/fakes.h>
#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <string>
#include <unordered_set>
#include <vector>

#include "branch_count.h"

// How the work of a question grows with what a backend and a user choose: twice as much may cost
// three times the work, not four.

namespace corvo {
namespace {

/// What a backend and an application choose.
struct World {
  std::string config;
  std::string property;  ///< Of the names "appVersion" and "custom.p".
  std::string forced;    ///< The remembered inclusions.
  std::string location = "{}";
};

std::string times(std::size_t count, const std::function<std::string(std::size_t)>& element) {
  std::string text;
  for (std::size_t i = 0; i < count; ++i) text += (i == 0 ? "" : ",") + element(i);
  return text;
}
std::string repeated(std::size_t count, std::string_view part) {
  std::string text;
  for (std::size_t i = 0; i < count; ++i) text += part;
  return text;
}
std::string quoted(const std::string& text) { return '"' + text + '"'; }

std::string flag(const std::string& name, const std::string& conditions, bool isPrivate = false) {
  return R"({"name": ")" + name + R"(", "type": "t", "is_private": )" +
         (isPrivate ? "true" : "false") +
         R"(, "rules": [{"is_default": false, "value": "1", "conditional_statement": "OR",
             "conditions": [)" +
         conditions + R"(]}, {"is_default": true, "value": "2", "conditional_statement": "-",
             "conditions": []}]})";
}
std::string condition(const std::string& sign, const std::string& values, const std::string& name) {
  return R"({"name": ")" + name + R"(", "condition_sign": ")" + sign + R"(", "value": [)" + values +
         "]}";
}
World ofFlags(const std::string& flags, const std::string& property = "") {
  return {R"({"experiments": [], "feature_flags": [)" + flags + "]}", property, "", "{}"};
}

struct Kind {
  std::string sign;
  std::string value;  ///< The values are this and a number.
  bool isPrivate = false;
  std::string name = "appVersion";
};

/// One flag with a condition for every eighth byte of the property, each with a value of its own.
World ofConditions(const Kind& kind, const std::string& property) {
  const auto each = [&](std::size_t i) {
    return condition(kind.sign, quoted(kind.value + std::to_string(i)), kind.name);
  };
  return ofFlags(flag("f", times(property.size() / 8, each), kind.isPrivate), property);
}

/// The same with one condition that has all the values.
World ofValues(const Kind& kind, const std::string& property) {
  const auto each = [&](std::size_t i) { return quoted(kind.value + std::to_string(i)); };
  return ofFlags(flag("f", condition(kind.sign, times(property.size() / 8, each), kind.name)),
                 property);
}

/// Flags whose names all fall into one bucket of the standard hash.
World ofCollidingNames(std::size_t size) {
  std::unordered_set<std::string> table;
  table.reserve(size);
  std::size_t number = 0;
  const auto each = [&](std::size_t) {
    while (table.bucket(std::to_string(++number)) != 0) {
    }
    return flag(std::to_string(number), "");
  };
  return ofFlags(times(size, each));
}

World ofExperiments(const std::string& experiments) {
  return {R"({"feature_flags": [], "experiments": [)" + experiments + "]}", "", "", "{}"};
}
std::string experiment(const std::string& name, const std::string& more, double allocation = 1) {
  return R"({"name": ")" + name + R"(", "salt": "s", "allocation": )" + std::to_string(allocation) +
         R"(, "groups": [{"name": "g", "weight": 1}])" + more + "}";
}

World ofForcedExperiments(std::size_t size) {
  const auto name = [](std::size_t i) { return "e" + std::to_string(i); };
  World world = ofExperiments(times(size, [&](std::size_t i) { return experiment(name(i), ""); }));
  world.forced = "{" + times(size, [&](std::size_t i) { return quoted(name(i)) + ":0"; }) + "}";
  return world;
}

World ofOneName(std::size_t size) {
  const std::string holdouts = times(
      size, [](std::size_t i) { return experiment("h" + std::to_string(i), R"(, "type": 5)", 0); });
  const std::string names =
      times(size, [](std::size_t i) { return quoted("h" + std::to_string(i)); });
  const auto naming = [&](std::size_t) {
    return experiment("e", R"(, "holdouts": [)" + names + "]", 0);
  };
  return ofExperiments(holdouts + "," + times(8, naming));
}

/// One experiment with flags, one with parameters; each name stands twice.
World ofValuesInAGroup(std::size_t size) {
  const auto name = [](std::size_t i) { return quoted("f" + std::to_string(i / 2)); };
  const std::string flags = times(size, [&](std::size_t i) {
    return R"({"name": )" + name(i) + R"(, "type": "t", "rules": [], "groups": [{"group": "g",
        "rules": [{"is_default": true, "value": "1", "conditional_statement": "-",
                   "conditions": []}]}]})";
  });
  const std::string params = times(size, [&](std::size_t i) {
    return R"({"name": )" + name(i) + R"(, "type": "t", "values": [{"group": "g", "value": "1"}]})";
  });
  return ofExperiments(experiment("e", R"(, "type": 1, "feature_flags": [)" + flags + "]") + "," +
                       experiment("p", R"(, "type": 2, "params": [)" + params + "]"));
}

/// Private conditions, each on a property of its own.
World ofProperties(std::size_t size) {
  const auto name = [](std::size_t i) { return "p" + std::to_string(i); };
  World world = ofFlags(flag(
      "f", times(size, [&](auto i) { return condition("equal", quoted("x"), "geo." + name(i)); }),
      true));
  world.location =
      "{" + times(size, [&](auto i) { return quoted(name(i)) + ':' + quoted("v"); }) + "}";
  return world;
}

const std::map<std::string, std::function<World(std::size_t)>> kWorlds{
    {"names that collide", ofCollidingNames},
    {"marks, any of",
     [](auto n) {
       return ofValues({"any of", "\u00E1"}, repeated(n / 2, "\u0301\u0316"));
     }},
    {"marks, equal",
     [](auto n) {
       return ofConditions({"equal", "\u00E1"}, repeated(n / 2, "\u0301\u0316"));
     }},
    {"contains any of",
     [](auto n) {
       return ofValues({"contains any of", "aab"}, repeated(n, "a"));
     }},
    {"contains none of",
     [](auto n) {
       return ofConditions({"contains any of", "aab"}, repeated(n, "a"));
     }},
    {"contained",
     [](auto n) {
       return ofConditions({"contains", "aab"}, repeated(n, "a"));
     }},
    {"private",
     [](auto n) {
       return ofConditions({"equal", "a", true}, repeated(n, "a"));
     }},
    {"private, contained",
     [](auto n) {
       return ofConditions({"contains", "a", true}, repeated(n, "a"));
     }},
    {"plain",
     [](auto n) {
       return ofConditions({"equal", "aaaaaaaaaab"}, repeated(n, "a"));
     }},
    {"number",
     [](auto n) {
       return ofConditions({"greater", "1", false, "custom.p"}, repeated(n, "0"));
     }},
    {"version",
     [](auto n) {
       return ofConditions({"greater", "1."}, repeated(n, "0."));
     }},
    {"date",
     [](auto n) {
       return ofConditions({"on date", "2024-05-0"}, repeated(n, "0") + "2024-05-01");
     }},
    {"forced", [](auto n) { return ofForcedExperiments(2 * n); }},
    {"one name", ofOneName},
    {"values in a group", ofValuesInAGroup},
    {"properties", ofProperties},
};

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
    {"details", [](CorvoClient& c) { c.getUserExperimentsDetails([](auto) {}); }},
};

/// What each question costs when it is asked first, in the order of their names, and once more.
std::map<std::string, std::size_t> costs(const World& world) {
  Counted counted(world);
  std::map<std::string, std::size_t> counts;
  for (const char* turn : {"first ", "second "}) {
    for (const auto& [name, ask] : kQuestions) counts[turn + name] = counted.count(ask);
  }
  return counts;
}

TEST(Growth, OfTheWorkIsNotThatOfAProduct) {
  for (const auto& [what, world] : kWorlds) {
    const auto once = costs(world(800));
    bool grows = false;
    for (const auto& [question, twice] : costs(world(1'600))) {
      EXPECT_LE(twice, 3 * once.at(question)) << what << ": " << question;
      grows = grows || 2 * twice > 3 * once.at(question);
    }
    EXPECT_TRUE(grows) << what << " says nothing";
  }
}

}  // namespace
}  // namespace corvo
