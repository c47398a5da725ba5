// SPDX-License-Identifier: Apache-2.0

#include "model/decoder.h"

#include <cmath>

#include "base/number.h"
#include "dynamic/dynamic_value.h"
#include "json/json_number.h"

namespace corvo::corvo_internal::model {
namespace {

std::string_view nameOf(JsonKind kind) {
  constexpr std::array<std::string_view, 6> kNames{"null",   "boolean", "number",
                                                   "string", "array",   "object"};
  return kNames.at(static_cast<std::size_t>(kind));
}

std::string inQuotes(std::string_view text) { return '"' + std::string(text) + '"'; }

}  // namespace

std::string ReadFailure::reason() const {
  const std::string what(detail);
  switch (why) {
    case Why::wrongKind:
      return "expected " + what + ", found " + std::string(nameOf(node->kind));
    case Why::missingKey:
      return "missing key " + inQuotes(what);
    case Why::unknownValue:
      return "unknown " + what + ' ' +
             (node->kind == JsonKind::string ? inQuotes(node->text()) : std::string(node->text()));
    case Why::notNumeric:
      return "Expected Double value, but got String value " + inQuotes(node->text());
    case Why::notInteger:
      return "not a signed 64-bit integer";
    case Why::notDouble:
      return "beyond the range of a double";
    case Why::notDynamic:
      return "AnyDecodable value cannot be decoded";
  }
  return {};
}

bool Decoder::read(const JsonNode& node, bool& value) {
  if (node.kind != JsonKind::boolean) return wrongKind(node, "boolean");
  value = node.isTrue();
  return true;
}

bool Decoder::read(const JsonNode& node, std::int64_t& value) {
  if (node.kind != JsonKind::number) return wrongKind(node, "number");
  const auto integer = json::JsonNumber::parse(node.text())->asSigned();
  value = integer.value_or(0);
  return integer || fail(node, Why::notInteger);
}

bool Decoder::read(const JsonNode& node, double& value) {
  if (node.kind != JsonKind::number) return wrongKind(node, "number");
  value = base::parseDouble(node.text()).value_or(HUGE_VAL);
  return std::isfinite(value) || fail(node, Why::notDouble);
}

bool Decoder::read(const JsonNode& node, std::string& value) {
  if (node.kind != JsonKind::string) return wrongKind(node, "string");
  value.assign(node.text());
  return true;
}

bool Decoder::read(const JsonNode& node, Text& value) {
  if (node.kind != JsonKind::string) return wrongKind(node, "string");
  value = pool_.text(node.text());
  return true;
}

bool Decoder::read(const JsonNode& node, NumberOrText field) {
  if (node.kind == JsonKind::number) return read(node, field.wrappedValue);
  if (node.kind != JsonKind::string) return wrongKind(node, "number or string");
  const auto number = base::parseDouble(node.text());
  field.wrappedValue = number.value_or(0);
  return number || fail(node, Why::notNumeric);
}

bool Decoder::read(const JsonNode& node, TextOrList field) {
  if (node.kind == JsonKind::string) return read(node, SingleText(field.wrappedValue));
  if (node.kind != JsonKind::array) return wrongKind(node, "array or string");
  return read(node, field.wrappedValue);
}

bool Decoder::read(const JsonNode& node, SingleText field) {
  Text text;
  if (!read(node, text)) return false;
  keep(std::span(&text, 1), field.wrappedValue);
  return true;
}

bool Decoder::read(const JsonNode& node, ExperimentType& value) {
  std::int64_t number = 0;
  if (!read(node, number)) return false;
  const bool known = number >= static_cast<int>(ExperimentType::featureFlag) &&
                     number <= static_cast<int>(ExperimentType::holdout);
  if (!known) return fail(node, Why::unknownValue, "experiment type");
  value = static_cast<ExperimentType>(number);
  return true;
}

bool Decoder::read(const JsonNode& node, json::StoredDate& value) {
  double seconds = 0;
  if (!read(node, seconds)) return false;
  value = json::StoredDate::from(seconds);
  return true;
}

bool Decoder::read(const JsonNode& node, JsonValue& value) {
  Containers unread;
  bool isRead = readFlat(node, value, unread);
  while (isRead && !unread.empty()) {
    const auto [container, place] = unread.back();
    unread.pop_back();
    isRead = readChildren(*container, *place, unread);
  }
  return isRead;
}

bool Decoder::readFlat(const JsonNode& node, JsonValue& value, Containers& unread) {
  switch (node.kind) {
    case JsonKind::null:
      return true;
    case JsonKind::boolean:
      return readKind<bool>(node, value);
    case JsonKind::number:
      return readNumber(node, value);
    case JsonKind::string:
      return readKind<std::string>(node, value);
    case JsonKind::array:
      value = JsonArray(node.size);
      break;
    case JsonKind::object:
      value = JsonObject();
      break;
  }
  unread.emplace_back(&node, &value);
  return true;
}

bool Decoder::readChildren(const JsonNode& container, JsonValue& place, Containers& unread) {
  if (auto* list = place.as<JsonArray>()) {
    auto next = list->begin();
    for (const JsonNode& element : JsonElements(container)) {
      if (!readFlat(element, *next++, unread)) return false;
    }
    return true;
  }
  auto& object = *place.as<JsonObject>();
  for (const auto& [key, node] : lastMembers(container)) {
    const auto member = object.try_emplace(object.end(), std::string(key));
    if (!readFlat(*node, member->second, unread)) return false;
  }
  return true;
}

std::map<std::string_view, const JsonNode*> Decoder::lastMembers(const JsonNode& object) {
  std::map<std::string_view, const JsonNode*> last;
  for (const auto [key, value] : JsonMembers(object)) last[key] = &value;
  return last;
}

bool Decoder::readNumber(const JsonNode& node, JsonValue& value) {
  const auto number = *json::JsonNumber::parse(node.text());
  if (const auto integer = number.asSigned()) {
    value = JsonValue(*integer);
  } else if (const auto natural = number.asUnsigned()) {
    value = JsonValue(*natural);
  } else {
    return readKind<double>(node, value);
  }
  return true;
}

bool Decoder::read(const JsonNode& node, dynamic::DynamicValue& value) {
  JsonValue json;
  if (!read(node, json)) return fail(node, Why::notDynamic);
  value = dynamic::DynamicValue(json);
  return true;
}

void Decoder::drop(const JsonNode& node, std::size_t listed) {
  if (!drops_) return;
  drops_->erase(drops_->begin() + static_cast<std::ptrdiff_t>(listed), drops_->end());
  drops_->push_back({&node, failure_});
}

}  // namespace corvo::corvo_internal::model
