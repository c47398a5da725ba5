// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/json_value.h>
#include <corvo/property.h>

#include <initializer_list>
#include <stdexcept>
#include <string>
#include <string_view>

namespace corvo::fakes {

/// Whether an enumerator may be cast to its namesake in the model.
template <class Own, class InModel>
[[nodiscard]] constexpr bool sameNumber(Own own, InModel inModel) {
  return static_cast<int>(own) == static_cast<int>(inModel);
}

/// The exception for an invalid argument; the message is the concatenation of the parts.
[[nodiscard]] inline std::invalid_argument wrong(std::initializer_list<std::string_view> parts) {
  std::string message;
  for (const std::string_view part : parts) message += part;
  return std::invalid_argument(message);
}

/// Parses a JSON object that was written by hand.
[[nodiscard]] inline JsonObject byHand(std::string_view text) {
  auto object = fromCorvoString<JsonObject>(text);
  if (!object) throw wrong({"not a JSON object: ", text});
  return std::move(*object);
}

}  // namespace corvo::fakes
