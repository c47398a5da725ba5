// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/property.h>

#include <string>

namespace corvo::tests {

/// A document, and a pointer to the tested part.
struct Framed {
  std::string text;
  std::string pointer;
};

inline Framed inside(const std::string& before, const Framed& part, const std::string& after,
                     const std::string& pointer) {
  return {before + part.text + after, pointer + part.pointer};
}

/// Puts a part into a document that is otherwise valid.
inline Framed framed(const std::string& part) {
  const auto object = fromCorvoString<JsonObject>(part);
  const auto has = [&](const char* key) { return object && object->contains(key); };
  Framed frame{part, ""};
  const bool isCondition = has("condition_sign");
  const bool isRule = isCondition || has("is_default");
  if (isCondition) {
    frame = inside(R"({"is_default": false, "value": "true", "conditional_statement": "AND",
                       "conditions": [)",
                   frame, "]}", "/conditions/0");
  }
  if (isRule) {
    frame = inside(R"({"name": "framed", "type": "boolean", "rules": [)", frame,
                   R"(, {"is_default": true, "value": "false", "conditional_statement": "-",
                         "conditions": []}]})",
                   "/rules/0");
  }
  if (has("salt")) return inside(R"({"experiments": [)", frame, "]}", "/experiments/0");
  if (isRule || has("rules")) {
    return inside(R"({"feature_flags": [)", frame, "]}", "/feature_flags/0");
  }
  return frame;
}

}  // namespace corvo::tests
