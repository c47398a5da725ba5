#include "base/number.h"

#include <array>
#include <charconv>
#include <clocale>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <system_error>
#ifdef __APPLE__
#include <xlocale.h>
#endif

namespace corvo::base {
namespace {

double strtodInCLocale(const char* text, char** end) {
#ifdef _WIN32
  static const _locale_t locale = _create_locale(LC_ALL, "C");
  return _strtod_l(text, end, locale);
#else
  static const locale_t locale = newlocale(LC_ALL_MASK, "C", nullptr);
  return strtod_l(text, end, locale);
#endif
}

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

// From the shortest scientific form, which is sign, digits with a point after the first, exponent.
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
  if (std::isnan(value)) return "nan";  // without the sign that it may have
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
  constexpr std::string_view kWhiteSpace = " \t\n\v\f\r";
  if (text.empty() || kWhiteSpace.find(text.front()) != std::string_view::npos) return {};
  std::array<char, 64> buffer;
  std::string longText;
  const char* begin = buffer.data();
  if (text.size() < buffer.size()) {
    std::memcpy(buffer.data(), text.data(), text.size());
    buffer[text.size()] = '\0';
  } else {
    begin = longText.assign(text).c_str();
  }
  char* end = nullptr;
  const double value = strtodInCLocale(begin, &end);
  if (static_cast<std::size_t>(end - begin) != text.size()) return {};
  return value;
}

std::optional<double> parseDecimal(std::string_view text) {
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

}  // namespace corvo::base
