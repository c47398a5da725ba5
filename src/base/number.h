#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace corvo::corvo_internal::base {

/// The whole text as ISO C `strtod` reads it in the C locale, whatever locale the process has set.
/// None for an empty text, one that begins with white space, holds a NUL or has more after the
/// number. Out of range gives infinity, zero or a denormal, as `strtod` does. What follows "nan" in
/// parentheses is checked and dropped.
[[nodiscard]] std::optional<double> parseDouble(std::string_view text);

/// The same for plain decimal numbers only: sign, digits with or without a point (".5" and "5."
/// too), exponent; neither hexadecimal nor "inf" nor "nan".
[[nodiscard]] std::optional<double> parseDecimal(std::string_view text);

/// An optional sign and at least one ASCII digit, within 64 bits; nothing else.
[[nodiscard]] std::optional<std::int64_t> parseInteger(std::string_view text) noexcept;

/// The shortest digits that read back: in fixed notation for 1e-4 <= |x| < 1e16, with ".0" where
/// the number is whole (42.0, 0.0001), else in scientific notation with at least two exponent
/// digits (1e+16, 1e-05); "nan", "inf", "-inf", "0.0", "-0.0".
[[nodiscard]] std::string describe(double value);
/// The same with the shortest digits of a float, filled up with zeros (3400000000000000.0); the
/// limits of the fixed notation are those of the digits, so 1e-4f is 0.0001 and 1e16f is 1e+16.
[[nodiscard]] std::string describe(float value);

}  // namespace corvo::corvo_internal::base
