// SPDX-License-Identifier: Apache-2.0

#include "tool/ofrep/ofrep_context.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <utility>

#include "base/number.h"

namespace corvo::tool {

using corvo_internal::json::JsonKind;
using corvo_internal::json::JsonMembers;
using corvo_internal::json::JsonNode;

namespace {

namespace base = corvo_internal::base;

constexpr std::string_view kTargetingKey = "targetingKey";
constexpr std::string_view kUserId = "userId";
constexpr std::string_view kCustom = "custom.";

bool isObject(const JsonNode* value) { return value != nullptr && value->kind == JsonKind::object; }

std::optional<double> doubleOf(std::string_view literal) {
  const auto number = base::parseDecimal(literal);
  return number && std::isfinite(*number) ? number : std::nullopt;
}

// The text that `setCustomProperty` would write; absent if the number is too large.
std::optional<std::string> numberText(std::string_view literal) {
  if (const auto integer = base::parseInteger(literal)) return std::to_string(*integer);
  std::uint64_t large = 0;
  const char* const end = literal.data() + literal.size();
  const auto [stop, error] = std::from_chars(literal.data(), end, large);
  if (error == std::errc() && stop == end) return std::string(literal);
  const auto number = doubleOf(literal);
  return number ? std::optional(base::describe(*number)) : std::nullopt;
}

bool isIgnored(const JsonNode& value) {
  switch (value.kind) {
    case JsonKind::object:
    case JsonKind::array:
      return true;
    case JsonKind::number:
      return !doubleOf(value.text());
    default:
      return false;
  }
}

// The names of the members that are ignored, in the order in which they count. Repeated keys are
// found by sorting, because a search among all members would let a small body take long.
std::string ignoredNames(const JsonNode& object) {
  struct Member {
    std::string_view key;
    const JsonNode* value;
  };
  std::vector<Member> members;
  bool isAnyIgnored = false;
  for (const auto [key, value] : JsonMembers(object)) {
    members.push_back({key, &value});
    isAnyIgnored = isAnyIgnored || isIgnored(value);
  }
  if (!isAnyIgnored) return {};
  std::ranges::stable_sort(members, {}, &Member::key);
  std::vector<Member> ignored;
  for (std::size_t i = 0; i < members.size(); ++i) {
    const bool isLast = i + 1 == members.size() || members[i + 1].key != members[i].key;
    if (isLast && isIgnored(*members[i].value)) ignored.push_back(members[i]);
  }
  std::ranges::sort(ignored, {}, &Member::value);  // nodes are in document order
  std::string names;
  for (const Member& each : ignored) names.append(names.empty() ? "" : ", ").append(each.key);
  return names;
}

OfrepFailure invalid(const char* details) { return {"INVALID_CONTEXT", details}; }

}  // namespace

ContextKeys::ContextKeys(const Project& project) : properties_(project.properties()) {
  for (std::size_t i = 0; i < properties_.size(); ++i) {
    places_.insert_or_assign(properties_[i], Place{i, true});
    if (properties_[i] == kUserId) userId_ = i;
  }
  for (std::size_t i = 0; i < properties_.size(); ++i) {
    const std::string_view name = properties_[i];
    if (name.starts_with(kCustom)) places_.emplace(name.substr(kCustom.size()), Place{i, false});
  }
  places_.erase(std::string(kUserId));
  places_.insert_or_assign(std::string(kTargetingKey), Place{userId_, true});
}

const ContextKeys::Place* ContextKeys::find(std::string_view key) const {
  const auto found = places_.find(key);
  return found == places_.end() ? nullptr : &found->second;
}

OfrepContext::OfrepContext(const ContextKeys& keys, const Surroundings& surroundings,
                           const PropertyMap& location)
    : keys_(keys), setters_(keys.properties().size()), texts_(keys.properties().size()) {
  surroundings.describe(context_);
  context_.location = location;
}

void OfrepContext::forget() {
  context_.properties = {};
  tree_.reset();
}

std::optional<OfrepFailure> OfrepContext::read(std::string_view body) {
  forget();
  tree_.emplace(body);
  const JsonNode* const root = tree_->root();
  if (root == nullptr) {
    return OfrepFailure{"PARSE_ERROR", "the body is invalid: " + std::string(tree_->error())};
  }
  if (!isObject(root)) return invalid("the body is not an object");
  const JsonNode* const user = corvo_internal::json::lastMember(*root, "context");
  if (!isObject(user)) return invalid("the body has no object \"context\"");
  return readUser(*user);
}

std::optional<OfrepFailure> OfrepContext::readUser(const Node& user) {
  std::ranges::fill(setters_, Setters());
  for (const auto [key, value] : JsonMembers(user)) {
    const ContextKeys::Place* const place = keys_.find(key);
    if (place == nullptr) continue;
    Setters& setters = setters_[place->property];
    (place->isVeryName ? setters.veryName : setters.custom) = &value;
  }
  const Node* const targetingKey = setters_[keys_.userId()].veryName;
  if (targetingKey == nullptr || targetingKey->kind == JsonKind::null ||
      (targetingKey->kind == JsonKind::string && targetingKey->text().empty())) {
    return OfrepFailure{"TARGETING_KEY_MISSING", "the context has no \"targetingKey\""};
  }
  if (targetingKey->kind != JsonKind::string) return invalid("the \"targetingKey\" is not a text");

  properties_.clear();
  for (std::size_t i = 0; i < setters_.size(); ++i) {
    auto text = textOf(setters_[i].veryName, texts_[i]);
    if (!text) text = textOf(setters_[i].custom, texts_[i]);
    if (text) properties_.emplace_back(keys_.properties()[i], *text);
  }
  context_.properties = properties_;
  ignored_ = ignoredNames(user);
  return std::nullopt;
}

// `place` keeps the text of a number.
std::optional<std::string_view> OfrepContext::textOf(const Node* value, std::string& place) {
  if (value == nullptr) return std::nullopt;
  if (value->kind == JsonKind::string || value->kind == JsonKind::boolean) return value->text();
  if (value->kind != JsonKind::number) return std::nullopt;
  auto text = numberText(value->text());
  if (!text) return std::nullopt;
  place = *std::move(text);
  return place;
}

}  // namespace corvo::tool
