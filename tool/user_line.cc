// SPDX-License-Identifier: Apache-2.0

#include "tool/user_line.h"

#include <corvo/json_value.h>

#include <array>
#include <unordered_map>
#include <utility>

#include "json/json_places.h"
#include "json/json_pointer.h"
#include "tool/moment.h"
#include "zones/named_zone.h"

namespace corvo::tool {

using namespace corvo_internal;
using json::JsonKind;
using json::JsonMembers;
using json::JsonNode;

namespace {

constexpr std::string_view kBlanks = " \t\r\n";

UserLine::Fault notJson(std::string_view text) {
  if (text.find_first_not_of(kBlanks) == std::string_view::npos) {
    return {"empty-line", "the line is empty"};
  }
  const auto fault = json::jsonPlaces(text).fault.value_or(json::JsonPlaces::Fault{0, "not JSON"});
  return {"not-json", fault.reason, fault.place};
}

UserLine::Fault located(const DocumentFault& fault, const JsonNode& root, std::string_view text) {
  const json::JsonPlaces places = json::jsonPlaces(text);
  const std::string pointer = json::pointersTo({fault.node}, root).front();
  return {fault.code, fault.reason + (pointer.empty() ? "" : " at " + pointer),
          places.nodes.at(static_cast<std::size_t>(fault.node - &root))};
}

bool isScalar(const JsonNode& value) {
  return value.kind != JsonKind::object && value.kind != JsonKind::array;
}

/// The field for a key of "device"; null if the key is unknown.
std::optional<std::string> DeviceFacts::*factOf(std::string_view key) {
  if (key == "deviceId") return &DeviceFacts::vendorIdentifier;
  if (key == "systemName") return &DeviceFacts::systemName;
  if (key == "systemVersion") return &DeviceFacts::systemVersion;
  return key == "appVersion" ? &DeviceFacts::applicationVersion : nullptr;
}

}  // namespace

UserLine::UserLine(const EvaluationContext& defaults, std::span<const UserDocument* const> common)
    : defaults_(defaults), documents_(common.begin(), common.end()), context_(defaults) {
  documents_.push_back(&own_);
}

std::optional<UserLine::Fault> UserLine::read(std::string_view text) {
  restart();
  tree_.emplace(text);
  const JsonNode* const root = tree_->root();
  if (root == nullptr) return notJson(text);
  if (const PerhapsFault fault = readUser(*root)) return located(*fault, *root, text);
  user_.describe(documents_, context_);
  return std::nullopt;
}

void UserLine::restart() {
  id_ = "null";
  own_.clear();
  if (std::exchange(hasOwnLocation_, false)) context_.location = defaults_.location;
  if (std::exchange(hasOwnDevice_, false)) context_.device = defaults_.device;
  context_.now = defaults_.now;
  context_.timeZone = defaults_.timeZone;
}

PerhapsFault UserLine::readUser(const JsonNode& user) {
  if (user.kind != JsonKind::object) return wrongKind("an object", user);
  readId(user);
  now_ = nullptr;
  if (PerhapsFault fault = readMembers(user, [this](std::string_view key, const JsonNode& value) {
        return readMember(key, value);
      })) {
    return fault;
  }
  return now_ == nullptr ? PerhapsFault() : readNow(*now_);
}

// Read first, because the answer to an invalid line contains it, too.
void UserLine::readId(const JsonNode& user) {
  for (const auto [key, value] : JsonMembers(user)) {
    if (key != "id") continue;
    id_ = isScalar(value) ? value.text() : "null";
    if (value.kind == JsonKind::string) id_ = JsonValue(std::move(id_)).toJson();
  }
}

PerhapsFault UserLine::readMember(std::string_view key, const JsonNode& value) {
  if (UserDocument::knows(key)) return own_.readMember(key, value);
  if (key == "geo") return readGeo(value);
  if (key == "device") return readDevice(value);
  if (key == "zone") return readZone(value);
  if (key == "now") {
    now_ = &value;
    return std::nullopt;
  }
  if (key != "id") return unknownKey(key, value);
  return isScalar(value) ? PerhapsFault() : wrongKind("a scalar", value);
}

PerhapsFault UserLine::readGeo(const JsonNode& value) {
  texts_.clear();
  if (PerhapsFault fault = readTexts(value, texts_)) return fault;
  hasOwnLocation_ = true;
  context_.location.clear();
  for (const auto& [name, text] : texts_) {
    context_.location.insert_or_assign(std::string(name), text);
  }
  return std::nullopt;
}

PerhapsFault UserLine::readDevice(const JsonNode& value) {
  if (value.kind != JsonKind::object) return wrongKind("an object", value);
  hasOwnDevice_ = true;
  context_.device = {};
  return readMembers(value, [this](std::string_view key, const JsonNode& text) -> PerhapsFault {
    const auto fact = factOf(key);
    if (fact == nullptr) return unknownKey(key, text);
    if (text.kind != JsonKind::string) return wrongKind("a text", text);
    (context_.device.*fact).emplace(text.text());
    return std::nullopt;
  });
}

// Read last, because a local time depends on the zone.
PerhapsFault UserLine::readNow(const JsonNode& value) {
  if (value.kind != JsonKind::number && value.kind != JsonKind::string) {
    return wrongKind("seconds or a text", value);
  }
  context_.now = parseMoment(value.text(), *context_.timeZone);
  if (context_.now) return std::nullopt;
  return DocumentFault{&value, "bad-moment", "expected seconds, or a date and time in ISO 8601"};
}

PerhapsFault UserLine::readZone(const JsonNode& value) {
  if (value.kind != JsonKind::string) return wrongKind("a text", value);
  auto known = zones_.find(value.text());
  if (known == zones_.end()) {
    std::string name(value.text());
    auto zone = zones::namedZone(name);
    if (!zone) return DocumentFault{&value, "unknown-zone", "unknown time zone"};
    known = zones_.emplace(std::move(name), std::move(zone)).first;
  }
  context_.timeZone = known->second;
  return std::nullopt;
}

}  // namespace corvo::tool
