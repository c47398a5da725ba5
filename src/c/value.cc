// SPDX-License-Identifier: Apache-2.0

#include "c/value.h"

#include <cstdint>
#include <variant>

#include "c/call.h"

namespace corvo::corvo_internal::c {
namespace {

constexpr corvo_value kAbsent{};

corvo_value valueFrom(bool value) {
  return {.type = CORVO_BOOLEAN, .boolean = value, .integer = 0, .number = 0, .text = {}};
}
corvo_value valueFrom(std::int64_t value) {
  return {.type = CORVO_INTEGER, .boolean = false, .integer = value, .number = 0, .text = {}};
}
corvo_value valueFrom(double value) {
  return {.type = CORVO_DOUBLE, .boolean = false, .integer = 0, .number = value, .text = {}};
}
corvo_value textValue(corvo_type type, std::string_view text) {
  return {.type = type, .boolean = false, .integer = 0, .number = 0, .text = asText(text)};
}

template <class T>
corvo_value read(std::string_view text) {
  const std::optional<T> value = fromCorvoString<T>(text);
  return value ? valueFrom(*value) : kAbsent;
}

corvo_value readAny(std::string_view text) {
  const CorvoProperty value = typedProperty(text);
  if (std::holds_alternative<JsonObject>(value)) return textValue(CORVO_JSON, text);
  if (const auto* boolean = std::get_if<bool>(&value)) return valueFrom(*boolean);
  if (const auto* integer = std::get_if<std::int64_t>(&value)) return valueFrom(*integer);
  if (const auto* number = std::get_if<double>(&value)) return valueFrom(*number);
  return textValue(CORVO_STRING, text);
}

}  // namespace

void checkType(corvo_type type) {
  if (type <= CORVO_ABSENT || type > CORVO_ANY) {
    throw Misuse(CORVO_INVALID_ARGUMENT, "there is no such type");
  }
}

corvo_value valueOf(std::optional<std::string_view> text, corvo_type type) {
  if (!text) return kAbsent;
  switch (type) {
    case CORVO_BOOLEAN:
      return read<bool>(*text);
    case CORVO_INTEGER:
      return read<std::int64_t>(*text);
    case CORVO_DOUBLE:
      return read<double>(*text);
    case CORVO_STRING:
      return textValue(CORVO_STRING, *text);
    case CORVO_JSON:
      return fromCorvoString<JsonObject>(*text) ? textValue(CORVO_JSON, *text) : kAbsent;
    default:
      return readAny(*text);
  }
}

corvo_value stringValue(std::optional<std::string_view> text) {
  return text ? textValue(CORVO_STRING, *text) : kAbsent;
}

}  // namespace corvo::corvo_internal::c

using namespace corvo::corvo_internal::c;

corvo_status corvo_read_value(corvo_text text, corvo_type type, corvo_value* value) {
  return call([&] {
    corvo_value& result = resultAt(value);
    checkType(type);
    result = valueOf(optionalViewOf(text), type);
  });
}
