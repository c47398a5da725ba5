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

/// The patterns in which dates are written.
enum class DatePattern {
  day,     ///< "yyyy-MM-dd", midnight at the start of the day
  minute,  ///< "yyyy-MM-dd HH:mm"
  second   ///< "yyyy-MM-dd HH:mm:ss"
};

/// The local time that a text names as a whole; none when it has another form, or no calendar has
/// that date and time. Year, month and hour have one digit or more, day, minute and second two or
/// more, leading zeros as many as there are. U+0009 to U+000D and U+0020 are blanks: one or more
/// stand between date and time, any number before each number. Digits are ASCII, there are no
/// signs, years go from 1 to 9999.
[[nodiscard]] std::optional<LocalSeconds> parseDate(std::string_view text,
                                                    DatePattern pattern) noexcept;

/// The text of a local time. Years outside 0001 to 9999 are written with the digits and the sign
/// that they need (10000; 0000 is the year before 0001, -0001 the one before that).
[[nodiscard]] std::string formatDate(LocalSeconds local, DatePattern pattern);

/// The local time at the start of its minute.
[[nodiscard]] LocalSeconds startOfMinute(LocalSeconds local) noexcept;

/// The whole seconds of a moment, rounded down; a moment that is no number or beyond the calendar
/// becomes the nearest one within about a hundred thousand years of 1970 (no number: 1970).
[[nodiscard]] std::int64_t wholeSeconds(double moment) noexcept;

}  // namespace corvo::corvo_internal::base
