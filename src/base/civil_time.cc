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

std::string_view shapeOf(DatePattern pattern) noexcept {
  constexpr std::string_view kShape = "0000-00-00 00:00:00";
  switch (pattern) {
    case DatePattern::day:
      return kShape.substr(0, 10);
    case DatePattern::minute:
      return kShape.substr(0, 16);
    case DatePattern::second:
      break;
  }
  return kShape;
}

bool hasShape(std::string_view text, std::string_view shape) noexcept {
  return std::equal(text.begin(), text.end(), shape.begin(), shape.end(), [](char given, char at) {
    return at == '0' ? given >= '0' && given <= '9' : given == at;
  });
}

// A field that the text is too short for is 0.
int field(std::string_view text, std::size_t begin, std::size_t width) noexcept {
  if (begin >= text.size()) return 0;
  int value = 0;
  for (const char digit : text.substr(begin, width)) value = value * 10 + (digit - '0');
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
  if (!hasShape(text, shapeOf(pattern))) return {};
  const int year = field(text, 0, 4);
  const std::chrono::year_month_day date{
      std::chrono::year(year), std::chrono::month(static_cast<unsigned>(field(text, 5, 2))),
      std::chrono::day(static_cast<unsigned>(field(text, 8, 2)))};
  const LocalSeconds hour = field(text, 11, 2);
  const LocalSeconds minute = field(text, 14, 2);
  const LocalSeconds second = field(text, 17, 2);
  if (year == 0 || !date.ok() || hour > 23 || minute > 59 || second > 59) return {};

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

std::int64_t wholeSeconds(double moment) noexcept {
  constexpr double kFarthest = 100'000 * 365.25 * kSecondsPerDay;
  if (std::isnan(moment)) return 0;
  return static_cast<std::int64_t>(std::floor(std::clamp(moment, -kFarthest, kFarthest)));
}

}  // namespace corvo::base
