// SPDX-License-Identifier: Apache-2.0

#include "targeting/condition.h"

#include <corvo/fakes.h>
#include <gtest/gtest.h>

#include <fstream>
#include <iomanip>
#include <optional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "model/fields.h"
#include "tests/base/case_table.h"

namespace corvo::corvo_internal::targeting {
namespace {

using model::ConditionSign;

/// The operator that a configuration names.
ConditionSign signOf(const std::string& text) {
  for (const auto& [sign, name] : model::EnumTexts<ConditionSign>::list) {
    if (name == text) return sign;
  }
  throw std::out_of_range(text);
}

/// A condition, and a user with or without the property.
class Asked {
 public:
  Asked(const std::string& name, const std::optional<std::string>& property, ConditionSign sign,
        const std::vector<std::string>& values)
      : property_(property), record_{pool_.text(name), sign, listOf(values)} {
    table_.resize(vocabulary_.names.count());
    if (property_) table_.putUser(condition_.property(), *property_, kNever);
  }

  [[nodiscard]] bool matches(const LocalTime& localTime, bool hashed = false) const {
    return condition_.matches(
        {{.properties = &table_, .localTime = localTime}, condition_.property(), hashed});
  }

 private:
  model::List<model::Text> listOf(const std::vector<std::string>& values) {
    std::vector<model::Text> texts;
    for (const std::string& value : values) texts.push_back(pool_.text(value));
    return pool_.list(texts);
  }

  base::Pool pool_;
  const std::optional<std::string> property_;
  const model::Condition record_;
  Vocabulary vocabulary_{pool_};
  const PreparedCondition condition_{record_, vocabulary_};
  PropertyTable table_;
};

// Expensive readings are cached, and many searches build an index.
constexpr int kOften = 70;

void expectAnswer(const std::string& name, bool hashed, const std::string& line) {
  std::istringstream in(tests::unfolded(line));
  std::string expected;
  std::string property;
  std::string sign;
  in >> expected >> std::ws;
  const bool present = in.peek() == '\'';
  in >> std::quoted(property, '\'') >> std::quoted(sign, '\'');
  std::vector<std::string> values;
  for (std::string value; in >> std::quoted(value, '\'');) values.push_back(value);
  ASSERT_FALSE(values.empty()) << line;
  const fakes::FakeTimeZone zone;
  const LocalTime localTime(zone);
  const auto expectOf = [&](const std::vector<std::string>& list) {
    const Asked asked(name, present ? std::optional(property) : std::nullopt, signOf(sign), list);
    for (int i = 0; i < kOften; ++i) {
      ASSERT_EQ(asked.matches(localTime, hashed), expected == "yes") << name << ": " << line;
    }
  };
  expectOf(values);
  if (sign != "any of" && sign != "none of") return;
  // Long lists use a different search.
  for (int i = 0; i < 20; ++i) values.insert(values.begin(), "no value of " + std::to_string(i));
  expectOf(values);
}

TEST(Condition, AnswersAsTheTableSaysHoweverOften) {
  std::ifstream table(CORVO_TARGETING_CASES "conditions.txt");
  std::string name;
  bool hashed = false;
  int lines = 0;
  for (std::string line; std::getline(table, line);) {
    if (line.starts_with("on ")) {
      name = line.substr(3, line.find(' ', 3) - 3);
      hashed = line.ends_with(" hashed");
    } else if (!line.empty() && line.front() != '#') {
      expectAnswer(name, hashed, line);
      ++lines;
    }
  }
  EXPECT_GT(lines, 100);
}

TEST(Condition, WithoutValuesIsFalseWhateverItsSign) {
  const fakes::FakeTimeZone zone;
  const LocalTime localTime(zone);
  for (std::size_t number = 0; number < model::kConditionSignCount; ++number) {
    const auto sign = static_cast<ConditionSign>(number);
    for (const char* name : {"custom.text", "appVersion"}) {
      EXPECT_FALSE(Asked(name, {}, sign, {}).matches(localTime)) << number;
      EXPECT_FALSE(Asked(name, "1", sign, {}).matches(localTime)) << number;
    }
  }
}

}  // namespace
}  // namespace corvo::corvo_internal::targeting
