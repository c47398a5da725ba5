// SPDX-License-Identifier: Apache-2.0

#include "base/number.h"

#include <algorithm>
#include <array>
#include <cfloat>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <limits>
#include <system_error>
#ifndef __cpp_lib_to_chars
#include <clocale>
#include <cstdlib>
#ifdef __APPLE__
#include <xlocale.h>
#endif
#endif

namespace corvo::corvo_internal::base {
namespace {

bool isDigit(char c) noexcept { return c >= '0' && c <= '9'; }

bool takeOneOf(std::string_view set, std::string_view& text) noexcept {
  if (text.empty() || set.find(text.front()) == std::string_view::npos) return false;
  text.remove_prefix(1);
  return true;
}

bool takeDigits(std::string_view& text) noexcept {
  const std::size_t before = text.size();
  while (!text.empty() && isDigit(text.front())) text.remove_prefix(1);
  return text.size() != before;
}

bool isDecimal(std::string_view text) noexcept {
  takeOneOf("+-", text);
  const bool whole = takeDigits(text);
  const bool fraction = takeOneOf(".", text) && takeDigits(text);
  if (!whole && !fraction) return false;
  if (takeOneOf("eE", text)) {
    takeOneOf("+-", text);
    if (!takeDigits(text)) return false;
  }
  return text.empty();
}

// Parses at most 15 digits with an optional point and sign. The digits and the power of ten are
// exact as doubles, so one division rounds correctly (Clinger, "How to Read Floating Point Numbers
// Accurately", 1990). Empty for all other texts.
std::optional<double> plainNumber(std::string_view text) noexcept {
  constexpr std::array<double, 16> kPowers{1e0, 1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                           1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
  const bool isNegative = text.substr(0, 1) == "-";
  takeOneOf("+-", text);
  const std::size_t point = text.find('.');
  const std::size_t digits = text.size() - (point == std::string_view::npos ? 0 : 1);
  if (digits == 0 || digits >= kPowers.size() || FLT_EVAL_METHOD != 0) return std::nullopt;
  std::int64_t number = 0;
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (at == point) continue;
    if (!isDigit(text[at])) return std::nullopt;
    number = 10 * number + (text[at] - '0');
  }
  const std::size_t decimals = point == std::string_view::npos ? 0 : digits - point;
  const double magnitude = static_cast<double>(number) / kPowers[decimals];
  return isNegative ? -magnitude : magnitude;
}

#ifdef __cpp_lib_to_chars

enum class Notation : bool { decimal, hexadecimal };

// The exponent as written: decimal, or binary in hexadecimal notation. If it overflows, a number
// larger than any possible digit count.
std::int64_t writtenExponent(std::string_view text) noexcept {
  constexpr std::int64_t kBeyond = std::numeric_limits<std::int64_t>::max() / 2;
  const bool isNegative = text.substr(0, 1) == "-";
  takeOneOf("+-", text);
  std::int64_t exponent = 0;
  const auto error = std::from_chars(text.data(), text.data() + text.size(), exponent).ec;
  if (error == std::errc::result_out_of_range) exponent = kBeyond;
  return isNegative ? -exponent : exponent;
}

// The value of a number that is out of range, because `from_chars` does not say in which direction:
// infinity if its first significant digit is left of the point, otherwise zero.
double beyondRange(std::string_view text, Notation notation) noexcept {
  const bool hexadecimal = notation == Notation::hexadecimal;
  const std::size_t mark = std::min(text.find_first_of(hexadecimal ? "pP" : "eE"), text.size());
  const std::size_t point = std::min(text.find('.'), mark);
  const std::size_t digit = text.find_first_not_of("0.");
  std::int64_t place = static_cast<std::int64_t>(point) - static_cast<std::int64_t>(digit);
  if (hexadecimal) place *= 4;
  if (mark != text.size()) place += writtenExponent(text.substr(mark + 1));
  return place > 0 ? std::numeric_limits<double>::infinity() : 0.0;
}

// Parses a whole text without a sign.
std::optional<double> magnitudeOf(std::string_view text) noexcept {
  Notation notation = Notation::decimal;
  if (text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X')) {
    notation = Notation::hexadecimal;
    text.remove_prefix(2);
    if (text.find_first_of(".0123456789abcdefABCDEF") != 0) return {};
  }
  double value = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] =
      std::from_chars(text.data(), end, value,
                      notation == Notation::decimal ? std::chars_format::general  //
                                                    : std::chars_format::hex);
  if (stop != end || error == std::errc::invalid_argument) return {};
  return error == std::errc{} ? value : beyondRange(text, notation);
}

#else  // libc++ has no `from_chars` for floating point; the systems that use it have `strtod_l`

std::optional<double> magnitudeOf(std::string_view text) {
  static const locale_t locale = newlocale(LC_ALL_MASK, "C", nullptr);
  constexpr std::string_view kWhiteSpace = " \t\n\v\f\r";
  if (kWhiteSpace.find(text.front()) != std::string_view::npos) return {};
  const std::string terminated(text);
  char* end = nullptr;
  const double value = strtod_l(terminated.c_str(), &end, locale);
  if (end != terminated.c_str() + text.size()) return {};
  return value;
}

#endif

// `scientific` is in the shortest scientific form: sign, digits with a point after the first,
// exponent.
std::string inFixedNotation(std::string_view scientific, int exponent) {
  std::string text;
  if (takeOneOf("-", scientific)) text += '-';
  std::string digits(scientific.substr(0, scientific.find('e')));
  if (digits.size() > 1) digits.erase(1, 1);

  if (exponent < 0) {
    text += "0.";
    return text.append(static_cast<std::size_t>(-exponent - 1), '0') + digits;
  }
  const auto whole = static_cast<std::size_t>(exponent) + 1;
  if (digits.size() <= whole) digits.resize(whole + 1, '0');
  text.append(digits, 0, whole) += '.';
  return text.append(digits, whole);
}

template <class Float>
std::string describeFloat(Float value) {
  if (std::isnan(value)) return "nan";  // a NaN's sign is not printed
  std::array<char, 32> buffer;
  const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value,
                                 std::chars_format::scientific)
                       .ptr;
  const std::string_view text(buffer.data(), static_cast<std::size_t>(end - buffer.data()));
  if (std::isinf(value)) return std::string(text);

  const char* sign = text.data() + text.find('e') + 1;
  int exponent = 0;
  std::from_chars(*sign == '+' ? sign + 1 : sign, end, exponent);
  return exponent < -4 || exponent >= 16 ? std::string(text) : inFixedNotation(text, exponent);
}

}  // namespace

std::optional<double> parseDouble(std::string_view text) {
  if (const auto plain = plainNumber(text)) return plain;
  const bool isNegative = text.substr(0, 1) == "-";
  takeOneOf("+-", text);
  if (text.empty() || text.front() == '+' || text.front() == '-') return {};
  const std::optional<double> magnitude = magnitudeOf(text);
  return isNegative && magnitude ? -*magnitude : magnitude;
}

std::optional<double> parseDecimal(std::string_view text) {
  if (const auto plain = plainNumber(text)) return plain;
  if (!isDecimal(text)) return {};
  return parseDouble(text);
}

std::optional<std::int64_t> parseInteger(std::string_view text) noexcept {
  if (text.substr(0, 1) == "+") {
    text.remove_prefix(1);
    if (text.substr(0, 1) == "-") return {};
  }
  std::int64_t value = 0;
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, value);
  if (error != std::errc{} || stop != end) return {};
  return value;
}

std::string describe(double value) { return describeFloat(value); }
std::string describe(float value) { return describeFloat(value); }

}  // namespace corvo::corvo_internal::base
