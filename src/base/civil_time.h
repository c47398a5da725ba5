// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace corvo::corvo_internal::base {

/// A local date and time in the proleptic Gregorian calendar, counted in seconds as if local time
/// were UTC: seconds since 1970-01-01 00:00:00 on a clock that shows local time and never jumps.
using LocalSeconds = std::int64_t;

constexpr LocalSeconds kSecondsPerDay = 86'400;

/// The supported date formats.
enum class DatePattern {
  day,     ///< "yyyy-MM-dd", midnight at the start of the day
  minute,  ///< "yyyy-MM-dd HH:mm"
  second   ///< "yyyy-MM-dd HH:mm:ss"
};

/// The local time that the whole text denotes. Empty if the text has another form or the date does
/// not exist.
///
/// Year, month and hour have one or more digits; day, minute and second have two or more; leading
/// zeros are allowed. Blanks are U+0009 to U+000D and U+0020. At least one stands between date and
/// time, and any number may precede each number. Digits are ASCII, signs are not allowed, years
/// range from 1 to 9999.
[[nodiscard]] std::optional<LocalSeconds> parseDate(std::string_view text,
                                                    DatePattern pattern) noexcept;

/// Formats a local time. Years outside 0001 to 9999 get the digits and the sign that they need:
/// 10000; 0000 is the year before 0001, and -0001 the year before that.
[[nodiscard]] std::string formatDate(LocalSeconds local, DatePattern pattern);

/// The local time at the start of its minute.
[[nodiscard]] LocalSeconds startOfMinute(LocalSeconds local) noexcept;

/// A point in time in whole seconds, rounded down. Values beyond the calendar are clamped to about
/// a hundred thousand years around 1970; NaN becomes 1970.
[[nodiscard]] std::int64_t wholeSeconds(double moment) noexcept;

}  // namespace corvo::corvo_internal::base
