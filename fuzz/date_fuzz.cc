// Dates: texts against the grammar and a calendar counted on the fingers, and local times in any
// zone against a search over all its offsets.

#include <corvo/fakes.h>

#include <cmath>
#include <optional>
#include <regex>
#include <set>
#include <string>

#include "base/civil_time.h"
#include "fuzz/input.h"
#include "targeting/local_time.h"

namespace {

using namespace corvo;
using base::DatePattern;
using base::kSecondsPerDay;
using base::LocalSeconds;
using fuzz::Input;
using fuzz::require;

constexpr DatePattern kPatterns[] = {DatePattern::day, DatePattern::minute, DatePattern::second};
constexpr LocalSeconds kFirst = -62'135'596'800;  // 0001-01-01 00:00:00
constexpr LocalSeconds kLast = 253'402'300'799;   // 9999-12-31 23:59:59

bool isLeap(int year) { return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0); }

int daysOf(int month, int year) {
  constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  return kDays[month - 1] + (month == 2 && isLeap(year) ? 1 : 0);
}

#define NUMBER "[\t-\r ]*0*(\\d{1,4})"
#define TWO_DIGITS "[\t-\r ]*0*(\\d\\d)"
#define DAY NUMBER "-" NUMBER "-" TWO_DIGITS
#define MINUTE DAY "[\t-\r ]" NUMBER ":" TWO_DIGITS
const std::regex kGrammars[] = {std::regex(DAY), std::regex(MINUTE),
                                std::regex(MINUTE ":" TWO_DIGITS)};
#undef MINUTE
#undef DAY
#undef TWO_DIGITS
#undef NUMBER

std::optional<LocalSeconds> expected(const std::string& text, DatePattern pattern) {
  std::smatch found;
  if (!std::regex_match(text, found, kGrammars[static_cast<int>(pattern)])) return {};
  int fields[] = {0, 0, 0, 0, 0, 0};
  for (std::size_t i = 1; i < found.size(); ++i) fields[i - 1] = std::stoi(found[i]);
  const auto [year, month, day, hour, minute, second] = fields;
  if (year < 1 || month < 1 || month > 12 || day < 1 || day > daysOf(month, year)) return {};
  if (hour > 23 || minute > 59 || second > 59) return {};
  LocalSeconds days = kFirst / kSecondsPerDay + day - 1;
  for (int before = 1; before < year; ++before) days += isLeap(before) ? 366 : 365;
  for (int before = 1; before < month; ++before) days += daysOf(before, year);
  return days * kSecondsPerDay + hour * 3'600 + minute * 60 + second;
}

// Nearly a date, mostly.
std::string dateText(Input& in) {
  constexpr int kGreatest[] = {10'000, 13, 32, 25, 61, 61};
  constexpr const char* kSeparators[] = {"-", "-", " ", ":", ":"};
  constexpr std::size_t kFieldCounts[] = {3, 5, 6, 1};
  constexpr const char* kOddities[] = {"", " ", "\t\v", "-", "0", "\x1F", "00000", "+", ":"};
  const std::size_t fields = in.oneOf(kFieldCounts);
  std::string text;
  for (std::size_t i = 0; i < fields; ++i) {
    if (in.oneIn(16)) text += in.oneOf(kOddities);
    const std::string number = std::to_string(in.between(0, kGreatest[i]));
    if (number.size() < 2 && !in.oneIn(8)) text += '0';
    text += number;
    if (i + 1 < fields) text += in.oneIn(32) ? in.oneOf(kOddities) : kSeparators[i];
  }
  return in.oneIn(16) ? text + in.oneOf(kOddities) : text;
}

void readAndWrite(Input& in) {
  const std::string text = in.oneIn(4) ? std::string(in.text(32)) : dateText(in);
  const LocalSeconds local = in.between(kFirst, kLast);
  for (const DatePattern pattern : kPatterns) {
    require(base::parseDate(text, pattern) == expected(text, pattern), text);
    const auto read = base::parseDate(base::formatDate(local, pattern), pattern);
    const LocalSeconds unit = pattern == DatePattern::day      ? kSecondsPerDay
                              : pattern == DatePattern::minute ? 60
                                                               : 1;
    require(read && *read <= local && local < *read + unit && (*read - kFirst) % unit == 0,
            "what is written is read again");
    require(!base::formatDate(in.number(), pattern).empty(), "any local time has a text");
  }
}

constexpr std::int64_t kApart[] = {3'600, 4 * kSecondsPerDay};  // the least that zones may have

struct Zone {
  explicit Zone(Input& in) : isCalm(in.oneIn(2)), first(offset(in)) {
    offsets.insert(first);
    std::int64_t moment = in.oneIn(4) ? in.between(-kFar, kFar) : in.between(0, 4'102'444'800);
    for (std::size_t count = in.below(6); count > 0; --count) {
      moment += kApart[isCalm] + (in.oneIn(2) ? in.between(0, 3 * kSecondsPerDay) : 0);
      transitions[moment] = *offsets.insert(offset(in)).first;
    }
  }

  /// A moment at which something may happen.
  std::int64_t near(Input& in) const {
    if (transitions.empty() || in.oneIn(16)) return in.between(-kFar, kFar);
    const auto change =
        std::next(transitions.begin(), static_cast<std::ptrdiff_t>(in.below(transitions.size())));
    return change->first +
           in.between(-2, 2) * (in.oneIn(2)   ? kSecondsPerDay
                                : in.oneIn(2) ? 3'600
                                              : 1) +
           in.between(-3, 3);
  }

  static std::int32_t offset(Input& in) {
    constexpr std::int32_t kUsual[] = {0, 3'600, 7'200, -3'600, 37'800, 39'600, -36'000, 50'400};
    return in.oneIn(4) ? static_cast<std::int32_t>(in.between(-86'399, 86'399)) : in.oneOf(kUsual);
  }

  static constexpr std::int64_t kFar = 3'155'000'000'000;  // nearly as far as `wholeSeconds` goes
  bool isCalm;
  std::int32_t first;
  fakes::FakeTimeZone::Transitions transitions;
  std::set<std::int32_t> offsets;
};

// All moments at which the clocks of the zone show a local time.
std::set<std::int64_t> momentsOf(LocalSeconds local, const Zone& zone, const TimeZone& clocks) {
  std::set<std::int64_t> moments;
  for (const std::int32_t offset : zone.offsets) {
    if (clocks.offsetAt(local - offset) == offset) moments.insert(local - offset);
  }
  return moments;
}

void searchLocal(Input& in, const Zone& zone, const TimeZone& clocks,
                 const targeting::LocalTime& time) {
  const std::int64_t near = zone.near(in);
  const LocalSeconds local = near + clocks.offsetAt(near + in.between(-1, 1));
  const auto moments = momentsOf(local, zone, clocks);
  const auto moment = time.momentOf(local);
  require(moment == (moments.empty() ? std::nullopt : std::optional(*moments.rbegin())),
          "the last moment that shows the local time");
  require(time.at(static_cast<double>(near) + 0.5) == near + clocks.offsetAt(near),
          "what the clocks show");
}

// Where a whole day ends: after 24 hours, where the clocks then show the same; else where they do;
// else the gap later.
void countDay(Input& in, const Zone& zone, const TimeZone& clocks,
              const targeting::LocalTime& time) {
  const std::int64_t from = zone.near(in);
  const std::int64_t day = in.oneIn(2) ? -kSecondsPerDay : kSecondsPerDay;
  const LocalSeconds neighbour = from + clocks.offsetAt(from) + day;
  const auto moments = momentsOf(neighbour, zone, clocks);
  std::int64_t end = from + day;
  if (moments.empty()) {
    end = neighbour - std::min(clocks.offsetAt(from), clocks.offsetAt(from + day));
  } else if (!moments.contains(end)) {
    end = *moments.begin();
  }
  for (const std::int64_t to : {from, end - 1, end, end + 1}) {
    if (day > 0 ? to < from : to > from) continue;
    require(time.withinOneDay(from, to) == (to == from || (day > 0 ? to < end : to > end)),
            "a whole day ends where it ends");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input in({data, size});
  readAndWrite(in);
  fakes::FakeTimeZone clocks;
  const targeting::LocalTime time(clocks);
  for (int i = 0; i < 2; ++i) {
    const Zone zone(in);
    clocks.change(zone.first, zone.transitions);
    for (int j = 0; j < 8; ++j) {
      searchLocal(in, zone, clocks, time);
      if (zone.isCalm) countDay(in, zone, clocks, time);
    }
  }
  return 0;
}
