// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace corvo::corvo_internal::base {

/// Parses the whole text as ISO C `strtod` does in the C locale, whatever locale the process has
/// set. Empty for an empty text and for one that starts with white space, contains a NUL or
/// continues after the number. Out-of-range values become infinity, zero or a denormal, as with
/// `strtod`. The characters in parentheses after "nan" are checked and ignored.
[[nodiscard]] std::optional<double> parseDouble(std::string_view text);

/// The same for plain decimal numbers: sign, digits with an optional point (".5" and "5." too),
/// exponent. Rejects hexadecimal numbers, "inf" and "nan".
[[nodiscard]] std::optional<double> parseDecimal(std::string_view text);

/// Parses an optional sign and at least one ASCII digit; the value must fit 64 bits.
[[nodiscard]] std::optional<std::int64_t> parseInteger(std::string_view text) noexcept;

/// The shortest text that parses back to the same value. Fixed notation for 1e-4 <= |x| < 1e16,
/// with ".0" for whole numbers (42.0, 0.0001); otherwise scientific notation with at least two
/// exponent digits (1e+16, 1e-05). Also "nan", "inf", "-inf", "0.0" and "-0.0".
[[nodiscard]] std::string describe(double value);
/// The same with the shortest digits of a float, padded with zeros (3400000000000000.0). The limits
/// of fixed notation apply to these digits, so 1e-4f is 0.0001 and 1e16f is 1e+16.
[[nodiscard]] std::string describe(float value);

}  // namespace corvo::corvo_internal::base
