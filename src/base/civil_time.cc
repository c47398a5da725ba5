// SPDX-License-Identifier: Apache-2.0

#include "base/civil_time.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstddef>

namespace corvo::corvo_internal::base {
namespace {

// The calendar repeats after this many years, which have this many days.
constexpr std::int64_t kYearsPerEra = 400;
constexpr std::int64_t kDaysPerEra = 146'097;

constexpr bool isBlank(char c) noexcept { return c == ' ' || (c >= '\t' && c <= '\r'); }

// Reads a date from the front of a text. After the first mismatch, nothing is read any more.
class DateText {
 public:
  explicit DateText(std::string_view text) noexcept : rest_(text) {}

  // Blanks, then a number with at least this many digits. Apart from leading zeros it has at most
  // four, because no field has a greater value.
  unsigned number(std::size_t leastDigits) noexcept {
    while (!rest_.empty() && isBlank(rest_.front())) rest_.remove_prefix(1);
    std::size_t digits = 0;
    unsigned value = 0;
    for (; digits < rest_.size() && rest_[digits] >= '0' && rest_[digits] <= '9'; ++digits) {
      value = value * 10 + static_cast<unsigned>(rest_[digits] - '0');
      isWhole_ &= value <= 9'999;
    }
    isWhole_ &= digits >= leastDigits;
    rest_.remove_prefix(digits);
    return value;
  }

  void separator(char c) noexcept { take(rest_.starts_with(c)); }
  // Further blanks belong to the number that follows.
  void blank() noexcept { take(!rest_.empty() && isBlank(rest_.front())); }

  // Whether the whole text matched.
  [[nodiscard]] bool isRead() const noexcept { return isWhole_ && rest_.empty(); }

 private:
  void take(bool fits) noexcept {
    isWhole_ &= fits;
    if (fits) rest_.remove_prefix(1);
  }

  std::string_view rest_;
  bool isWhole_ = true;
};

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
  DateText in(text);
  const unsigned year = in.number(1);
  in.separator('-');
  const unsigned month = in.number(1);
  in.separator('-');
  const unsigned day = in.number(2);
  unsigned hour = 0;
  unsigned minute = 0;
  unsigned second = 0;
  if (pattern != DatePattern::day) {
    in.blank();
    hour = in.number(1);
    in.separator(':');
    minute = in.number(2);
  }
  if (pattern == DatePattern::second) {
    in.separator(':');
    second = in.number(2);
  }
  // std::chrono keeps months and days in a byte.
  if (!in.isRead() || year == 0 || month > 12 || day > 31) return {};
  if (hour > 23 || minute > 59 || second > 59) return {};
  const std::chrono::year_month_day date{std::chrono::year(static_cast<int>(year)),
                                         std::chrono::month(month), std::chrono::day(day)};
  if (!date.ok()) return {};
  const LocalSeconds days = std::chrono::sys_days(date).time_since_epoch().count();
  const unsigned time = (hour * 60 + minute) * 60 + second;
  return days * kSecondsPerDay + time;
}

std::string formatDate(LocalSeconds local, DatePattern pattern) {
  const std::int64_t days = floorDivide(local, kSecondsPerDay);
  const std::int64_t time = floorModulo(local, kSecondsPerDay);
  // std::chrono's years end at 32,767, so dates are computed in the 400 years that start in 1970,
  // then shifted.
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

}  // namespace corvo::corvo_internal::base
