// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/argument.h>
#include <corvo/export.h>
#include <corvo/json_value.h>
#include <corvo/user_builder.h>

#include <concepts>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

// The values of a fake project's flags, and the rules that choose among them.

namespace corvo::fakes {

/// The value of a flag, a parameter or a condition: a boolean, a number, a text, or a JSON object.
/// Documents contain every value as a text; this class produces it.
class CORVO_FAKES_EXPORT Value {
 public:
  /// A text, a boolean or an integer.
  template <CorvoText Text>
  Value(const Text& text) : text_(std::string_view(text)), type_("string") {}
  template <std::same_as<bool> Bool>
  Value(const Bool& on) : text_(on ? "true" : "false"), type_("boolean") {}
  template <CorvoInteger Integer>
  Value(const Integer& number) : text_(std::to_string(number)), type_("number") {}
  /// Throws `std::invalid_argument` for infinities and not-a-number.
  template <std::floating_point Number>
  Value(const Number& number) : Value(JsonValue(static_cast<double>(number))) {}
  Value(const JsonObject& object) : Value(JsonValue(object)) {}

  /// The value as in a document.
  [[nodiscard]] const std::string& text() const { return text_; }
  /// Its type in a document: "boolean", "number", "string" or "json".
  [[nodiscard]] const std::string& type() const { return type_; }

 private:
  explicit Value(const JsonValue& value);  // a number or an object

  std::string text_;
  std::string type_;
};

/// An argument that is one item or a list: `"ios"`, `{"ios", "web"}` or a vector.
template <class T>
class OneOrMore {
 public:
  /// One item, or a list.
  template <class One>
  requires std::convertible_to<const One&, T> OneOrMore(const One& one) : list_{T(one)} {}
  OneOrMore(std::initializer_list<T> list) : list_(list) {}
  OneOrMore(std::vector<T> list) : list_(std::move(list)) {}

  /// All items.
  [[nodiscard]] const std::vector<T>& list() const { return list_; }

 private:
  std::vector<T> list_;
};

/// How a condition compares a property of the user with its own values.
enum class Sign : std::uint8_t {
  equal,
  notEqual,
  anyOf,           ///< The property equals one of the values.
  noneOf,          ///< The property equals none of the values.
  containsAnyOf,   ///< The property contains one of the values.
  containsNoneOf,  ///< The property contains none of the values.
  onDate,          ///< Less than one whole day lies between the two.
  afterTime,       ///< The property, for example "date", is a later time than the value.
  beforeTime,
  greater,  ///< Compares numbers; versions, such as "1.10", if the property is "appVersion".
  less,
  greaterEqual,
  lessEqual,
  startsWith,     ///< The condition's value starts with the property, not vice versa.
  notStartsWith,  ///< The same direction applies to all signs from here on.
  endsWith,
  notEndsWith,
  contains,
  notContains
};

/// One test of one property. Created by `where`.
struct Condition {
  std::string property;       ///< The name, as in `where`.
  Sign sign;                  ///< How to compare.
  std::vector<Value> values;  ///< What to compare with.
};

/// A condition on a property of the user ("userId", "appVersion", "custom.plan" ...), the location
/// ("geo.city") or the moment ("date", "time"). Only `anyOf`, `noneOf`, `containsAnyOf` and
/// `containsNoneOf` accept any number of values. With the other signs, anything but one value
/// throws `std::invalid_argument`.
[[nodiscard]] CORVO_FAKES_EXPORT Condition where(std::string_view property, Sign sign,
                                                 const OneOrMore<Value>& values);

/// Conditions joined by `&&`. A document cannot mix `&&` and `||` in one rule.
struct All {
  All(Condition condition) : conditions{std::move(condition)} {}  ///< One condition.
  std::vector<Condition> conditions;                              ///< In their order.
};
/// Conditions joined by `||`.
struct Any {
  Any(Condition condition) : conditions{std::move(condition)} {}  ///< One condition.
  std::vector<Condition> conditions;                              ///< In their order.
};
/// Adds a condition.
[[nodiscard]] CORVO_FAKES_EXPORT All operator&&(All all, Condition more);
[[nodiscard]] CORVO_FAKES_EXPORT Any operator||(Any any, Condition more);

/// The requirement of a rule or a target: one condition, `a && b && ...` or `a || b || ...`.
class CORVO_FAKES_EXPORT Requirement {
 public:
  /// From the results of `where`, `&&` and `||`.
  Requirement(Condition condition) : Requirement(All(std::move(condition))) {}
  Requirement(All all) : statement_("AND"), conditions_(std::move(all.conditions)) {}
  Requirement(Any any) : statement_("OR"), conditions_(std::move(any.conditions)) {}

  /// As in the document; a private flag or experiment compares digests instead of texts.
  [[nodiscard]] JsonObject json(bool isPrivate) const;

 private:
  std::string statement_;
  std::vector<Condition> conditions_;
};

/// The rules of a flag: `when(requirement, value)`, perhaps more of them, `.otherwise(value)`. The
/// first requirement that is met decides. Without `otherwise`, a user who meets none gets an error.
class CORVO_FAKES_EXPORT Rules {
 public:
  /// No rules: `checkFlag` fails with `featureFlagNoRules`.
  Rules() = default;
  /// One value for everyone.
  template <class Constant>
  requires std::convertible_to<const Constant&, Value> Rules(const Constant& value) {
    otherwise(Value(value));
  }

  /// Adds a rule: users who meet the requirement, but no earlier one, get the value.
  Rules& when(const Requirement& requirement, const Value& value);
  /// Adds the default rule. A second call throws `std::invalid_argument`.
  Rules& otherwise(const Value& value);
  /// Adds a rule written by hand. Throws `std::invalid_argument` if it is not a JSON object.
  Rules& json(std::string_view rule);

  /// As in the document; a private flag or experiment compares digests instead of texts.
  [[nodiscard]] JsonArray json(bool isPrivate) const { return isPrivate ? private_ : plain_; }
  /// The type of the first value; "string" without one.
  [[nodiscard]] const std::string& type() const { return type_; }

 private:
  void add(const JsonObject& plain, const JsonObject& ofPrivate, const Value& value);

  JsonArray plain_;
  JsonArray private_;
  std::string type_ = "string";
  bool hasDefault_ = false;
};

/// Starts a list of rules.
[[nodiscard]] CORVO_FAKES_EXPORT Rules when(const Requirement& requirement, const Value& value);

}  // namespace corvo::fakes
