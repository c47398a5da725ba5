// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/json_value.h>
#include <corvo/property.h>

#include <cstdint>
#include <string>
#include <string_view>

namespace corvo::tool {

// Parts of a JSON document that a test knows to be there, and to be of that type.

inline JsonValue json(const std::string& text) {
  return fromCorvoString<JsonObject>(text).value_or(JsonObject());
}

inline const JsonObject& object(const JsonValue& value) { return *value.as<JsonObject>(); }
inline const JsonArray& list(const JsonValue& value, std::string_view key) {
  return *value.find(key)->as<JsonArray>();
}
inline std::int64_t count(const JsonValue& value, std::string_view key) {
  return *value.find(key)->as<std::int64_t>();
}
/// Empty if it is another value, or not there.
inline std::string text(const JsonValue& value, std::string_view key) {
  const auto* const member = value.find(key);
  const auto* const found = member != nullptr ? member->as<std::string>() : nullptr;
  return found != nullptr ? *found : "";
}

}  // namespace corvo::tool
