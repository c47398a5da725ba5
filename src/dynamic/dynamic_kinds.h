// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <concepts>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <variant>

#include "json/json_writer.h"
#include "json/stored_date.h"

// Kinds of dynamic values that no document contains. Boxed numbers, dates, URLs and other
// encodables are opaque; `DynamicValue` describes how they compare.

namespace corvo::corvo_internal::dynamic {

struct EncodingFailure;

/// The absence of a value, as denoted by a null pointer literal. Differs from JSON's null.
struct None {
  bool operator==(const None&) const = default;
};

/// An integer of a fixed width. A different kind from the native integer of the same width.
template <std::integral T>
struct Sized {
  T value;
  bool operator==(const Sized&) const = default;
};

/// A number with the one-character code of the type that it is encoded as. Equality compares only
/// the numbers, not their types or codes. A code beyond 7-bit ASCII aborts the process.
class BoxedNumber {
 public:
  using Number = std::variant<std::int64_t, std::uint64_t, double>;

  BoxedNumber(Number number, char typeCode);

  [[nodiscard]] const Number& number() const noexcept { return number_; }
  [[nodiscard]] char typeCode() const noexcept { return typeCode_; }

  friend bool operator==(const BoxedNumber& a, const BoxedNumber& b);

 private:
  Number number_;
  char typeCode_;
};

/// A point in time.
struct Date {
  json::StoredDate moment;
  bool operator==(const Date&) const = default;
};

/// A URL, not validated.
struct Url {
  std::string text;
  bool operator==(const Url&) const = default;
};

/// Any other value that can encode itself. `encode` must not be empty. It writes exactly one JSON
/// value, or returns why it cannot and where inside itself. Values are equal if they write the same
/// JSON; a value that cannot be encoded equals nothing.
struct OtherEncodable {
  std::function<std::optional<EncodingFailure>(json::JsonWriter&)> encode;
  friend bool operator==(const OtherEncodable& a, const OtherEncodable& b);
};

}  // namespace corvo::corvo_internal::dynamic
