// SPDX-License-Identifier: Apache-2.0

#include <corvo/property.h>

#include "base/number.h"
#include "base/text.h"
#include "json/json_tree.h"
#include "model/decoder.h"

namespace corvo {

using namespace corvo_internal;

std::optional<bool> CorvoPropertyTraits<bool>::fromCorvoString(std::string_view text) noexcept {
  if (base::equalsLowerCased(text, "true")) return true;
  if (base::equalsLowerCased(text, "false")) return false;
  return std::nullopt;
}

std::optional<std::int64_t> CorvoPropertyTraits<std::int64_t>::fromCorvoString(
    std::string_view text) noexcept {
  return base::parseInteger(text);
}

std::optional<double> CorvoPropertyTraits<double>::fromCorvoString(std::string_view text) {
  return base::parseDouble(text);
}

std::optional<JsonObject> CorvoPropertyTraits<JsonObject>::fromCorvoString(std::string_view text) {
  // Most texts contain no brace, and creating a parser is expensive.
  if (text.find('{') == std::string_view::npos) return std::nullopt;
  const json::JsonTree tree(text);
  JsonObject object;
  if (!tree.root() || !model::Decoder(nullptr).read(*tree.root(), object)) return std::nullopt;
  return object;
}

CorvoProperty typedProperty(std::string_view text) {
  if (auto object = fromCorvoString<JsonObject>(text)) return *std::move(object);
  if (auto boolean = fromCorvoString<bool>(text)) return *boolean;
  if (auto integer = fromCorvoString<std::int64_t>(text)) return *integer;
  if (auto number = fromCorvoString<double>(text)) return *number;
  return std::string(text);
}

}  // namespace corvo
