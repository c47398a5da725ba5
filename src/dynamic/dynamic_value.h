// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/json_value.h>

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <map>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

#include "dynamic/dynamic_kinds.h"
#include "json/json_writer.h"

namespace corvo::corvo_internal::dynamic {

class DynamicValue;

using DynamicArray = std::vector<DynamicValue>;
using DynamicObject = std::map<std::string, DynamicValue, std::less<>>;

/// A JSON value whose kind is not fixed in advance, for the same reader and writer as the typed
/// records. Values in a document have the kinds of `JsonValue`; the other kinds are for values
/// built in code. The kind is part of the value: the integers 1 of two widths and 1.0 are three
/// different values. Texts are well-formed UTF-8. A plain value type; the stack limits its nesting.
class DynamicValue {
 public:
  using Null = JsonValue::Null;
  using Kinds = std::variant<None, Null, bool, std::int64_t, Sized<std::int8_t>,
                             Sized<std::int16_t>, Sized<std::int32_t>, Sized<std::int64_t>,
                             std::uint64_t, Sized<std::uint8_t>, Sized<std::uint16_t>,
                             Sized<std::uint32_t>, Sized<std::uint64_t>, float, double, std::string,
                             BoxedNumber, Date, Url, DynamicArray, DynamicObject, OtherEncodable>;

  DynamicValue(std::nullptr_t = nullptr) {}
  /// A value of any kind, or a literal: integer literals are native and signed, text literals are
  /// strings.
  template <class Kind>
  requires(!std::same_as<std::remove_cvref_t<Kind>, DynamicValue> &&
           std::constructible_from<Kinds, Kind>) DynamicValue(Kind&& kind)
      : value_(std::forward<Kind>(kind)) {}
  explicit DynamicValue(const JsonValue& json);

  [[nodiscard]] static DynamicValue array(std::initializer_list<DynamicValue> elements);
  /// Keeps the first of duplicate keys.
  [[nodiscard]] static DynamicValue object(
      std::initializer_list<std::pair<std::string, DynamicValue>> members);

  [[nodiscard]] const Kinds& value() const noexcept { return value_; }

  /// Writes one JSON value: dates in the format of stored dates, URLs as strings, boxed numbers as
  /// their code says. Fails for a number that JSON cannot express and for an unknown code; `out` is
  /// then no longer faithful.
  [[nodiscard]] std::optional<EncodingFailure> encode(json::JsonWriter& out) const;
  /// The value as JSON text, or the failure.
  [[nodiscard]] std::variant<std::string, EncodingFailure> toJson() const;

  /// Values are equal if kind and contents are equal. An opaque value (boxed
  /// number, date, URL, other encodable) equals nothing, not even itself. Lists and objects,
  /// however, are compared deeply, and there the equality of the opaque kinds applies.
  friend bool operator==(const DynamicValue& a, const DynamicValue& b);
  /// Equal values have equal hashes. Null, none and opaque values contribute nothing.
  [[nodiscard]] std::size_t hash() const;

  /// A stable text for people: nil, null, true, 1, 0.5, [1, "a"], ["k": 1] with sorted keys, [:]
  /// for the empty object, dates in UTC, URLs verbatim. Other encodables appear as the JSON that
  /// they write or, if they fail, as the reason in angle brackets. Strings are quoted and escaped
  /// as in JSON, except at the top level.
  [[nodiscard]] std::string description() const;
  [[nodiscard]] std::string debugDescription() const;

 private:
  Kinds value_;
};

/// Why a value could not be encoded, and where in the encoded value the cause is (RFC 6901).
struct EncodingFailure {
  DynamicValue value;
  std::string reason;
  std::string pointer;
};

}  // namespace corvo::corvo_internal::dynamic
