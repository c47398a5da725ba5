// SPDX-License-Identifier: Apache-2.0

// Dates: texts compared with the grammar and the standard library's calendar; local times in any
// zone compared with a search over all its offsets.

#include <corvo/fakes.h>

#include <algorithm>
#include <chrono>
#include <regex>
#include <set>
#include <vector>

#include "base/civil_time.h"
#include "fuzz/input.h"
#include "targeting/local_time.h"

namespace {

using namespace corvo;
using namespace corvo_internal;
using base::DatePattern;
using base::kSecondsPerDay;
using base::LocalSeconds;
using fuzz::Input;
using fuzz::require;

const std::string kNumber = "[\t-\r ]*0*(\\d{1,4})";
const std::string kTwoDigits = "[\t-\r ]*0*(\\d\\d)";
const std::string kDay = kNumber + "-" + kNumber + "-" + kTwoDigits;
const std::string kMinute = kDay + "[\t-\r ]" + kNumber + ":" + kTwoDigits;
const struct {
  DatePattern pattern;
  LocalSeconds unit;
  std::regex grammar;
} kPatterns[] = {{DatePattern::day, kSecondsPerDay, std::regex(kDay)},
                 {DatePattern::minute, 60, std::regex(kMinute)},
                 {DatePattern::second, 1, std::regex(kMinute + ":" + kTwoDigits)}};

std::optional<LocalSeconds> expected(const std::string& text, const std::regex& grammar) {
  std::smatch found;
  if (!std::regex_match(text, found, grammar)) return {};
  int fields[] = {0, 0, 0, 0, 0, 0};
  for (std::size_t i = 1; i < found.size(); ++i) fields[i - 1] = std::stoi(found[i]);
  const auto [year, month, day, hour, minute, second] = fields;
  const auto date = std::chrono::year(year) / month / day;
  if (year < 1 || !date.ok() || hour > 23 || minute > 59 || second > 59) return {};
  const LocalSeconds days = std::chrono::sys_days(date).time_since_epoch().count();
  return days * kSecondsPerDay + hour * 3'600 + minute * 60 + second;
}

// Usually almost a date.
std::string dateText(Input& in) {
  constexpr int kGreatest[] = {10'000, 13, 32, 25, 61, 61};
  constexpr const char* kSeparators[] = {"", "-", "-", " ", ":", ":"};
  constexpr std::size_t kFieldCounts[] = {3, 5, 6, 1};
  constexpr const char* kOddities[] = {"", " ", "\t\v", "-", "0", "\x1F", "00000", "+", ":"};
  std::string text;
  const std::size_t fields = in.oneOf(kFieldCounts);
  for (std::size_t i = 0; i < fields; ++i) {
    text += in.oneIn(32) ? in.oneOf(kOddities) : kSeparators[i];
    if (in.oneIn(16)) text += in.oneOf(kOddities);
    const std::string number = std::to_string(in.between(0, kGreatest[i]));
    if (number.size() < 2 && !in.oneIn(8)) text += '0';
    text += number;
  }
  return in.oneIn(16) ? text + in.oneOf(kOddities) : text;
}

void readAndWrite(Input& in) {
  const std::string text = in.oneIn(4) ? std::string(in.text(32)) : dateText(in);
  const LocalSeconds local = in.between(-62'135'596'800, 253'402'300'799);  // years 1 to 9999
  for (const auto& [pattern, unit, grammar] : kPatterns) {
    require(base::parseDate(text, pattern) == expected(text, grammar), text);
    const auto read = base::parseDate(base::formatDate(local, pattern), pattern);
    require(read && *read <= local && local < *read + unit && *read % unit == 0,
            "a formatted date is read back");
    require(!base::formatDate(in.number(), pattern).empty(), "any local time has a text");
  }
}

std::int32_t offset(Input& in) {
  constexpr std::int32_t kUsual[] = {0, 3'600, 7'200, -3'600, 37'800, 39'600, -36'000, 50'400};
  return in.oneIn(4) ? static_cast<std::int32_t>(in.between(-86'399, 86'399)) : in.oneOf(kUsual);
}

void searchLocal(Input& in, fakes::FakeTimeZone& clocks, targeting::LocalTime& time) {
  std::set<std::int32_t> offsets{offset(in)};
  const std::int32_t first = *offsets.begin();
  fakes::FakeTimeZone::Transitions transitions;
  constexpr std::int64_t kFar = 3'155'000'000'000;  // nearly the limit of `wholeSeconds`
  std::int64_t change = in.oneIn(4) ? in.between(-kFar, kFar) : in.between(0, 4'102'444'800);
  std::vector<std::int64_t> changes{change};
  for (std::size_t count = in.below(6); count > 0; --count) {
    transitions[change] = *offsets.insert(offset(in)).first;
    changes.push_back(change);
    change += 3'600 + (in.oneIn(2) ? in.between(0, 3 * kSecondsPerDay) : 0);
  }
  clocks.change(first, transitions);
  time.forget();
  constexpr std::int64_t kUnits[] = {1, 3'600, kSecondsPerDay};
  for (int i = 0; i < 8; ++i) {
    const std::int64_t near =
        in.oneOf(changes) + in.between(-2, 2) * in.oneOf(kUnits) + in.between(-3, 3);
    const LocalSeconds local = near + clocks.offsetAt(near + in.between(-1, 1));
    std::optional<std::int64_t> last;
    for (const std::int32_t each : offsets) {
      if (clocks.offsetAt(local - each) == each) last = std::max(last, std::optional(local - each));
    }
    require(time.momentOf(local) == last, "the last moment that shows the local time");
    require(time.at(static_cast<double>(near) + 0.5) == near + clocks.offsetAt(near),
            "what the clocks show");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input in({data, size});
  readAndWrite(in);
  fakes::FakeTimeZone clocks;
  targeting::LocalTime time(clocks);
  for (int i = 0; i < 2; ++i) searchLocal(in, clocks, time);
  return 0;
}
