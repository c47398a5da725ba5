// SPDX-License-Identifier: Apache-2.0

#include "zones/zone_rule.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdlib>

namespace corvo::corvo_internal::zones {
namespace {

// The years of a cycle, and one more year on either side, because the time of a change may fall
// into another year.
constexpr int kFirstYear = 2000;
constexpr int kLastYear = 2401;
constexpr std::string_view kQuotable =
    "+-0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
constexpr std::string_view kLetters = kQuotable.substr(12);
constexpr std::int32_t kHour = 3'600;
constexpr std::int32_t kDay = 86'400;

/// The day and the local time of a yearly change.
struct YearlyChange {
  enum class Day { julian, fromZero, weekday };
  Day kind = Day::julian;
  int month = 0;
  int week = 0;  ///< 5 means the last one.
  int day = 0;   ///< Of the week, from Sunday; otherwise of the year.
  std::int32_t time = 0;
};

/// Reads a rule from its front. After the first mismatch, nothing is read any more.
class RuleText {
 public:
  explicit RuleText(std::string_view text) : rest_(text) {}

  void name() {
    const bool quoted = take('<');
    const std::size_t size =
        std::min(rest_.find_first_not_of(quoted ? kQuotable : kLetters), rest_.size());
    fits_ &= size >= 3;
    rest_.remove_prefix(size);
    if (quoted) expect('>');
  }

  /// A signed number of hours with optional minutes and seconds, in seconds.
  std::int32_t time(int mostHours) {
    const bool negative = take('-');
    if (!negative) take('+');
    std::int32_t seconds = number(0, mostHours) * kHour;
    if (take(':')) seconds += number(0, 59) * 60;
    if (take(':')) seconds += number(0, 59);
    return negative ? -seconds : seconds;
  }

  YearlyChange yearlyChange() {
    YearlyChange change;
    expect(',');
    if (take('M')) {
      change.kind = YearlyChange::Day::weekday;
      change.month = number(1, 12);
      expect('.');
      change.week = number(1, 5);
      expect('.');
      change.day = number(0, 6);
    } else if (take('J')) {
      change.day = number(1, 365);
    } else {
      change.kind = YearlyChange::Day::fromZero;
      change.day = number(0, 365);
    }
    change.time = take('/') ? time(167) : 2 * kHour;
    return change;
  }

  [[nodiscard]] bool ends() const { return rest_.empty(); }
  [[nodiscard]] bool comesNext(char c) const { return rest_.starts_with(c); }
  [[nodiscard]] bool fits() const { return fits_; }

 private:
  bool take(char c) {
    const bool there = comesNext(c);
    if (there) rest_.remove_prefix(1);
    return there;
  }
  void expect(char c) { fits_ &= take(c); }

  int number(int least, int most) {
    int value = 0;
    std::size_t digits = 0;
    for (; digits < rest_.size() && rest_[digits] >= '0' && rest_[digits] <= '9'; ++digits) {
      value = std::min(value * 10 + (rest_[digits] - '0'), most + 1);
    }
    fits_ &= digits > 0 && value >= least && value <= most;
    rest_.remove_prefix(digits);
    return value;
  }

  std::string_view rest_;
  bool fits_ = true;
};

/// The local time of a change in a year, in seconds since 1970 on a clock without offset.
std::int64_t localTimeOf(const YearlyChange& change, int number) {
  using namespace std::chrono;
  const std::chrono::year year(number);
  sys_days date = sys_days(year / January / 1);
  switch (change.kind) {
    case YearlyChange::Day::julian:  // every year has 365 days and no 29 February
      date += days(change.day - 1 + (year.is_leap() && change.day >= 60 ? 1 : 0));
      break;
    case YearlyChange::Day::fromZero:
      date += days(change.day);
      break;
    case YearlyChange::Day::weekday: {
      const auto inMonth = year / month(static_cast<unsigned>(change.month));
      const weekday day(static_cast<unsigned>(change.day));
      date = change.week == 5 ? sys_days(inMonth / day[last])
                              : sys_days(inMonth / day[static_cast<unsigned>(change.week)]);
    }
  }
  return std::int64_t{date.time_since_epoch().count()} * kDay + change.time;
}

/// Whether a zone may have this offset; TZ itself permits slightly more.
bool isOffset(std::int32_t seconds) { return std::abs(seconds) < kDay; }

}  // namespace

std::optional<std::vector<OffsetChange>> changesByRule(std::string_view rule) {
  RuleText in(rule);
  in.name();
  const std::int32_t standard = -in.time(24);  // written as hours west of Greenwich
  if (in.fits() && in.ends() && isOffset(standard)) return {{{kCycleStart, standard}}};
  in.name();
  const std::int32_t daylight = in.comesNext(',') ? standard + kHour : -in.time(24);
  const YearlyChange start = in.yearlyChange();
  const YearlyChange end = in.yearlyChange();
  if (!in.fits() || !in.ends() || !isOffset(standard) || !isOffset(daylight)) return std::nullopt;

  std::vector<OffsetChange> changes;
  const auto add = [&changes](std::int64_t moment, std::int32_t offset) {
    const bool inside = moment >= kCycleStart && moment < kCycleStart + kCalendarCycle;
    if (inside) changes.push_back({moment, offset});
  };
  for (int year = kFirstYear; year <= kLastYear; ++year) {
    add(localTimeOf(start, year) - standard, daylight);
    add(localTimeOf(end, year) - daylight, standard);
  }
  // If one year's last change coincides with the next year's first one, the later one counts. This
  // is how a rule makes daylight saving time permanent.
  std::ranges::stable_sort(changes, {}, &OffsetChange::moment);
  return changes;
}

}  // namespace corvo::corvo_internal::zones
