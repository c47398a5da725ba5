// SPDX-License-Identifier: Apache-2.0

#include "base/civil_time.h"

#include <gtest/gtest.h>

#include <limits>
#include <map>

#include "tests/base/case_table.h"

namespace corvo::corvo_internal::base {
namespace {

using enum DatePattern;

TEST(CivilTime, ReadsAndWritesWhatTheTableSays) {
  const std::map<std::string, std::pair<DatePattern, LocalSeconds>> patternsAndTheirUnits{
      {"day", {day, 86'400}}, {"minute", {minute, 60}}, {"second", {second, 1}}};
  for (const auto& [name, text, expected, other] :
       tests::caseTable<4>(CORVO_BASE_CASES "dates.txt")) {
    const auto& [pattern, unit] = patternsAndTheirUnits.at(name);
    const auto local = parseDate(text, pattern);
    EXPECT_EQ(local ? std::to_string(*local) : "-", expected) << text;
    if (!local) continue;
    const std::string& written = other.empty() ? text : other;
    EXPECT_EQ(formatDate(*local, pattern), written);
    EXPECT_EQ(formatDate(*local + unit - 1, pattern), written);
  }
}

TEST(CivilTime, WritesYearsBeyondFourDigits) {
  using Limits = std::numeric_limits<LocalSeconds>;
  EXPECT_EQ(formatDate(253'402'300'800, day), "10000-01-01");
  EXPECT_EQ(formatDate(-62'135'596'801, second), "0000-12-31 23:59:59");
  EXPECT_EQ(formatDate(-62'167'219'201, day), "-0001-12-31");
  EXPECT_EQ(formatDate(Limits::max(), second), "292277026596-12-04 15:30:07");
  EXPECT_EQ(formatDate(Limits::min(), second), "-292277022657-01-27 08:29:52");
}

TEST(CivilTime, RoundsMomentsDownAndKeepsThemNear) {
  const std::pair<double, std::int64_t> cases[]{
      {0.0, 0}, {1.9, 1}, {-0.1, -1}, {-1.0, -1}, {-1.5, -2}, {1e12 + 0.5, 1'000'000'000'000}};
  for (const auto& [moment, seconds] : cases) EXPECT_EQ(wholeSeconds(moment), seconds);

  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  EXPECT_EQ(wholeSeconds(std::numeric_limits<double>::quiet_NaN()), 0);
  EXPECT_EQ(wholeSeconds(kInfinity), wholeSeconds(1e300));
  EXPECT_EQ(wholeSeconds(-kInfinity), -wholeSeconds(kInfinity));
  EXPECT_NEAR(static_cast<double>(wholeSeconds(kInfinity)), 100'000 * 31'556'952.0, 1e9);
}

}  // namespace
}  // namespace corvo::corvo_internal::base
