#pragma once

#include <concepts>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <variant>

#include "model/codec.h"
#include "model/json_writer.h"

// The kinds of dynamic values that no document holds.

namespace corvo::model {

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

/// A number with the one-character code of the type as which it is encoded. Equal to nothing, not
/// even to itself; so are the three kinds below. A code beyond 7-bit ASCII stops the process.
class BoxedNumber {
 public:
  using Number = std::variant<std::int64_t, std::uint64_t, double>;

  BoxedNumber(Number number, char typeCode);

  [[nodiscard]] const Number& number() const noexcept { return number_; }
  [[nodiscard]] char typeCode() const noexcept { return typeCode_; }

  friend bool operator==(const BoxedNumber&, const BoxedNumber&) { return false; }

 private:
  Number number_;
  char typeCode_;
};

/// A point in time.
struct Date {
  StoredDate moment;
  friend bool operator==(const Date&, const Date&) { return false; }
};

/// A resource locator, unchecked.
struct Url {
  std::string text;
  friend bool operator==(const Url&, const Url&) { return false; }
};

/// Any other value that can encode itself: `encode`, never empty, writes exactly one JSON value, or
/// tells why it cannot and where in itself.
struct OtherEncodable {
  std::function<std::optional<EncodingFailure>(JsonWriter&)> encode;
  friend bool operator==(const OtherEncodable&, const OtherEncodable&) { return false; }
};

}  // namespace corvo::model
