// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace corvo::corvo_internal::json {

/// The parts of a number literal by the grammar of RFC 8259, section 6. Views into the literal.
struct JsonNumber {
  bool negative = false;
  std::string_view whole;
  std::string_view fraction;
  std::int64_t exponent = 0;

  /// Empty if the text as a whole is not a JSON number literal.
  [[nodiscard]] static std::optional<JsonNumber> parse(std::string_view literal) noexcept;

  /// The number if it is mathematically an integer within the type's range, however it is written:
  /// 1.0 and 10e-1 are 1. Decided on the digits, and so exact even where no double is.
  [[nodiscard]] std::optional<std::int64_t> asSigned() const noexcept;
  [[nodiscard]] std::optional<std::uint64_t> asUnsigned() const noexcept;

 private:
  [[nodiscard]] std::optional<std::uint64_t> magnitude() const noexcept;
};

}  // namespace corvo::corvo_internal::json
