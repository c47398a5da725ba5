// SPDX-License-Identifier: Apache-2.0

#include <corvo/evaluation.h>
#include <corvo/fakes.h>
#include <gmock/gmock.h>

#include <functional>
#include <limits>
#include <set>
#include <stdexcept>
#include <type_traits>
#include <variant>

#include "model/codec.h"
#include "tests/base/case_table.h"

namespace corvo::fakes {
namespace {

using testing::HasSubstr;

// These must not compile: a statement that mixes both operators, an invalid value, a group without
// a value.
template <class A, class B>
concept AreJoined = requires(A a, B b) {
  a&& b;
}
|| requires(A a, B b) { a || b; };
static_assert(AreJoined<Condition, Condition> && AreJoined<All, Condition>);
static_assert(!AreJoined<All, Any> && !AreJoined<All, All>);
template <class A, class B>
concept AreAlternatives = requires(A a, B b) {
  a || b;
};
static_assert(!AreAlternatives<All, Condition> && AreAlternatives<Any, Condition>);
static_assert(!std::is_convertible_v<const int*, Rules> && !std::is_convertible_v<char, Rules> &&
              !std::is_convertible_v<std::nullptr_t, Rules>);
static_assert(!std::is_convertible_v<bool, OneOrMore<std::string>> &&
              !std::is_convertible_v<int, Group>);

TEST(ProjectBuilder, WritesEverythingThatADocumentHolds) {
  const auto conditions = [](const char* property) {
    return where(property, Sign::anyOf, {"a", ""}) && where(property, Sign::containsAnyOf, "a") &&
           where(property, Sign::greater, 1) && where(property, Sign::startsWith, "a");
  };
  const Condition isA = where("email", Sign::equal, "a");
  const ProjectBuilder built =
      project()
          .flag("on", true)
          .flag(flag("shipping", when(where("geo.code", Sign::anyOf, {"PT", "ES"}) ||
                                          where("custom.orders", Sign::less, 1),
                                      0)
                                     .when(where("appVersion", Sign::greaterEqual, "2.4") &&
                                               where("custom.beta", Sign::equal, true),
                                           2.5)
                                     .otherwise(4.9))
                    .platform("iOS")
                    .field("id", "f-1")
                    .field("project_id", 7))
          .flag(flag("vip", when(conditions("custom.id"), JsonObject{{"k", JsonArray{1}}}))
                    .isPrivate())
          .flag(flag("empty").type("t"))
          .flagJson(R"({"name": "by hand", "type": "t", "rules": [7]})")
          .experiment(holdout("out").allocation(0.25).splitBy(SplitBy::deviceId))
          .experiment(experiment("page", {{"a", 0.125}, "b", "c"})
                          .salt("s")
                          .isPrivate()
                          .layer("l", 0, 99)
                          .layer("l", 500, 994)
                          .label("a", "A")
                          .forceUsers("a", "ann")
                          .forceUsers("b", {"bob", "cid"})
                          .forceUsers("dan")
                          .targets(isA)
                          .flag("columns", {{"a", 2}, {"b", when(isA, 3)}})
                          .flag(flag("both", "own").inGroup("c", {}))
                          .platforms({"ios", "app"})
                          .heldOutBy("out"))
          .experiment(experiment("size", {"g"})
                          .nobody()
                          .splitBy(SplitBy::profileId)
                          .param("px", {{"g", 12}}))
          .experiment(experiment("url", {{"g", 0.5}})
                          .type(ExperimentType::splitUrl)
                          .field("salt", "by hand"))
          .experimentJson(
              R"({"name": "by hand", "salt": "", "allocation": 1, "platforms": ["web"]})");
  using corvo_internal::model::ConfigResponse;
  const auto read = [](const std::string& text) {
    return std::get<ConfigResponse>(corvo_internal::model::decodeJson<ConfigResponse>(text));
  };
  const ConfigResponse expected = read(tests::contentsOf(CORVO_FAKES_CASES "project.json"));
  const ConfigResponse seen = read(built.toJson());
  ASSERT_EQ(expected.experiments.size(), 5U) << "everything in the file can be read";
  EXPECT_EQ(encodeJson(seen), encodeJson(expected));
  EXPECT_EQ(built.decode().experiments().size(), 4U);
  EXPECT_EQ(built.decode(Project::Filter::client).experiments().size(), 3U)
      << "not the one for web";
}

TEST(ProjectBuilder, WritesEachSignAsTheDocumentNamesIt) {
  const char* const names[] = {"equal",
                               "not equal",
                               "any of",
                               "none of",
                               "contains any of",
                               "contains none of",
                               "on date",
                               "after time",
                               "before time",
                               "greater",
                               "less",
                               "greater equal",
                               "less equal",
                               "starts with",
                               "not starts with",
                               "ends with",
                               "not ends with",
                               "contains",
                               "not contains"};
  int sign = 0;
  for (const char* name : names) {
    const auto rules = when(where("p", static_cast<Sign>(sign++), "v"), 1).json(false);
    EXPECT_EQ(*rules[0].find("conditions")->as<JsonArray>()->at(0).find("condition_sign"), name);
  }
}

TEST(ProjectBuilder, RefusesInvalidArguments) {
  const double kInfinity = std::numeric_limits<double>::infinity();
  const struct {
    std::function<void()> build;
    const char* message;
  } cases[] = {
      {[] {
         experiment("e", {"a", "b"}).everyoneIn("c");
       },
       R"(experiment "e" has no group "c"; its groups so far: "a", "b")"},
      {[] {
         experiment("e").flag("f", {{"a", 1}});
       },
       "so far: none"},
      {[] { experiment("e", {"a"}).flag(flag("f").inGroup("b", 1)); }, R"(no group "b")"},
      {[] {
         experiment("e", {"a"}).param("p", {{"b", 1}});
       },
       R"(no group "b")"},
      {[] { experiment("e", {"a"}).forceUsers("b", "u"); }, R"(no group "b")"},
      {[] { experiment("e", {"a"}).label("b", "B"); }, R"(no group "b")"},
      {[] {
         static_cast<void>(experiment("e", {"a", "a"}));
       },
       "already"},
      {[] {
         static_cast<void>(experiment("e", {{"a", 50}}));
       },
       "fractions from 0 to 1"},
      {[] {
         static_cast<void>(experiment("e", {{"a", 0.6}, {"b", 0.6}}));
       },
       "a sum of at most 1"},
      {[] { experiment("e").allocation(10); }, "fraction"},
      {[=] { experiment("e").allocation(kInfinity - kInfinity); }, "fraction"},
      {[] { experiment("e").layer("l", 2, 1); }, "ends before it begins"},
      {[] { experiment("e").layer("l", 1, 2).layer("m", 1, 2); }, R"(already in the layer "l")"},
      {[] { holdout("h").type(ExperimentType::param); }, "holdout"},
      {[] { project().experiment("e", {}); }, "no groups"},
      {[] {
         static_cast<void>(project()
                               .experiment("h", {"a"})
                               .experiment(experiment("e", {"a"}).heldOutBy("h"))
                               .toJson());
       },
       R"(no holdout of that name)"},
      {[] { Rules(1).otherwise(2); }, "already have a default value"},
      {[] {
         static_cast<void>(where("p", Sign::equal, {"a", "b"}));
       },
       "\"equal\", not 2"},
      {[=] { static_cast<void>(Rules(kInfinity)); }, "finite"},
      {[] { project().flagJson("[]"); }, "not a JSON object: []"},
      {[] {
         FakePlatform().serve(project(), {{"geo.city", "Berlin"}});
       },
       R"("city")"},
      {[] { FakeTimeZone("Europe/Nowhere"); }, R"(no time zone "Europe/Nowhere")"}};
  for (const auto& [build, message] : cases) {
    try {
      build();
      ADD_FAILURE() << message;
    } catch (const std::invalid_argument& error) {
      EXPECT_THAT(error.what(), HasSubstr(message));
    }
  }
}

TEST(ProjectBuilder, LetsALaterFlagOrExperimentReplaceAnEarlierOne) {
  const ProjectBuilder base = project()
                                  .flagJson(R"({"name": "f", "type": "t"})")
                                  .flag("f", 1)
                                  .flag("g", 2)
                                  .holdout("h")
                                  .experiment(experiment("e", {"a"}).heldOutBy("h"));
  ProjectBuilder varied = base;
  varied.flag("f", 3).experiment("e", {"b"}).experiment("h", {"no holdout any more"});
  EXPECT_THAT(varied.toJson(), HasSubstr(R"("value":"3")"));
  EXPECT_EQ(varied.decode().experiments().at(1).groups.at(0).name, "b");
  EXPECT_THAT(base.toJson(), HasSubstr(R"("value":"1")"));
}

TEST(ProjectBuilder, LeavesNobodyBetweenGroupsThatShareEvenly) {
  ExperimentBuilder builder = experiment("e", {{"first", 0.1}});
  for (int count = 1; count < 60; ++count) {
    builder.group("group " + std::to_string(count));
    double end = 0;  // added up as in the engine
    const auto groups = project().experiment(builder).decode().experiments()[0].groups;
    for (const auto& each : groups) {
      end += each.weight * 100;
      EXPECT_NEAR(each.weight, end < 11 ? 0.1 : 0.9 / count, 1e-9);
    }
    EXPECT_GE(end, 100) << count;
  }
}

/// The set of groups of a hundred users; "" for no group.
std::set<std::string> groupsOf(const ExperimentBuilder& experiment) {
  const Project all = project().holdout("all").experiment(experiment).decode();
  std::set<std::string> groups;
  for (int i = 0; i < 100; ++i) {
    const std::string id = std::to_string(i);
    const EvaluationContext::Property user[] = {{"userId", id}, {"profileId", "p"}};
    const auto handle = all.evaluate({.properties = user}).getExperiment(experiment.name()).value();
    groups.insert(handle ? *handle->userGroupName() : "");
  }
  return groups;
}

TEST(ProjectBuilder, PutsUsersIntoTheChosenGroups) {
  using Groups = std::set<std::string>;
  const auto e = [] { return experiment("e", {"a", "b", "c"}); };
  EXPECT_EQ(groupsOf(e()), (Groups{"a", "b", "c"}));
  for (const char* group : {"a", "b", "c"}) {
    EXPECT_EQ(groupsOf(e().everyoneIn(group)), Groups{group});
    EXPECT_EQ(groupsOf(e().everyoneIn("b").nobody().forceUsers(group, "7")), (Groups{"", group}));
  }
  EXPECT_EQ(groupsOf(e().everyoneIn("b").nobody().forceUsers("7")), (Groups{"", "b"}));
  EXPECT_EQ(groupsOf(e().everyoneIn("b").allocation(0.5)), (Groups{"", "b"}));
  EXPECT_EQ(groupsOf(e().everyoneIn("b").targets(where("userId", Sign::equal, 7))),
            (Groups{"", "b"}));
  EXPECT_EQ(groupsOf(e().heldOutBy("all")), Groups{""});
  EXPECT_EQ(groupsOf(e().splitBy(SplitBy::profileId)).size(), 1U);
  EXPECT_EQ(groupsOf(e().splitBy(SplitBy::deviceId)), Groups{""});
  // A point of 0 belongs to the first group whose share does not end below it.
  const auto weights = project().experiment(e().everyoneIn("c")).decode().experiments()[0].groups;
  EXPECT_TRUE(weights[0].weight < 0 && weights[1].weight < 0 && weights[2].weight == 1);
}

TEST(ProjectBuilder, ComparesDigestsIfItIsPrivate) {
  const auto isGold = when(where("custom.plan", Sign::equal, "gold"), "yes").otherwise("no");
  const Project all =
      project()
          .flag(flag("own", isGold).isPrivate())
          .experiment(experiment("e", {"g"}).isPrivate().flag("carried", {{"g", isGold}}))
          .decode();
  const EvaluationContext::Property user[] = {{"userId", "u"}, {"custom.plan", "gold"}};
  Evaluation about = all.evaluate({.properties = user});
  EXPECT_EQ(about.checkFlag<std::string>("own").value(), "yes");
  EXPECT_EQ(about.checkFlag<std::string>("carried").value(), "yes");
}

}  // namespace
}  // namespace corvo::fakes
