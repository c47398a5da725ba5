// SPDX-License-Identifier: Apache-2.0

#include <corvo/json_value.h>

#include <utility>

#include "base/exceptions.h"
#include "json/json_writer.h"

namespace corvo {

using namespace corvo_internal;

JsonValue::JsonValue(JsonValue&& other) noexcept = default;
JsonValue& JsonValue::operator=(JsonValue&& other) noexcept = default;

// Avoids destructors that call each other for every level. If there is no memory for the list of
// levels, they do so after all.
void JsonValue::dropChildren() noexcept {
  const auto dropByLevels = [this] {
    std::vector<JsonValue> levels;
    while (true) {
      if (JsonValue* nested = (levels.empty() ? *this : levels.back()).dropUpToNested()) {
        levels.push_back(std::move(*nested));
        nested->value_.emplace<Null>();
      } else if (levels.empty()) {
        return;
      } else {
        levels.pop_back();
      }
    }
  };
  base::attempt(dropByLevels, [] {});
}

// Drops children up to the first that has children itself. Returns that one, or null if none is
// left.
JsonValue* JsonValue::dropUpToNested() noexcept {
  if (auto* list = as<JsonArray>()) {
    while (!list->empty() && !list->back().hasChildren()) list->pop_back();
    return list->empty() ? nullptr : &list->back();
  }
  auto& object = *as<JsonObject>();
  while (!object.empty() && !object.begin()->second.hasChildren()) object.erase(object.begin());
  return object.empty() ? nullptr : &object.begin()->second;
}

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

namespace {

template <class Value>
std::string written(const Value& value) {
  json::JsonWriter writer;
  writer.value(value);
  return writer.take();
}

}  // namespace

std::string JsonValue::toJson() const { return written(*this); }
std::string toJson(const JsonObject& object) { return written(object); }
std::string toJson(const JsonArray& list) { return written(list); }

}  // namespace corvo
