#include "base/civil_time.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstddef>

namespace corvo::base {
namespace {

// The calendar repeats after this many years and days.
constexpr std::int64_t kYearsPerEra = 400;
constexpr std::int64_t kDaysPerEra = 146'097;

constexpr std::string_view kShape = "yyyy-MM-dd HH:mm:ss";

std::size_t lengthOf(DatePattern pattern) noexcept {
  switch (pattern) {
    case DatePattern::day:
      return 10;
    case DatePattern::minute:
      return 16;
    case DatePattern::second:
      break;
  }
  return kShape.size();
}

bool hasSeparators(std::string_view text) noexcept {
  for (const std::size_t at : {4U, 7U, 10U, 13U, 16U}) {
    if (at < text.size() && text[at] != kShape[at]) return false;
  }
  return true;
}

// The number in a field, 0 where the text is too short for it. `isValid` is cleared where anything
// but digits stands there.
int field(std::string_view text, std::size_t begin, std::size_t width, bool& isValid) noexcept {
  if (begin >= text.size()) return 0;
  int value = 0;
  for (const char digit : text.substr(begin, width)) {
    isValid &= digit >= '0' && digit <= '9';
    value = value * 10 + (digit - '0');
  }
  return value;
}

void append(std::string& text, std::int64_t value, std::size_t width) {
  const std::string digits = std::to_string(value < 0 ? -value : value);
  if (value < 0) text += '-';
  if (digits.size() < width) text.append(width - digits.size(), '0');
  text += digits;
}

std::int64_t floorDivide(std::int64_t value, std::int64_t by) noexcept {
  return value / by - (value % by < 0 ? 1 : 0);
}

std::int64_t floorModulo(std::int64_t value, std::int64_t by) noexcept {
  const std::int64_t rest = value % by;
  return rest < 0 ? rest + by : rest;
}

}  // namespace

std::optional<LocalSeconds> parseDate(std::string_view text, DatePattern pattern) noexcept {
  if (text.size() != lengthOf(pattern) || !hasSeparators(text)) return {};
  bool isValid = true;
  const int year = field(text, 0, 4, isValid);
  const int month = field(text, 5, 2, isValid);
  const int day = field(text, 8, 2, isValid);
  const LocalSeconds hour = field(text, 11, 2, isValid);
  const LocalSeconds minute = field(text, 14, 2, isValid);
  const LocalSeconds second = field(text, 17, 2, isValid);
  if (!isValid || year == 0 || hour > 23 || minute > 59 || second > 59) return {};
  const std::chrono::year_month_day date{std::chrono::year(year),
                                         std::chrono::month(static_cast<unsigned>(month)),
                                         std::chrono::day(static_cast<unsigned>(day))};
  if (!date.ok()) return {};
  const LocalSeconds days = std::chrono::sys_days(date).time_since_epoch().count();
  return days * kSecondsPerDay + hour * 3'600 + minute * 60 + second;
}

std::string formatDate(LocalSeconds local, DatePattern pattern) {
  const std::int64_t days = floorDivide(local, kSecondsPerDay);
  const std::int64_t time = floorModulo(local, kSecondsPerDay);
  // std::chrono's years end at 32,767; those of one era after 1970 stand for all others.
  const std::int64_t era = floorDivide(days, kDaysPerEra);
  const std::chrono::year_month_day date{
      std::chrono::sys_days(std::chrono::days(floorModulo(days, kDaysPerEra)))};

  std::string text;
  append(text, static_cast<int>(date.year()) + era * kYearsPerEra, 4);
  append(text += '-', static_cast<unsigned>(date.month()), 2);
  append(text += '-', static_cast<unsigned>(date.day()), 2);
  if (pattern == DatePattern::day) return text;
  append(text += ' ', time / 3'600, 2);
  append(text += ':', time / 60 % 60, 2);
  if (pattern == DatePattern::second) append(text += ':', time % 60, 2);
  return text;
}

LocalSeconds startOfMinute(LocalSeconds local) noexcept { return local - floorModulo(local, 60); }

std::int64_t wholeSeconds(double moment) noexcept {
  constexpr double kFarthest = 100'000 * 365.25 * kSecondsPerDay;
  if (std::isnan(moment)) return 0;
  return static_cast<std::int64_t>(std::floor(std::clamp(moment, -kFarthest, kFarthest)));
}

}  // namespace corvo::base
