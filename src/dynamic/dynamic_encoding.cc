// SPDX-License-Identifier: Apache-2.0

#include <algorithm>
#include <array>
#include <cmath>
#include <concepts>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <variant>

#include "dynamic/dynamic_value.h"
#include "json/json_pointer.h"

namespace corvo::corvo_internal::dynamic {
namespace {

using json::JsonWriter;

/// Converts a boxed number to another type. Integers keep their low bits. Doubles first become
/// 64-bit integers: truncated toward zero and clamped, NaN becomes zero.
template <class T>
struct Unboxed {
  T operator()(std::integral auto number) const { return static_cast<T>(number); }
  T operator()(double number) const {
    if constexpr (std::same_as<T, bool>) {
      return number != 0;
    } else if constexpr (std::integral<T>) {
      return static_cast<T>(cut(number));
    } else {
      // Converting a value beyond a float's range is undefined. Writing refuses every infinity
      // alike.
      if (std::abs(number) <= std::numeric_limits<T>::max()) return static_cast<T>(number);
      return std::numeric_limits<T>::infinity();
    }
  }

 private:
  using Wide = std::conditional_t<std::signed_integral<T>, std::int64_t, std::uint64_t>;

  static Wide cut(double number) {
    if (number >= std::ldexp(1.0, std::numeric_limits<Wide>::digits))
      return std::numeric_limits<Wide>::max();
    if (number >= 0) return static_cast<Wide>(number);
    if (number >= -0x1p63) return static_cast<Wide>(static_cast<std::int64_t>(number));
    return std::isnan(number) ? 0 : static_cast<Wide>(std::numeric_limits<std::int64_t>::min());
  }
};

/// Writes one value, with one overload per kind, and keeps the first failure. For one use.
class DynamicEncoding {
 public:
  explicit DynamicEncoding(JsonWriter& out) : out_(out) {}

  void write(const DynamicValue& value) {
    if (failure_) return;
    std::visit(*this, value.value());
    if (!out_.isFaithful() && !failure_) failure_ = {value, std::string(reason_), path_};
  }

  [[nodiscard]] std::optional<EncodingFailure> takeFailure() { return std::move(failure_); }

  void operator()(None) { out_.null(); }
  void operator()(DynamicValue::Null) { out_.null(); }
  void operator()(bool value) { out_.boolean(value); }
  void operator()(std::signed_integral auto number) { out_.integer(std::int64_t{number}); }
  void operator()(std::unsigned_integral auto number) { out_.integer(std::uint64_t{number}); }
  void operator()(std::floating_point auto number) { out_.real(number); }
  template <class T>
  void operator()(Sized<T> number) {
    (*this)(number.value);
  }
  void operator()(const std::string& text) { out_.string(text); }
  void operator()(const BoxedNumber& boxed);
  void operator()(const Date& date) { out_.real(date.moment.number()); }
  void operator()(const Url& url) { out_.string(url.text); }

  void operator()(const DynamicArray& list) {
    out_.beginArray();
    std::size_t index = 0;
    for (const auto& element : list) writeBelow(std::to_string(index++), element);
    out_.endArray();
  }
  void operator()(const DynamicObject& object) {
    out_.beginObject();
    for (const auto& [key, value] : object) {
      out_.key(key);
      writeBelow(key, value);
    }
    out_.endObject();
  }
  void operator()(const OtherEncodable& other) {
    failure_ = other.encode(out_);
    if (!failure_) return;
    failure_->pointer.insert(0, path_);
    out_.refuse();
  }

 private:
  template <class T>
  void writeAs(const BoxedNumber::Number& number) {
    (*this)(std::visit(Unboxed<T>(), number));
  }

  void writeBelow(std::string_view token, const DynamicValue& value) {
    const auto length = path_.size();
    json::appendToken(path_, token);
    write(value);
    path_.resize(length);
  }

  JsonWriter& out_;
  std::string path_;
  // A number that JSON cannot express is also a value that cannot be encoded, so it has the same
  // text.
  std::string_view reason_ = "AnyEncodable value cannot be encoded";
  std::optional<EncodingFailure> failure_;
};

// So a boolean with the code "c" becomes 0 or 1, and "l" and "L" have 32 bits.
void DynamicEncoding::operator()(const BoxedNumber& boxed) {
  struct Coding {
    std::string_view codes;
    void (DynamicEncoding::*write)(const BoxedNumber::Number&);
  };
  using Self = DynamicEncoding;
  static constexpr auto kCodings = std::to_array<Coding>({{"B", &Self::writeAs<bool>},
                                                          {"c", &Self::writeAs<std::int8_t>},
                                                          {"s", &Self::writeAs<std::int16_t>},
                                                          {"il", &Self::writeAs<std::int32_t>},
                                                          {"q", &Self::writeAs<std::int64_t>},
                                                          {"C", &Self::writeAs<std::uint8_t>},
                                                          {"S", &Self::writeAs<std::uint16_t>},
                                                          {"IL", &Self::writeAs<std::uint32_t>},
                                                          {"Q", &Self::writeAs<std::uint64_t>},
                                                          {"f", &Self::writeAs<float>},
                                                          {"d", &Self::writeAs<double>}});
  const auto coding = std::find_if(kCodings.begin(), kCodings.end(), [&](const Coding& candidate) {
    return candidate.codes.find(boxed.typeCode()) != std::string_view::npos;
  });
  if (coding != kCodings.end()) return (this->*coding->write)(boxed.number());
  reason_ = "NSNumber cannot be encoded because its type is not handled";
  out_.refuse();
}

}  // namespace

std::optional<EncodingFailure> DynamicValue::encode(json::JsonWriter& out) const {
  DynamicEncoding encoding(out);
  encoding.write(*this);
  return encoding.takeFailure();
}

std::variant<std::string, EncodingFailure> DynamicValue::toJson() const {
  json::JsonWriter out;
  if (auto failure = encode(out)) return *std::move(failure);
  return out.take();
}

}  // namespace corvo::corvo_internal::dynamic
