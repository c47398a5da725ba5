// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/export.h>

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

namespace corvo {

class JsonValue;

/// An ordered list of JSON values.
using JsonArray = std::vector<JsonValue>;
/// A JSON object: values by key, in byte order of the keys.
using JsonObject = std::map<std::string, JsonValue, std::less<>>;

/// A JSON value of one of the eight kinds in `Kinds`. Numbers keep the kind that they were read as:
/// an integer, even if written as 1.0 or 1e0, is signed if it fits into 64 bits, otherwise
/// unsigned; every other number is a double. Values of different kinds are never equal. A plain
/// value; reading is safe from any thread.
///
/// Reading a text and destroying a value use the same amount of stack at any depth. Copying,
/// comparing and writing use some for each level: for the 512 levels that a text may have, a thread
/// needs 128 KiB, or 2 MiB without optimisation.
class CORVO_EXPORT JsonValue {
 public:
  /// The kinds of values.
  using Null = std::monostate;
  using Kinds = std::variant<Null, bool, std::int64_t, std::uint64_t, double, std::string,
                             JsonArray, JsonObject>;

  JsonValue() = default;
  /// The null of JSON.
  JsonValue(std::nullptr_t) noexcept {}
  // Moves are not inline, because g++ 12 would warn about reads of uninitialised memory.
  JsonValue(JsonValue&& other) noexcept;
  JsonValue& operator=(JsonValue&& other) noexcept;
  JsonValue(const JsonValue&) = default;
  JsonValue& operator=(const JsonValue&) = default;
  ~JsonValue() {
    if (hasChildren()) dropChildren();
  }
  /// A value of one of the kinds, or a literal: an integer literal without a suffix becomes signed,
  /// texts become strings.
  template <class Kind>
  requires(!std::same_as<std::remove_cvref_t<Kind>, JsonValue> &&
           std::constructible_from<Kinds, Kind>) JsonValue(Kind&& kind)
      : value_(std::forward<Kind>(kind)) {}

  /// The value, for `std::visit` and `std::get_if`.
  [[nodiscard]] const Kinds& value() const noexcept { return value_; }

  /// The value if it is of that kind, otherwise null.
  template <class Kind>
  [[nodiscard]] const Kind* as() const noexcept {
    return std::get_if<Kind>(&value_);
  }
  template <class Kind>
  [[nodiscard]] Kind* as() noexcept {
    return std::get_if<Kind>(&value_);
  }
  /// A number of any kind as a double; integers are rounded to the nearest double. Absent if this
  /// is not a number. Use it for numbers that may be written with or without a fraction: a price of
  /// 1.0 has the kind of an integer, so `as<double>()` is null.
  [[nodiscard]] std::optional<double> asNumber() const noexcept;
  /// Whether this is JSON's null.
  [[nodiscard]] bool isNull() const noexcept { return as<Null>() != nullptr; }

  /// The member of an object; null if this is not an object or has no member of that key.
  [[nodiscard]] const JsonValue* find(std::string_view key) const;

  /// This value as compact JSON text (RFC 8259). Doubles have the shortest form that reads back as
  /// the same number. Strings should be UTF-8; their bytes are copied unchanged. Numbers that JSON
  /// cannot express (infinities, not-a-number) are written as null.
  [[nodiscard]] std::string toJson() const;

  /// Whether both have the same kind and value.
  friend bool operator==(const JsonValue& a, const JsonValue& b) { return a.value_ == b.value_; }

 private:
  [[nodiscard]] bool hasChildren() const noexcept;
  void dropChildren() noexcept;
  JsonValue* dropUpToNested() noexcept;

  Kinds value_;
};

/// The same text for any value, and for an object or a list outside of a `JsonValue`.
[[nodiscard]] inline std::string toJson(const JsonValue& value) { return value.toJson(); }
[[nodiscard]] CORVO_EXPORT std::string toJson(const JsonObject& object);
[[nodiscard]] CORVO_EXPORT std::string toJson(const JsonArray& list);

inline bool JsonValue::hasChildren() const noexcept {
  if (const auto* list = as<JsonArray>()) return !list->empty();
  const auto* object = as<JsonObject>();
  return object != nullptr && !object->empty();
}

}  // namespace corvo
