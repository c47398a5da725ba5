// SPDX-License-Identifier: Apache-2.0

#include "dynamic/dynamic_value.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <string_view>
#include <utility>

#include "base/civil_time.h"
#include "base/number.h"
#include "base/stop_process.h"
#include "base/text_hash.h"

namespace corvo::corvo_internal::dynamic {
namespace {

struct FromJson {
  DynamicValue operator()(const JsonArray& list) const {
    return DynamicArray(list.begin(), list.end());
  }
  DynamicValue operator()(const JsonObject& object) const {
    return DynamicObject(object.begin(), object.end());
  }
  DynamicValue operator()(const auto& kind) const { return kind; }
};

// Compares exactly, without rounding integers to doubles.
struct SameNumber {
  bool operator()(std::integral auto a, std::integral auto b) const { return std::cmp_equal(a, b); }
  bool operator()(double a, double b) const { return a == b; }
  bool operator()(double a, std::integral auto b) const { return (*this)(b, a); }
  template <std::integral Integer>
  bool operator()(Integer a, double b) const {
    constexpr int kDigits = std::numeric_limits<Integer>::digits;
    return static_cast<double>(a) == b && b < std::ldexp(1.0, kDigits) &&
           static_cast<Integer>(b) == a;
  }
};

struct DeeplyEqual {
  bool operator()(const DynamicValue& a, const DynamicValue& b) const {
    return std::visit(
        [&]<class Kind>(const Kind& kind) {
          const auto* other = std::get_if<Kind>(&b.value());
          return other != nullptr && (*this)(kind, *other);
        },
        a.value());
  }
  bool operator()(const DynamicArray& a, const DynamicArray& b) const {
    return std::ranges::equal(a, b, *this);
  }
  bool operator()(const DynamicObject& a, const DynamicObject& b) const {
    return std::ranges::equal(a, b, [this](const auto& member, const auto& other) {
      return member.first == other.first && (*this)(member.second, other.second);
    });
  }
  template <class Kind>
  bool operator()(const Kind& a, const Kind& b) const {
    return a == b;
  }
};

template <class... Kind>
bool holdsAnyOf(const DynamicValue::Kinds& value) {
  return (std::holds_alternative<Kind>(value) || ...);
}

struct Hash {
  std::size_t operator()(const auto& /*kind*/) const { return 0; }

  template <class T>
  requires std::is_arithmetic_v<T> std::size_t operator()(const T& number) const {
    return std::hash<T>()(number);
  }
  template <class T>
  std::size_t operator()(const Sized<T>& number) const {
    return (*this)(number.value);
  }
  std::size_t operator()(const std::string& text) const { return base::TextHash()(text); }
  std::size_t operator()(const DynamicArray& list) const {
    std::size_t hash = list.size();
    for (const auto& element : list) hash = joined(hash, element.hash());
    return hash;
  }
  std::size_t operator()(const DynamicObject& object) const {
    std::size_t hash = object.size();
    for (const auto& [key, value] : object) hash = joined(joined(hash, (*this)(key)), value.hash());
    return hash;
  }

 private:
  static std::size_t joined(std::size_t hash, std::size_t next) {
    return hash ^ (next + 0x9E3779B9 + (hash << 6) + (hash >> 2));
  }
};

struct DebugText {
  std::string operator()(None) const { return "nil"; }
  std::string operator()(DynamicValue::Null) const { return "null"; }
  std::string operator()(bool value) const { return value ? "true" : "false"; }
  std::string operator()(std::integral auto number) const { return std::to_string(number); }
  std::string operator()(std::floating_point auto number) const { return base::describe(number); }
  template <class T>
  std::string operator()(Sized<T> number) const {
    return (*this)(number.value);
  }
  std::string operator()(const BoxedNumber& boxed) const {
    return std::visit(*this, boxed.number());
  }

  std::string operator()(const std::string& text) const {
    json::JsonWriter out;
    out.string(text);
    return out.take();
  }
  std::string operator()(const Date& date) const {
    const auto seconds = base::wholeSeconds(date.moment.secondsSince1970);
    return base::formatDate(seconds, base::DatePattern::second) + " UTC";
  }
  std::string operator()(const Url& url) const { return url.text; }
  std::string operator()(const OtherEncodable& other) const {
    json::JsonWriter out;
    const auto failure = other.encode(out);
    return failure ? '<' + failure->reason + '>' : out.take();
  }

  std::string operator()(const DynamicArray& list) const {
    std::string text;
    for (const auto& element : list) text += separator(text) + element.debugDescription();
    return '[' + text + ']';
  }
  std::string operator()(const DynamicObject& object) const {
    std::string text;
    for (const auto& [key, value] : object) {
      text += separator(text) + (*this)(key) + ": " + value.debugDescription();
    }
    return object.empty() ? "[:]" : '[' + text + ']';
  }

 private:
  static std::string separator(const std::string& before) { return before.empty() ? "" : ", "; }
};

}  // namespace

BoxedNumber::BoxedNumber(Number number, char typeCode) : number_(number), typeCode_(typeCode) {
  if (static_cast<unsigned char>(typeCode) > 0x7F) {
    base::stopProcess("the type code of a boxed number is not ASCII");
  }
}

bool operator==(const BoxedNumber& a, const BoxedNumber& b) {
  return std::visit(SameNumber(), a.number(), b.number());
}

bool operator==(const OtherEncodable& a, const OtherEncodable& b) {
  json::JsonWriter one;
  json::JsonWriter other;
  return !a.encode(one) && !b.encode(other) && one.take() == other.take();
}

bool operator==(const DynamicValue& a, const DynamicValue& b) {
  return !holdsAnyOf<BoxedNumber, Date, Url, OtherEncodable>(a.value()) && DeeplyEqual()(a, b);
}

DynamicValue::DynamicValue(const JsonValue& json)
    : DynamicValue(std::visit(FromJson(), json.value())) {}

DynamicValue DynamicValue::array(std::initializer_list<DynamicValue> elements) {
  return DynamicArray(elements);
}

DynamicValue DynamicValue::object(
    std::initializer_list<std::pair<std::string, DynamicValue>> members) {
  DynamicObject object;
  for (const auto& [key, value] : members) object.try_emplace(key, value);
  return object;
}

std::size_t DynamicValue::hash() const { return std::visit(Hash(), value_); }

std::string DynamicValue::description() const {
  const auto* text = std::get_if<std::string>(&value_);
  return text ? *text : debugDescription();
}

std::string DynamicValue::debugDescription() const { return std::visit(DebugText(), value_); }

}  // namespace corvo::corvo_internal::dynamic
