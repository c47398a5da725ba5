// SPDX-License-Identifier: Apache-2.0

#include <corvo/fakes/flag_builder.h>

namespace corvo::fakes {

FlagBuilder::FlagBuilder(std::string_view name, Rules rules)
    : name_(name), rules_(std::move(rules)) {}

FlagBuilder& FlagBuilder::inGroup(std::string_view group, const Rules& rules) {
  groups_.emplace_back(group, rules);
  return *this;
}

FlagBuilder& FlagBuilder::isPrivate() {
  isPrivate_ = true;
  return *this;
}

FlagBuilder& FlagBuilder::field(std::string_view key, JsonValue value) {
  fields_.insert_or_assign(std::string(key), std::move(value));
  return *this;
}

std::vector<std::string> FlagBuilder::groups() const {
  std::vector<std::string> names;
  for (const auto& [name, rules] : groups_) names.push_back(name);
  return names;
}

JsonObject FlagBuilder::json(bool groupsArePrivate) const {
  JsonObject flag = fields_;
  JsonArray groups;
  for (const auto& [group, rules] : groups_) {
    groups.push_back(JsonObject{{"group", group}, {"rules", rules.json(groupsArePrivate)}});
  }
  const bool isOnlyCarried = rules_.json(false).empty() && !groups_.empty();
  flag.emplace("name", name_);
  flag.emplace("type", isOnlyCarried ? groups_[0].second.type() : rules_.type());
  if (isPrivate_) flag.emplace("is_private", true);
  flag.emplace("rules", rules_.json(isPrivate_));
  if (!groups.empty()) flag.emplace("groups", std::move(groups));
  return flag;
}

FlagBuilder flag(std::string_view name, Rules rules) { return {name, std::move(rules)}; }

}  // namespace corvo::fakes
