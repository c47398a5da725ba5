#pragma once

#include <concepts>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <variant>

#include "json/json_writer.h"
#include "json/stored_date.h"

// The kinds of dynamic values that no document holds. Boxed numbers, dates, URLs and other
// encodables are opaque: see `DynamicValue` for what becomes of their equality.

namespace corvo::corvo_internal::dynamic {

struct EncodingFailure;

/// The absence of a value: what a null pointer literal stands for. Another kind than JSON's null.
struct None {
  bool operator==(const None&) const = default;
};

/// An integer of a stated width, which is another kind than the native integer of that width.
template <std::integral T>
struct Sized {
  T value;
  bool operator==(const Sized&) const = default;
};

/// A number with the one-character code of the type as which it is encoded. Equal are equal
/// numbers, whatever their types and codes. A code beyond 7-bit ASCII stops the process.
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

/// A resource locator, unchecked.
struct Url {
  std::string text;
  bool operator==(const Url&) const = default;
};

/// Any other value that can encode itself: `encode`, never empty, writes exactly one JSON value, or
/// tells why it cannot and where in itself. Equal are those that write the same; one that cannot is
/// equal to nothing.
struct OtherEncodable {
  std::function<std::optional<EncodingFailure>(json::JsonWriter&)> encode;
  friend bool operator==(const OtherEncodable& a, const OtherEncodable& b);
};

}  // namespace corvo::corvo_internal::dynamic
