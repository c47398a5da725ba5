// SPDX-License-Identifier: Apache-2.0

#include "targeting/local_time.h"

#include <corvo/fakes.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "tests/base/case_table.h"

namespace corvo::corvo_internal::targeting {
namespace {

using base::DatePattern;
using fakes::FakeTimeZone;

constexpr std::int32_t kHour = 3'600;

std::int64_t seconds(std::string text) {
  std::ranges::replace(text, 'T', ' ');
  return base::parseDate(text, text.size() > 16 ? DatePattern::second : DatePattern::minute)
      .value();
}

TEST(LocalTime, FollowsTheZonesOfTheTable) {
  const std::map<std::string, FakeTimeZone> zones{
      {"berlin", FakeTimeZone(kHour, {{seconds("2024-03-31T01:00"), 2 * kHour},
                                      {seconds("2024-10-27T01:00"), kHour}})},
      {"lordHowe", FakeTimeZone(11 * kHour, {{seconds("2024-04-06T15:00"), 10 * kHour + 1'800},
                                             {seconds("2024-10-05T15:30"), 11 * kHour}})},
      {"apia", FakeTimeZone(-10 * kHour, {{seconds("2011-12-30T10:00"), 14 * kHour}})},
      {"forthAndBack", FakeTimeZone(0, {{seconds("2024-06-01T10:00"), 2 * kHour},
                                        {seconds("2024-06-01T11:30"), 0}})},
      {"backAndForth", FakeTimeZone(0, {{seconds("2024-06-01T10:00"), -2 * kHour},
                                        {seconds("2024-06-01T11:15"), 0}})}};
  for (const auto& [zone, kind, from, to, within] :
       tests::caseTable<5>(CORVO_TARGETING_CASES "local_times.txt")) {
    SCOPED_TRACE(zone + ' ' + kind + ' ' + from);
    const LocalTime time(zones.at(zone));
    const auto moment = time.momentOf(seconds(from));
    EXPECT_EQ(time.momentOf(seconds(from)), moment);
    if (kind == "day") {
      const std::int64_t other = time.momentOf(seconds(to)).value();
      EXPECT_EQ(time.withinOneDay(moment.value(), other), within == "yes");
    } else {
      EXPECT_EQ(moment, to == "-" ? std::nullopt : std::optional(seconds(to)));
    }
  }
}

TEST(LocalTime, ForgetsTheFormerZone) {
  FakeTimeZone zone;
  LocalTime time(zone);
  EXPECT_EQ(time.momentOf(0), 0);
  EXPECT_EQ(time.momentOf("1970-01-01"), 0);
  EXPECT_TRUE(time.withinOneDay(0, 86'399));
  zone.change(kHour, {{kHour, 0}});
  time.forget();
  EXPECT_EQ(time.momentOf("1970-01-01"), -kHour);
  EXPECT_EQ(time.momentOf(0), -kHour);
  EXPECT_TRUE(time.withinOneDay(0, 86'400 + kHour - 1));
}

/// Counts its calls.
struct CountedZone : TimeZone {
  FakeTimeZone zone{kHour, {{1'000'000, 2 * kHour}, {1'003'600, kHour}, {1'400'000, -kHour}}};
  mutable std::size_t asked = 0;
  [[nodiscard]] std::uint64_t identifier() const override { return zone.identifier(); }
  [[nodiscard]] std::int32_t offsetAt(std::int64_t moment) const override {
    ++asked;
    return zone.offsetAt(moment);
  }
};

// What one conversion has learned about the zone helps the next, but never changes its result: in
// any order, each gives the same moment as on its own.
TEST(LocalTime, QueriesTheZoneRarelyForNearbyTimes) {
  const CountedZone zone;
  const LocalTime time(zone);
  EXPECT_EQ(time.momentOf(kHour), 0);
  const std::size_t cold = std::exchange(zone.asked, 0);
  for (std::int64_t local = 0; local < 24 * kHour; local += 9) {
    EXPECT_EQ(time.momentOf(local), local - kHour);
  }
  EXPECT_LT(zone.asked, cold);
  std::vector<std::int64_t> locals;
  for (std::int64_t local = 700'000; local < 1'700'000; local += 1'234) locals.push_back(local);
  std::ranges::shuffle(locals, std::mt19937(1));
  for (const bool inOrder : {false, true}) {
    if (inOrder) std::ranges::sort(locals);
    for (const std::int64_t local : locals) {
      EXPECT_EQ(time.momentOf(local), LocalTime(zone).momentOf(local)) << local;
    }
  }
}

TEST(LocalTime, RoundsDownAndAcceptsAnyMoment) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  EXPECT_EQ(LocalTime(FakeTimeZone(kHour)).at(0.9), kHour);
  EXPECT_EQ(LocalTime(FakeTimeZone(kHour)).at(-0.1), kHour - 1);
  for (const std::int32_t offset : {-86'399, 0, 86'399}) {
    const FakeTimeZone zone(offset);
    const LocalTime time(zone);
    for (const double moment : {-kInfinity, -1e300, 1e300, kInfinity, std::nan("")}) {
      const std::int64_t whole = base::wholeSeconds(moment);
      EXPECT_EQ(time.momentOf(time.at(moment)), whole);
      EXPECT_TRUE(time.withinOneDay(whole, whole));
    }
  }
}

}  // namespace
}  // namespace corvo::corvo_internal::targeting
