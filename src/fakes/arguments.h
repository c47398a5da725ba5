#pragma once

#include <corvo/json_value.h>
#include <corvo/property.h>

#include <initializer_list>
#include <stdexcept>
#include <string>
#include <string_view>

namespace corvo::fakes {

/// The exception for a wrong argument, with a message that is put together from its parts.
[[nodiscard]] inline std::invalid_argument wrong(std::initializer_list<std::string_view> parts) {
  std::string message;
  for (const std::string_view part : parts) message += part;
  return std::invalid_argument(message);
}

/// What a document has in place of a type's name.
inline constexpr int kHoldoutType = 5;

/// The object that a text written by hand holds.
[[nodiscard]] inline JsonObject byHand(std::string_view text) {
  auto object = fromCorvoString<JsonObject>(text);
  if (!object) throw wrong({"not a JSON object: ", text});
  return std::move(*object);
}

}  // namespace corvo::fakes
