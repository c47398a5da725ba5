#include <corvo/json_value.h>

#include "model/encoder.h"
#include "model/json_writer.h"

namespace corvo {

JsonValue::JsonValue(JsonValue&& other) noexcept = default;
JsonValue& JsonValue::operator=(JsonValue&& other) noexcept = default;

std::optional<double> JsonValue::asNumber() const noexcept {
  if (const auto* number = as<double>()) return *number;
  if (const auto* number = as<std::int64_t>()) return static_cast<double>(*number);
  if (const auto* number = as<std::uint64_t>()) return static_cast<double>(*number);
  return std::nullopt;
}

const JsonValue* JsonValue::find(std::string_view key) const {
  const auto* object = as<JsonObject>();
  if (!object) return nullptr;
  const auto found = object->find(key);
  return found == object->end() ? nullptr : &found->second;
}

std::string JsonValue::toJson() const {
  model::JsonWriter writer;
  model::Encoder(writer).write(*this);
  return writer.take();
}

}  // namespace corvo
