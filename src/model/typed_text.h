// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/property.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <variant>

// How the interfaces for other languages read the texts of a configuration.

namespace corvo::corvo_internal::model {

/// A text of the configuration as it is, in the place where the project has it.
struct PlainText {
  std::string_view text;
};

/// What a text is read as. All interfaces have these numbers.
enum class TextType { absent, boolean, integer, number, string, json, any };

/// The text read as a type, made into the value of an interface: `make` takes a `bool`, a
/// `std::int64_t`, a `double`, or `TextType::string` or `json` and the text; or nothing if the text
/// is not valid for the type. The type is not `absent`.
template <class Make>
auto readAs(TextType type, std::string_view text, const Make& make) {
  const auto made = [&](const auto& value) { return value ? make(*value) : make(); };
  switch (type) {
    case TextType::boolean:
      return made(fromCorvoString<bool>(text));
    case TextType::integer:
      return made(fromCorvoString<std::int64_t>(text));
    case TextType::number:
      return made(fromCorvoString<double>(text));
    case TextType::string:
      return make(type, text);
    case TextType::json:
      return fromCorvoString<JsonObject>(text) ? make(type, text) : make();
    default:
      break;
  }
  const auto makeTyped = [&](const auto& value) {
    using Value = std::remove_cvref_t<decltype(value)>;
    if constexpr (std::is_same_v<Value, JsonObject>) {
      return make(TextType::json, text);
    } else if constexpr (std::is_same_v<Value, std::string>) {
      return make(TextType::string, text);
    } else {
      return make(value);
    }
  };
  return std::visit(makeTyped, typedProperty(text));
}

}  // namespace corvo::corvo_internal::model

namespace corvo {

template <>
struct CorvoPropertyTraits<corvo_internal::model::PlainText> {
  static std::optional<corvo_internal::model::PlainText> fromCorvoString(std::string_view text) {
    return corvo_internal::model::PlainText{text};
  }
};

}  // namespace corvo
