// SPDX-License-Identifier: Apache-2.0

#include "tool/user_document.h"

#include <algorithm>

namespace corvo::tool {

using corvo_internal::json::JsonKind;
using corvo_internal::json::JsonNode;

namespace {

constexpr std::string_view kProperties = "properties";
constexpr std::string_view kExpiration = "corvoExpiration";

// If one document has expiry dates, the properties of the other documents get this one.
constexpr const char* kNever = "9999-12-31 23:59:59";

void addTo(CorvoUser& user, const UserDocument& document, std::string_view expiryOfOthers) {
  PropertyMap expiries;
  for (const auto& [name, text] : document.corvoExpiration.value_or(NamedTexts())) {
    expiries.insert_or_assign(std::string(name), text);
  }
  for (const auto& [name, text] : document.properties) {
    user.properties.insert_or_assign(std::string(name), text);
    user.corvoExpiration->erase(std::string(name));
    const auto expiry = expiries.find(name);
    if (!document.corvoExpiration) {
      user.corvoExpiration->emplace(name, expiryOfOthers);
    } else if (expiry != expiries.end()) {
      user.corvoExpiration->insert(*expiry);
    }
  }
}

// A property of this name is the expiry of "userId".
bool mayExpire(const UserDocument* document) {
  return document->corvoExpiration.has_value() ||
         std::ranges::any_of(document->properties,
                             [](const auto& property) { return property.first == kExpiration; });
}

}  // namespace

DocumentFault unknownKey(std::string_view key, const JsonNode& value) {
  return {&value, "unknown-key", "unknown key \"" + std::string(key) + "\""};
}

DocumentFault wrongKind(const char* wanted, const JsonNode& value) {
  return {&value, "wrong-kind", std::string("expected ") + wanted};
}

PerhapsFault readTexts(const JsonNode& object, NamedTexts& texts) {
  if (object.kind != JsonKind::object) return wrongKind("an object of texts", object);
  return readMembers(object, [&](std::string_view name, const JsonNode& value) -> PerhapsFault {
    if (value.kind != JsonKind::string) return wrongKind("a text", value);
    texts.emplace_back(name, value.text());
    return std::nullopt;
  });
}

void UserDocument::clear() {
  properties.clear();
  corvoExpiration.reset();
}

bool UserDocument::knows(std::string_view key) { return key == kProperties || key == kExpiration; }

PerhapsFault UserDocument::readMember(std::string_view key, const JsonNode& value) {
  if (key == kExpiration) return readTexts(value, corvoExpiration.emplace());
  properties.clear();
  return readTexts(value, properties);
}

PerhapsFault UserDocument::read(const JsonNode& object) {
  if (object.kind != JsonKind::object) return wrongKind("an object", object);
  clear();
  return readMembers(object, [this](std::string_view key, const JsonNode& value) {
    return knows(key) ? readMember(key, value) : unknownKey(key, value);
  });
}

CorvoUser recordOf(std::span<const UserDocument* const> documents, std::string_view expiry) {
  CorvoUser user{{}, PropertyMap()};
  for (const UserDocument* each : documents) addTo(user, *each, expiry);
  return user;
}

// If several properties have one name, an evaluation takes the first. Therefore later documents go
// first.
void DescribedUser::describe(std::span<const UserDocument* const> documents,
                             EvaluationContext& context) {
  lasting_.clear();
  const bool expires = std::ranges::any_of(documents, mayExpire);
  if (!expires) {
    for (const UserDocument* each : documents) {
      lasting_.insert(lasting_.end(), each->properties.begin(), each->properties.end());
    }
    std::ranges::reverse(lasting_);
  }
  if (expires) record_ = recordOf(documents, kNever);
  context.user = expires ? &record_ : nullptr;
  context.properties = lasting_;
}

}  // namespace corvo::tool
