#include "targeting/condition.h"

#include <corvo/fakes.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <iomanip>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

namespace corvo::targeting {
namespace {

using model::ConditionSign;

constexpr std::array<const char*, model::kConditionSignCount> kSigns{
    "equal",          "notEqual",     "anyOf",     "noneOf",     "containsAnyOf",
    "containsNoneOf", "onDate",       "afterTime", "beforeTime", "greater",
    "less",           "greaterEqual", "lessEqual", "startsWith", "notStartsWith",
    "endsWith",       "notEndsWith",  "contains",  "notContains"};

struct Question {
  std::string name;
  bool hashed = false;
};

bool answer(const Question& question, const std::optional<std::string>& property, std::size_t sign,
            const std::vector<std::string>& values) {
  const fakes::FakeTimeZone zone;
  const LocalTime localTime(zone);
  PropertyLayer layer;
  if (property) layer.put(question.name, *property);
  const model::Condition record{question.name, static_cast<ConditionSign>(sign), values};
  Vocabulary vocabulary;
  const PreparedCondition condition(record, vocabulary);
  const PropertyTable properties(vocabulary.names, {.user = &layer});
  return conditionMatches(condition, {.properties = &properties, .localTime = localTime},
                          question.hashed);
}

void expectAnswer(const Question& question, const std::string& line) {
  std::istringstream in(line);
  std::string expected;
  std::string property;
  std::string sign;
  in >> expected >> std::ws;
  const bool present = in.peek() == '\'';
  in >> std::quoted(property, '\'') >> sign;
  std::vector<std::string> values;
  for (std::string value; in >> std::quoted(value, '\'');) values.push_back(value);
  const auto at = static_cast<std::size_t>(std::ranges::find(kSigns, sign) - kSigns.begin());
  ASSERT_LT(at, kSigns.size()) << line;
  ASSERT_FALSE(values.empty()) << line;
  EXPECT_EQ(answer(question, present ? std::optional(property) : std::nullopt, at, values),
            expected == "yes")
      << question.name << ": " << line;
}

TEST(Condition, AnswersAsTheTableSays) {
  std::ifstream table(CORVO_TARGETING_CASES "conditions.txt");
  Question question;
  int lines = 0;
  for (std::string line; std::getline(table, line);) {
    if (line.starts_with("on ")) {
      question = {line.substr(3, line.find(' ', 3) - 3), line.ends_with(" hashed")};
    } else if (!line.empty() && line.front() != '#') {
      expectAnswer(question, line);
      ++lines;
    }
  }
  EXPECT_GT(lines, 100);
}

TEST(Condition, OfNoValuesIsFalseWhateverItsSign) {
  for (std::size_t sign = 0; sign < kSigns.size(); ++sign) {
    for (const char* name : {"custom.text", "appVersion"}) {
      EXPECT_FALSE(answer({name}, {}, sign, {})) << kSigns[sign];
      EXPECT_FALSE(answer({name}, "1", sign, {})) << kSigns[sign];
    }
  }
}

// Asked many times in one question: what takes long is remembered, and of many searches an index
// is made.
TEST(Condition, AnswersAlikeOnLongPropertiesHoweverOften) {
  const auto times = [](int count, const std::string& part) {
    std::string text;
    for (int i = 0; i < count; ++i) text += part;
    return text;
  };
  const std::string nine = times(200, "0") + "9.5";
  const std::string version = "1." + times(100, "0.") + "2";
  const std::string words = times(100, "ab") + "c";
  const std::string composed = times(100, "\u00E9");
  struct Case {
    const char* name;
    std::string property;
    const char* sign;
    std::vector<std::string> values;
    bool expected;
    bool hashed = false;
  };
  const Case cases[] = {
      {"n", nine, "greater", {"9.4"}, true},
      {"n", nine, "greater", {"9.5"}, false},
      {"n", nine, "lessEqual", {nine}, true},
      {"n", nine + "x", "greater", {"1"}, false},
      {"appVersion", version, "greater", {"1"}, true},
      {"appVersion", version, "greater", {"1.0.0"}, true},
      {"appVersion", version, "less", {"1.0.1"}, true},
      {"appVersion", version, "less", {"2"}, true},
      {"appVersion", version, "less", {"1." + times(99, "0.") + "1"}, true},
      {"appVersion", version, "lessEqual", {version + ".0.0"}, true},
      {"appVersion", version, "greaterEqual", {version + ".0.0"}, true},
      {"appVersion", version, "greaterEqual", {version + ".0.1"}, false},
      {"appVersion", version, "less", {version + ".-1"}, false},
      {"appVersion", version + ".x", "greater", {"0"}, false},
      {"appVersion", "0." + times(100, "0.") + "-1", "less", {"0"}, true},
      {"date", times(200, "2"), "onDate", {"2024-05-01"}, false},
      {"t", composed, "equal", {composed}, true},
      {"t", composed, "equal", {times(100, "e\u0301")}, true},
      {"t", times(100, "e\u0301"), "anyOf", {"x", composed}, true},
      {"t", composed, "noneOf", {times(100, "e\u0301") + "x"}, true},
      {"t", words, "containsAnyOf", {"cc", "bc"}, true},
      {"t", words, "containsAnyOf", {"cb", words + "c"}, false},
      {"t", words, "containsNoneOf", {words.substr(1)}, false},
      {"t", words, "containsNoneOf", {times(100, "ba")}, true},
      {"t", words, "contains", {"x" + words + "x"}, true},
      {"t", times(200, "a"), "equal", {"887f30b43b2867f4a9accceee7d16e6c"}, true, true},
      {"t", times(200, "a"), "equal", {times(200, "a")}, false, true},
  };
  const fakes::FakeTimeZone zone;
  const LocalTime localTime(zone);
  for (const Case& c : cases) {
    PropertyLayer layer;
    layer.put(c.name, c.property);
    const auto sign =
        static_cast<ConditionSign>(std::ranges::find(kSigns, std::string(c.sign)) - kSigns.begin());
    const model::Condition record{c.name, sign, c.values};
    Vocabulary vocabulary;
    const PreparedCondition condition(record, vocabulary);
    const PropertyTable properties(vocabulary.names, {.user = &layer});
    const Context context{.properties = &properties, .localTime = localTime};
    for (int i = 0; i < 70; ++i) {
      ASSERT_EQ(conditionMatches(condition, context, c.hashed), c.expected) << &c - cases;
    }
  }
}

TEST(Condition, AsksTheZoneOfNowForTheMoments) {
  fakes::FakeTimeZone zone;
  const LocalTime localTime(zone);
  struct Case {
    ConditionSign sign;
    const char* property;
    const char* value;
    bool afterwards;  // in the zone that skips 02:00 to 03:00; before that all hold
  };
  const Case cases[] = {{ConditionSign::afterTime, "2024-03-31 03:15", "2024-03-31 01:59", true},
                        {ConditionSign::beforeTime, "2024-03-31 02:30", "2024-03-31 03:45", false},
                        {ConditionSign::afterTime, "2024-03-31 03:15", "2024-03-31 02:30", false},
                        {ConditionSign::onDate, "2024-03-30 02:30", "2024-03-31 02:29", false},
                        {ConditionSign::onDate, "2024-03-30 12:00", "2024-03-31 11:59", true}};
  for (const Case& c : cases) {
    Vocabulary vocabulary;
    const model::Condition record{"date", c.sign, {c.value}};
    const PreparedCondition condition(record, vocabulary);
    PropertyLayer layer;
    layer.put("date", c.property);
    const PropertyTable properties(vocabulary.names, {.user = &layer});
    const Context context{.properties = &properties, .localTime = localTime};
    zone.change(0);
    EXPECT_TRUE(conditionMatches(condition, context, false)) << c.value;
    zone.change(3'600, {{1'711'846'800, 7'200}});
    EXPECT_EQ(conditionMatches(condition, context, false), c.afterwards) << c.value;
  }
}

}  // namespace
}  // namespace corvo::targeting
