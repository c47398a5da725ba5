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
/// A JSON object: values by key, in the order of the keys' bytes.
using JsonObject = std::map<std::string, JsonValue, std::less<>>;

/// One JSON value of the eight kinds that a document can hold. Numbers keep the kind in which they
/// were read: an integer, also one written 1.0 or 1e0, is signed where it fits 64 bits, else
/// unsigned; every other number is a double. Values of different kinds are never equal. A plain
/// value; reading is safe from any thread.
///
/// Reading a text and destroying a value take the same stack whatever its depth. Copying, comparing
/// and writing take some for each level, so that for the 512 levels that a text may have a thread
/// needs 128 KiB, or 2 MiB where nothing is optimised.
class CORVO_EXPORT JsonValue {
 public:
  /// The kinds that a value can have.
  using Null = std::monostate;
  using Kinds = std::variant<Null, bool, std::int64_t, std::uint64_t, double, std::string,
                             JsonArray, JsonObject>;

  JsonValue() = default;
  /// The null of JSON.
  JsonValue(std::nullptr_t) noexcept {}
  // Moves are not inline: in one that is, g++ 12 sees reads of what is uninitialised.
  JsonValue(JsonValue&& other) noexcept;
  JsonValue& operator=(JsonValue&& other) noexcept;
  JsonValue(const JsonValue&) = default;
  JsonValue& operator=(const JsonValue&) = default;
  ~JsonValue() {
    if (hasChildren()) dropChildren();
  }
  /// A value of one of the kinds, or a literal: integers are signed, texts strings.
  template <class Kind>
  requires(!std::same_as<std::remove_cvref_t<Kind>, JsonValue> &&
           std::constructible_from<Kinds, Kind>) JsonValue(Kind&& kind)
      : value_(std::forward<Kind>(kind)) {}

  /// The value, for `std::visit` and `std::get_if`.
  [[nodiscard]] const Kinds& value() const noexcept { return value_; }

  /// The value if it is of that kind, or null.
  template <class Kind>
  [[nodiscard]] const Kind* as() const noexcept {
    return std::get_if<Kind>(&value_);
  }
  template <class Kind>
  [[nodiscard]] Kind* as() noexcept {
    return std::get_if<Kind>(&value_);
  }
  /// A number of any kind as a double, integers rounded to the nearest; none when this is no
  /// number. For what may be written with or without a fraction: a price of 1.0 is an integer by
  /// its kind, so `as<double>()` is null.
  [[nodiscard]] std::optional<double> asNumber() const noexcept;
  /// Whether this is the null of JSON.
  [[nodiscard]] bool isNull() const noexcept { return as<Null>() != nullptr; }

  /// The member of an object, or null when this is no object or has no such member.
  [[nodiscard]] const JsonValue* find(std::string_view key) const;

  /// This value as compact JSON text (RFC 8259), doubles in the shortest form that reads back.
  /// Strings are to be UTF-8: their bytes are copied as they are.
  /// Numbers that JSON cannot express (infinities, not-a-number) are written as null.
  [[nodiscard]] std::string toJson() const;

  /// Whether both have the same kind and value.
  friend bool operator==(const JsonValue& a, const JsonValue& b) { return a.value_ == b.value_; }

 private:
  [[nodiscard]] bool hasChildren() const noexcept;
  void dropChildren() noexcept;
  JsonValue* dropUpToNested() noexcept;

  Kinds value_;
};

/// The same text for any value, and for an object or a list that is not held by a `JsonValue`.
[[nodiscard]] inline std::string toJson(const JsonValue& value) { return value.toJson(); }
[[nodiscard]] CORVO_EXPORT std::string toJson(const JsonObject& object);
[[nodiscard]] CORVO_EXPORT std::string toJson(const JsonArray& list);

inline bool JsonValue::hasChildren() const noexcept {
  if (const auto* list = as<JsonArray>()) return !list->empty();
  const auto* object = as<JsonObject>();
  return object != nullptr && !object->empty();
}

}  // namespace corvo
