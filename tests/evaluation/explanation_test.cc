// SPDX-License-Identifier: Apache-2.0

#include <corvo/evaluation.h>
#include <corvo/fakes.h>
#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <set>

#include "fuzz/documents.h"
#include "model/codec.h"
#include "model/fields.h"
#include "tests/base/case_table.h"

namespace corvo {

using namespace corvo_internal;

namespace {

using Step = Explanation::Step;
using Code = Explanation::Code;
using Outcome = Explanation::Outcome;

EvaluationContext contextOf(const CorvoUser& user) {
  return {.user = &user,
          .location = {{"country", "DE"}, {"city", "Berlin"}},
          .device = {.applicationVersion = "1.10",
                     .vendorIdentifier = "V",
                     .systemName = "iOS",
                     .systemVersion = "17.4.1"},
          .now = 1'714'564'800,
          .timeZone = std::make_shared<fakes::FakeTimeZone>()};
}

TEST(Explanation, ReadsAsWritten) {
  std::ifstream file(CORVO_EXPLANATIONS);
  std::optional<Project> project;
  CorvoUser user;
  int count = 0;
  for (std::string line; std::getline(file, line);) {
    const std::size_t blank = line.find(' ');
    const std::string verb = line.substr(0, blank);
    const std::string about = blank < line.size() ? line.substr(blank + 1) : "";
    if (verb == "given") project = Project::decode(about).value();
    if (verb == "user") user = std::get<CorvoUser>(model::decodeJson<CorvoUser>(about));
    if (verb != "flag" && verb != "experiment") continue;
    std::string expected;
    while (std::getline(file, line) && !line.empty()) expected += line + '\n';
    Evaluation asked = project->evaluate(contextOf(user));
    EXPECT_EQ((verb == "flag" ? asked.explainFlag(about) : asked.explainExperiment(about)).toText(),
              expected);
    ++count;
  }
  EXPECT_EQ(count, 9);
}

TEST(Explanation, IsJsonForPrograms) {
  const Project project = fakes::project().flag("\"", "1e1").decode();
  Evaluation asked = project.evaluate({});
  EXPECT_EQ(asked.explainFlag("\"").toJson(),
            R"({"question":"flag","name":"\"","value":"1e1","error":null,"steps":[)"
            R"({"code":"flag","outcome":"found","facts":{"private":false},)"
            R"("steps":[]},{"code":"rules","outcome":"found","facts":{"private":false},"steps":[)"
            R"({"code":"rule","outcome":"holds","facts":{"position":0,"default":true,)"
            R"("statement":"-","value":"1e1"},"steps":[]}]},{"code":"value","outcome":"done",)"
            R"("facts":{"text":"1e1","type":"double"},"steps":[]}]})");
  const std::vector<Step> steps = asked.explainFlag("\"").steps;
  EXPECT_EQ(steps.at(0).toJson(),
            R"({"code":"flag","outcome":"found","facts":{"private":false},"steps":[]})");
  EXPECT_EQ(steps.at(1).toText(),
            "rules: found (private false)\n"
            "  rule: holds (position 0, default true, statement \"-\", value \"1e1\")\n");
  EXPECT_EQ(asked.explainExperiment("\xFF").toJson(),
            "{\"question\":\"experiment\",\"name\":\"\uFFFD\",\"value\":null,\"error\":"
            "{\"code\":\"experimentNotFound\",\"message\":"
            "\"Corvo warn: Experiment \\\"\uFFFD\\\" not found\"},\"steps\":"
            "[{\"code\":\"experiment\",\"outcome\":\"notFound\",\"facts\":{},\"steps\":[]}]}");
}

TEST(Explanation, KeepsNamesWithinTheirLine) {
  Evaluation asked = Project::decode("{}").value().evaluate({});
  EXPECT_EQ(asked.explainFlag("a\n\"").toText(),
            "flag \"a\\n\\\"\": Corvo warn: Feature flag \"a\\n\"\" not found\n"
            "  flag: not found\n");
}

TEST(Explanation, TruncatesLongTextsOfTheUser) {
  const Project project = fakes::project().experiment("e", {"g"}).decode();
  const std::string most(1'023, 'x');
  for (const auto& [end, shown] :
       {std::pair{"y", "y"}, std::pair{"\u00E9", "\u2026"}, std::pair{"yz", "y\u2026"}}) {
    const std::string identifier = most + end;
    const EvaluationContext::Property user{"userId", identifier};
    Evaluation asked = project.evaluate({.properties = {&user, 1}});
    const Step step = asked.explainExperiment("e").steps.at(0).steps.at(0);
    EXPECT_EQ(*step.find("value")->as<std::string>(), most + shown);
  }
}

// --- Whether the steps imply the answer ----------------------------------------------------------

/// The steps with that code, in order.
std::vector<const Step*> ofCode(const std::vector<Step>& steps, Code code) {
  std::vector<const Step*> all;
  for (const Step& step : steps) {
    if (step.code == code) all.push_back(&step);
  }
  return all;
}

double numberIn(const Step& step, std::string_view fact) {
  return step.find(fact)->asNumber().value();
}
std::string textIn(const Step& step, std::string_view fact) {
  const JsonValue* found = step.find(fact);
  return found == nullptr || found->isNull() ? "" : *found->as<std::string>();
}

bool anyOf(const std::vector<const Step*>& steps, Outcome outcome) {
  return std::ranges::any_of(steps, [=](const Step* step) { return step->outcome == outcome; });
}

/// The expected outcome of joined conditions. Those after the deciding one must not have been
/// reached.
bool joined(const std::string& statement, const std::vector<Step>& conditions) {
  const Outcome decides = statement == "OR" ? Outcome::holds : Outcome::fails;
  bool isDecided = statement == "-";
  for (const Step& each : conditions) {
    EXPECT_EQ(each.outcome == Outcome::notReached, isDecided);
    isDecided = isDecided || each.outcome == decides;
  }
  return statement == "-" ? false : isDecided == (decides == Outcome::holds);
}

bool isIn(const Step& placement) {
  const std::vector<Step>& steps = placement.steps;
  if (steps.empty() || steps[0].outcome != Outcome::found) return false;
  if (anyOf(ofCode(steps, Code::holdout), Outcome::in)) return false;
  if (anyOf(ofCode(steps, Code::forcedGroup), Outcome::found)) return true;
  for (const Code code : {Code::layer, Code::allocation, Code::targets}) {
    if (anyOf(ofCode(steps, code), Outcome::fails)) return false;
  }
  return ofCode(steps, Code::group).at(0)->outcome != Outcome::notFound;
}

/// Whether the chosen group follows from the point and from the shares inside the step.
bool groupFollows(const Step& step) {
  const double point = numberIn(step, "point");
  double end = 0;
  for (const Step* share : ofCode(step.steps, Code::share)) {
    end += numberIn(*share, "weight") * 100;
    if (share->outcome == Outcome::notReached) continue;
    EXPECT_EQ(point <= end, share->outcome == Outcome::holds);
    if (share->outcome == Outcome::holds) {
      return step.outcome == Outcome::found && textIn(step, "group") == textIn(*share, "group");
    }
  }
  return step.outcome != Outcome::found;
}

/// Whether the outcome of a step follows from its facts and the steps inside it. The bucket is the
/// experiment's.
bool follows(const Step& step, double bucket) {
  const bool holds = step.outcome == Outcome::holds;
  const auto inside = [&](Code code) { return ofCode(step.steps, code); };
  if (step.outcome == Outcome::notReached) return step.steps.empty();
  switch (step.code) {
    case Code::rule:
      if (step.find("default")->value() == JsonValue(true).value()) return holds;
      return holds == joined(textIn(step, "statement"), step.steps);
    case Code::targets:
      return holds == (step.steps.empty() || joined(textIn(step, "statement"), step.steps));
    case Code::rules:
      return (step.outcome == Outcome::found) == anyOf(inside(Code::rule), Outcome::holds);
    case Code::experiment:
    case Code::holdout:
      if (step.outcome == Outcome::notFound) return step.steps.empty();
      if (step.find("explainedBefore") != nullptr) return step.steps.empty();
      return (step.outcome == Outcome::in) == isIn(step);
    case Code::layer:
      return holds == (step.steps.empty() ? step.find("layer")->isNull()
                                          : anyOf(inside(Code::interval), Outcome::holds));
    case Code::allocation:
      EXPECT_EQ(numberIn(step, "used"), std::fabs(bucket) / 100);
      return holds == (numberIn(step, "used") <= numberIn(step, "allocation") * 100);
    case Code::group:
      EXPECT_EQ(numberIn(step, "point"), std::fmod(std::fabs(bucket), 100));
      return groupFollows(step);
    default:
      return true;
  }
}

/// Records what has occurred, to check that everything occurs.
struct Seen {
  std::set<Code> codes;
  std::set<Outcome> outcomes;
  std::set<std::string> reasons, sources, types;

  void add(const std::vector<Step>& steps) {
    double bucket = 0;
    for (const Step& step : steps) {
      if (step.code == Code::bucket) bucket = numberIn(step, "bucket");
      EXPECT_TRUE(follows(step, bucket));
      codes.insert(step.code);
      outcomes.insert(step.outcome);
      reasons.insert(textIn(step, "reason"));
      sources.insert(textIn(step, "source"));
      if (step.code == Code::value) types.insert(textIn(step, "type"));
      add(step.steps);
    }
  }
};

/// The reported rules and conditions must match the record at their positions.
void expectRecord(const Step& step, model::List<model::Rule> rules) {
  ASSERT_EQ(step.steps.size(), rules.size());
  for (const Step& each : step.steps) {
    const model::Rule& rule = rules[static_cast<std::size_t>(numberIn(each, "position"))];
    EXPECT_EQ(textIn(each, "value"), rule.value);
    if (each.steps.empty()) continue;
    ASSERT_EQ(each.steps.size(), rule.conditions.size());
    for (std::size_t i = 0; i < each.steps.size(); ++i) {
      const auto& [name, sign, values] = rule.conditions[i];
      EXPECT_EQ(textIn(each.steps[i], "property"), name);
      EXPECT_EQ(textIn(each.steps[i], "sign"), model::textOf(sign));
      EXPECT_TRUE(std::ranges::equal(*each.steps[i].find("values")->as<JsonArray>(), values,
                                     [](const JsonValue& actual, model::Text value) {
                                       return *actual.as<std::string>() == value;
                                     }));
    }
  }
}

/// The rules that were tried: the flag's, or those of the group in its experiment.
model::List<model::Rule> rulesOf(const model::ConfigResponse& config, const std::string& name,
                                 const std::vector<const Step*>& group) {
  const auto isCalled = [](const auto& list, std::string_view wanted) {
    return std::ranges::find(list, wanted, [](const auto& each) { return each.name; });
  };
  if (group.empty()) return isCalled(config.featureFlags, name)->rules;
  for (const model::Experiment& experiment : config.experiments) {
    const auto flag = isCalled(experiment.featureFlags, name);
    if (flag == experiment.featureFlags.end()) continue;
    return isCalled(flag->groups, textIn(*group[0], "group"))->rules;
  }
  throw std::logic_error("nothing carries the flag");
}

/// Compares the explanations of every name with the answers.
void compare(const model::ConfigResponse& config, Evaluation& asked, Seen& seen) {
  for (const std::string name : fuzz::kNames) {
    const auto flag = asked.checkFlag<std::string>(name);
    const Explanation why = asked.explainFlag(name);
    EXPECT_EQ(why.value, flag ? flag.value() : std::nullopt);
    EXPECT_TRUE(why.error == (flag ? std::nullopt : std::optional(*flag.error())));
    const auto rules = ofCode(why.steps, Code::rules);
    const auto group = ofCode(why.steps, Code::carriedFlag);
    if (!rules.empty()) expectRecord(*rules[0], rulesOf(config, name, group));
    EXPECT_EQ(!rules.empty() && rules[0]->outcome == Outcome::found, flag.hasValue());
    seen.add(why.steps);

    const auto handle = asked.getExperiment(name);
    const Explanation whether = asked.explainExperiment(name);
    EXPECT_EQ(whether.error.has_value(), !handle);
    seen.add(whether.steps);
    if (!handle) continue;
    const auto joined = ofCode(whether.steps, Code::experiment);
    EXPECT_EQ(anyOf(joined, Outcome::in), handle.value() != nullptr);
    EXPECT_EQ(whether.value,
              handle.value() == nullptr ? std::nullopt : handle.value()->userGroupName());
  }
}

TEST(Explanation, LeadsToTheAnswerWhateverTheProject) {
  std::mt19937 random(7);
  Seen seen;
  for (int i = 0; i < 2'000 && !testing::Test::HasFailure(); ++i) {
    std::vector<std::uint8_t> bytes(4'096);
    for (auto& byte : bytes) byte = static_cast<std::uint8_t>(random());
    fuzz::Input input(bytes);
    const model::ConfigResponse config = fuzz::Documents(input).config();
    const auto text = model::encodeJson(config);
    if (!text) continue;
    const Project project = Project::decode(*text).value();
    for (int j = 0; j < 3; ++j) {
      CorvoUser user{{}, PropertyMap()};
      for (const char* property : fuzz::kProperties) {
        if (input.oneIn(4)) continue;
        user.properties[property] = input.oneOf(fuzz::kTexts);
        const char* const kExpiries[] = {"2030-01-01 00:00:00", "2030-01-01 00:00:00",
                                         "2024-04-30 00:00:00", "never"};
        user.corvoExpiration->emplace(property, input.oneOf(kExpiries));
      }
      Evaluation asked = project.evaluate(contextOf(user));
      compare(config, asked, seen);
    }
  }
  EXPECT_EQ(seen.codes.size(), static_cast<std::size_t>(Code::value) + 1);
  EXPECT_EQ(seen.outcomes.size(), static_cast<std::size_t>(Outcome::notReached) + 1);
  EXPECT_EQ(seen.reasons.size(), 9U + 1) << "and none";
  EXPECT_EQ(seen.sources.size(), 4U + 1) << "and none";
  EXPECT_EQ(seen.types.size(), 5U);
}

TEST(Explanation, UsesOnlyDocumentedWords) {
  const std::string document = tests::contentsOf(CORVO_EXPLANATIONS_DOCUMENT);
  std::set<std::string_view> words;
  for (int i = 0; i <= static_cast<int>(Code::value); ++i) words.insert(textOf(Code(i)));
  for (int i = 0; i <= static_cast<int>(Outcome::notReached); ++i) words.insert(textOf(Outcome(i)));
  for (const std::string_view word : words) {
    EXPECT_TRUE(document.find("`" + std::string(word) + "`") < document.size()) << word;
  }
}

}  // namespace
}  // namespace corvo
