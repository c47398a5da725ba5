// SPDX-License-Identifier: Apache-2.0

#include "zones/named_zone.h"

#include <gtest/gtest.h>
#include <time.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <limits>
#include <memory>
#include <string>

#include "tests/base/case_table.h"

namespace corvo::corvo_internal::zones {
namespace {

constexpr std::int64_t kStep = 11 * 86'400 + 1'234;
// From 1850 to 2500; from 1901 to 2037 where the C library has only 32 bits for a moment.
using Moments = std::numeric_limits<time_t>;
constexpr std::int64_t kFirst = std::max<std::int64_t>(-3'786'912'000, Moments::min());
constexpr std::int64_t kLast = std::min<std::int64_t>(16'725'225'600, Moments::max() - kStep);

/// The C library in a zone.
class Judge {
 public:
  explicit Judge(const std::string& zone) {
    setenv("TZ", zone.c_str(), 1);
    tzset();
  }
  Judge(const Judge&) = delete;
  Judge& operator=(const Judge&) = delete;
  ~Judge() { unsetenv("TZ"); }

  [[nodiscard]] std::int64_t offsetAt(std::int64_t moment) const {
    const time_t time = moment;
    tm local{};
    return localtime_r(&time, &local)->tm_gmtoff;
  }
};

/// Compares both every few days, and around every change in between.
void expectSame(const TimeZone& zone, const Judge& judge, std::int64_t from = kFirst) {
  int wrong = 0;
  const auto compare = [&](std::int64_t moment) {
    const std::int64_t expected = judge.offsetAt(moment);
    if (zone.offsetAt(moment) != expected && ++wrong < 5) {
      ADD_FAILURE() << moment << ": " << zone.offsetAt(moment) << ", not " << expected;
    }
    return expected;
  };
  std::int64_t last = compare(from);
  for (std::int64_t moment = from; moment < kLast; moment += kStep) {
    const std::int64_t next = compare(moment + kStep);
    if (next == last) continue;
    std::int64_t before = moment;
    for (std::int64_t after = moment + kStep; after - before > 1;) {
      const std::int64_t middle = before + (after - before) / 2;
      (compare(middle) == last ? before : after) = middle;
    }
    last = next;
  }
}

/// The zone of a file that contains only a rule.
std::shared_ptr<const TimeZone> ruled(const std::string& rule) {
  std::string block = "TZif3" + std::string(34, '\0') + '\1' + std::string(3, '\0') + '\4';
  block += std::string(6, '\0') + "LMT" + '\0';
  return zoneOfFile(block + block + '\n' + rule + '\n');
}

const std::string kDatabase = "/usr/share/zoneinfo/";

TEST(NamedZone, AgreeWithTheCLibrary) {
  const auto names = tests::caseTable<1>(CORVO_ZONES_CASES "zones.txt");
  std::size_t compared = 0;
  for (const auto& [name] : names) {
    if (!std::filesystem::exists(kDatabase + name)) continue;
    SCOPED_TRACE(name);
    const auto zone = namedZone(name);
    ASSERT_TRUE(zone);
    expectSame(*zone, Judge(name));
    ++compared;
  }
  EXPECT_GT(compared, names.size() / 2) << "no database of time zones?";
}

TEST(NamedZone, FollowsARuleAsTheCLibraryDoes) {
  for (const std::string rule :
       {"UTC0", "<+0330>-3:30", "ABC12:34:56", "CET-1CEST,M3.5.0,M10.5.0/3",
        "IST-1GMT0,M10.5.0,M3.5.0/1", "<-02>2<-01>,M3.5.0/-1,M10.5.0/0", "AAA3BBB,J60,J300/0:30:15",
        "AAA3BBB,59/-167,299/167:59:59", "AAA-10BBB-12:30,M4.1.0/24,M9.4.6/-24",
        "AAA+5BBB+3,M2.4.4,M11.1.1"}) {
    const auto zone = ruled(rule);
    ASSERT_TRUE(zone) << rule;
    SCOPED_TRACE(rule);
    expectSame(*zone, Judge(rule), 0);  // glibc applies 1970 to the years before it
  }
}

TEST(NamedZone, KnowsDaylightSavingTimeWithoutEnd) {
  for (const std::string rule : {"EST5EDT,0/0,J365/25", "AAA3EDT4,0/0,J365/23"}) {  // RFC 8536
    const auto zone = ruled(rule);
    ASSERT_TRUE(zone) << rule;
    for (std::int64_t hour = kFirst; hour < kFirst + 500 * 86'400; hour += 3'600) {
      ASSERT_EQ(zone->offsetAt(hour), -4 * 3'600) << rule << " at " << hour;
    }
  }
}

TEST(NamedZone, RefusesOtherTexts) {
  for (const std::string rule : {"A0",
                                 "<A>0",
                                 "<ABC0",
                                 "ABC",
                                 "ABC+",
                                 "ABC25",
                                 "ABC24",
                                 "ABC1:60",
                                 "ABC1DEF",
                                 "ABC1DEF,M3.5.0",
                                 "ABC1DEF,M3.5.0,",
                                 "ABC1DEF,M0.1.0,J1",
                                 "ABC1DEF,M13.1.0,J1",
                                 "ABC1DEF,M1.6.0,J1",
                                 "ABC1DEF,M1.1.7,J1",
                                 "ABC1DEF,J0,J1",
                                 "ABC1DEF,J366,J1",
                                 "ABC1DEF,366,J1",
                                 "ABC1DEF,J1/168,J2",
                                 "ABC1DEF,J1,J2,",
                                 "ABC1DEF,J1/,J2",
                                 "ABC99999999999999999999",
                                 " ABC1"}) {
    EXPECT_FALSE(ruled(rule)) << rule;
  }
}

TEST(NamedZone, RefusesDamagedFiles) {
  for (const std::string name : {"Europe/Dublin", "Etc/GMT+5"}) {
    const std::string content = tests::contentsOf(kDatabase + name);
    ASSERT_TRUE(zoneOfFile(content)) << name;
    for (std::size_t size = 0; size < content.size(); ++size) {
      ASSERT_FALSE(zoneOfFile(content.substr(0, size))) << name << " cut at " << size;
      std::string damaged = content;
      damaged[size] = static_cast<char>(~damaged[size]);
      const auto zone = zoneOfFile(damaged);
      for (const std::int64_t moment : {INT64_MIN, kFirst, std::int64_t{0}, kLast, INT64_MAX}) {
        ASSERT_TRUE(!zone || std::abs(zone->offsetAt(moment)) < 86'400)
            << name << " bent at " << size;
      }
    }
  }
}

TEST(NamedZone, IsReadFromTheDatabaseAlone) {
  for (const std::string name : {"", "/etc/localtime", "../zoneinfo/UTC", "Europe/../UTC", "Europe",
                                 "zone.tab", "Nowhere/None", "utc", "UTC\n", ":UTC", "Zone"}) {
    EXPECT_FALSE(namedZone(name)) << name;
  }
  EXPECT_FALSE(namedZone(std::string("UTC\0", 4)));
  setenv("TZDIR", "/nowhere", 1);
  EXPECT_FALSE(namedZone("Europe/Berlin"));
  setenv("TZDIR", (kDatabase + "Europe").c_str(), 1);
  EXPECT_TRUE(namedZone("Berlin"));
  unsetenv("TZDIR");
  const auto utc = namedZone("UTC");
  ASSERT_TRUE(utc);
  EXPECT_EQ(utc->offsetAt(INT64_MAX), 0);
  EXPECT_NE(utc->identifier(), namedZone("UTC")->identifier());
}

}  // namespace
}  // namespace corvo::corvo_internal::zones
