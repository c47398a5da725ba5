// SPDX-License-Identifier: Apache-2.0

#include <time.h>

#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>

#include "platform/system.h"
#include "tests/base/environment.h"
#include "tests/contract/implementations.h"

namespace corvo {

using namespace corvo_internal;

namespace {

constexpr std::int64_t kWinter = 1'704'067'200;  // 2024-01-01 00:00:00 UTC
constexpr std::int64_t kChange = 1'711'846'800;  // 2024-03-31 01:00:00 UTC, in Berlin and Madrid
constexpr std::int64_t kBack = 1'729'990'800;    // 2024-10-27 01:00:00 UTC

struct MovableFakeZone {
  void moveToIndia() { zone->change(19'800); }
  void moveToBerlin() { zone->change(3600, {{kChange, 7200}, {kBack, 3600}}); }

  std::shared_ptr<fakes::FakeTimeZone> zone = std::make_shared<fakes::FakeTimeZone>();
};

void setZone(const std::optional<std::string>& text) {
  tests::setVariable("TZ", text);
#ifdef _WIN32
  _tzset();
#else
  tzset();
#endif
}

struct MovableSystemZone {
  MovableSystemZone() { setZone("UTC0"); }
  static void moveToIndia() { setZone("IST-5:30"); }
  static void moveToBerlin() { setZone("CET-1CEST,M3.5.0,M10.5.0/3"); }

  std::shared_ptr<TimeZone> zone = platform::systemTimeZone();
};

template <class Implementation>
class TimeZoneContract : public testing::Test {
 protected:
  Implementation implementation_;
  const std::shared_ptr<TimeZone> zone_ = implementation_.zone;
};
using ZoneImplementations = testing::Types<MovableFakeZone, MovableSystemZone>;
TYPED_TEST_SUITE(TimeZoneContract, ZoneImplementations);

TYPED_TEST(TimeZoneContract, FollowsTheZoneAndItsTransitions) {
  EXPECT_EQ(this->zone_->offsetAt(kWinter), 0);
  this->implementation_.moveToIndia();
  EXPECT_EQ(this->zone_->offsetAt(kWinter), 19'800);
#ifdef _WIN32
  if (std::is_same_v<TypeParam, MovableSystemZone>) GTEST_SKIP() << "no rules in TZ on Windows";
#endif
  this->implementation_.moveToBerlin();
  const std::pair<std::int64_t, std::int32_t> cases[] = {
      {kWinter, 3600}, {kChange - 1, 3600}, {kChange, 7200}, {kBack - 1, 7200}, {kBack, 3600}};
  for (const auto& [moment, offset] : cases) {
    EXPECT_EQ(this->zone_->offsetAt(moment), offset) << moment;
  }
}

TYPED_TEST(TimeZoneContract, TheIdentifierChangesWithTheZoneOnly) {
  const std::uint64_t home = this->zone_->identifier();
  this->implementation_.moveToIndia();
  const std::uint64_t india = this->zone_->identifier();
  EXPECT_NE(india, home);
  this->implementation_.moveToBerlin();
  const std::uint64_t berlin = this->zone_->identifier();
  EXPECT_NE(berlin, india);
  for (const std::int64_t moment : {std::int64_t{-5'000'000'000}, kWinter, kChange, kBack}) {
    (void)this->zone_->offsetAt(moment);
    EXPECT_EQ(this->zone_->identifier(), berlin);
  }
}

TYPED_TEST(TimeZoneContract, AnyMomentHasAnOffsetOfLessThanADay) {
  using Limits = std::numeric_limits<std::int64_t>;
  this->implementation_.moveToBerlin();
  for (const std::int64_t moment :
       {Limits::min(), Limits::min() + 1, -(std::int64_t{1} << 56), std::int64_t{-1},
        std::int64_t{1} << 56, Limits::max() - 1, Limits::max()}) {
    EXPECT_LT(std::abs(this->zone_->offsetAt(moment)), 86'400) << moment;
  }
}

TEST(SystemTimeZoneTest, NoticesEveryChangeOfTheVariable) {
  const auto zone = platform::systemTimeZone();
  std::uint64_t before = 0;
  const std::optional<std::string> zones[] = {
      "Europe/Berlin", "Europe/Madrid", std::nullopt, "Europe/Berlin", "", std::nullopt, "UTC0"};
  for (const auto& each : zones) {
#ifdef _WIN32
    if (each == "") continue;  // variables cannot be empty there
#endif
    tests::setVariable("CORVO_TEST_A", "moves the variable");
    setZone(each);
    tests::setVariable("CORVO_TEST_A", std::nullopt);
    EXPECT_NE(zone->identifier(), before) << each.value_or("unset");
    before = zone->identifier();
    tests::setVariable("CORVO_TEST_B", "");
    EXPECT_EQ(zone->identifier(), before) << "another variable was touched";
    tests::setVariable("CORVO_TEST_B", std::nullopt);
  }
}

#ifdef __linux__  // where the C library's variable can be changed
TEST(SystemTimeZoneTest, NoticesThatTheSystemsOwnZoneChanged) {
  setZone(std::nullopt);
  const std::uint64_t before = platform::systemTimeZone()->identifier();
  timezone += 3'600;
  EXPECT_NE(platform::systemTimeZone()->identifier(), before);
  timezone -= 3'600;
}
#endif

TEST(SystemTimeZoneTest, FollowsTheVariableWithoutTzset) {
  setZone("UTC0");
  const auto zone = platform::systemTimeZone();
  const std::uint64_t before = zone->identifier();
  tests::setVariable("TZ", "ABC-24:59:59");
  EXPECT_NE(zone->identifier(), before);
  EXPECT_EQ(zone->offsetAt(kWinter), 86'399) << "an offset must be less than a day";
}

}  // namespace
}  // namespace corvo
