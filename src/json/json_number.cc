// SPDX-License-Identifier: Apache-2.0

#include "json/json_number.h"

#include <algorithm>
#include <limits>

namespace corvo::corvo_internal::json {
namespace {

constexpr auto kMaxUnsigned = std::numeric_limits<std::uint64_t>::max();

// Larger exponents make no difference: no literal has that many digits.
constexpr std::int64_t kFarExponent = 1'000'000'000'000;

bool take(char c, std::string_view& text) noexcept {
  if (text.empty() || text.front() != c) return false;
  text.remove_prefix(1);
  return true;
}

std::string_view takeDigits(std::string_view& text) noexcept {
  const auto count = std::min(text.find_first_not_of("0123456789"), text.size());
  const auto digits = text.substr(0, count);
  text.remove_prefix(count);
  return digits;
}

std::int64_t exponentOf(std::string_view digits) noexcept {
  std::int64_t value = 0;
  for (const char digit : digits) value = std::min(value * 10 + (digit - '0'), kFarExponent);
  return value;
}

bool appendDigit(std::uint64_t& value, char digit) noexcept {
  const auto added = static_cast<std::uint64_t>(digit - '0');
  if (value > (kMaxUnsigned - added) / 10) return false;
  value = value * 10 + added;
  return true;
}

}  // namespace

std::optional<JsonNumber> JsonNumber::parse(std::string_view literal) noexcept {
  JsonNumber number;
  number.negative = take('-', literal);
  number.whole = takeDigits(literal);
  if (number.whole.empty() || (number.whole.size() > 1 && number.whole.front() == '0')) return {};
  if (take('.', literal) && (number.fraction = takeDigits(literal)).empty()) return {};
  if (take('e', literal) || take('E', literal)) {
    const bool down = take('-', literal);
    if (!down) take('+', literal);
    const auto digits = takeDigits(literal);
    if (digits.empty()) return {};
    number.exponent = down ? -exponentOf(digits) : exponentOf(digits);
  }
  return literal.empty() ? std::optional(number) : std::nullopt;
}

std::optional<std::uint64_t> JsonNumber::magnitude() const noexcept {
  const auto size = static_cast<std::int64_t>(whole.size() + fraction.size());
  const auto point = static_cast<std::int64_t>(whole.size()) + exponent;
  std::uint64_t value = 0;
  std::int64_t at = 0;
  for (const auto digits : {whole, fraction}) {
    for (const char digit : digits) {
      if (at++ < point ? !appendDigit(value, digit) : digit != '0') return {};
    }
  }
  for (at = size; at < point && value != 0; ++at) {
    if (!appendDigit(value, '0')) return {};
  }
  return value;
}

std::optional<std::int64_t> JsonNumber::asSigned() const noexcept {
  constexpr std::uint64_t kMax = kMaxUnsigned / 2;
  const auto value = magnitude();
  if (!value || *value > kMax + (negative ? 1 : 0)) return {};
  return static_cast<std::int64_t>(negative ? 0 - *value : *value);
}

std::optional<std::uint64_t> JsonNumber::asUnsigned() const noexcept {
  const auto value = magnitude();
  return negative && value != 0u ? std::nullopt : value;
}

}  // namespace corvo::corvo_internal::json
