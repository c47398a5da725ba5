// SPDX-License-Identifier: Apache-2.0

#include <corvo/fakes/project_builder.h>

#include <algorithm>
#include <set>

#include "fakes/arguments.h"
#include "model/config.h"

namespace corvo::fakes {
namespace {

constexpr auto kHoldout = corvo_internal::model::ExperimentType::holdout;

std::optional<std::string> nameOfHoldout(const JsonObject& experiment) {
  const auto type = experiment.find("type");
  const auto name = experiment.find("name");
  if (type == experiment.end() || name == experiment.end()) return std::nullopt;
  const auto* const text = name->second.as<std::string>();
  if (type->second.asNumber() != static_cast<int>(kHoldout) || text == nullptr) return std::nullopt;
  return *text;
}

}  // namespace

void ProjectBuilder::put(std::vector<Entry>& list, Entry entry) {
  const auto known = std::ranges::find(list, entry.name, &Entry::name);
  if (known == list.end()) return list.push_back(std::move(entry));
  *known = std::move(entry);
}

ProjectBuilder& ProjectBuilder::flag(std::string_view name, const Rules& rules) {
  return flag(FlagBuilder(name, rules));
}

ProjectBuilder& ProjectBuilder::flag(const FlagBuilder& flag) {
  put(flags_, {flag.name(), flag.json()});
  return *this;
}

ProjectBuilder& ProjectBuilder::experiment(std::string_view name,
                                           std::initializer_list<Group> groups) {
  return experiment(ExperimentBuilder(name, groups, false));
}

ProjectBuilder& ProjectBuilder::experiment(const ExperimentBuilder& experiment) {
  JsonObject json = experiment.json();
  const auto* const groups = json.at("groups").as<JsonArray>();
  if (groups != nullptr && groups->empty()) {
    throw wrong({"experiment \"", experiment.name(), "\" has no groups: nobody could take part"});
  }
  put(experiments_, {experiment.name(), std::move(json), experiment.holdouts()});
  return *this;
}

ProjectBuilder& ProjectBuilder::holdout(std::string_view name) {
  return experiment(fakes::holdout(name));
}

ProjectBuilder& ProjectBuilder::flagJson(std::string_view object) {
  flags_.push_back({std::nullopt, byHand(object)});
  return *this;
}

ProjectBuilder& ProjectBuilder::experimentJson(std::string_view object) {
  experiments_.push_back({std::nullopt, byHand(object)});
  return *this;
}

std::string ProjectBuilder::toJson() const {
  JsonArray flags;
  JsonArray experiments;
  std::set<std::string> holdouts;
  for (const Entry& each : flags_) flags.emplace_back(each.json);
  for (const Entry& each : experiments_) {
    experiments.emplace_back(each.json);
    const auto name = nameOfHoldout(each.json);
    if (name) holdouts.insert(*name);
  }
  for (const Entry& each : experiments_) {
    for (const std::string& holdout : each.heldOutBy) {
      if (holdouts.contains(holdout)) continue;
      throw wrong({"experiment \"", *each.name, "\" is held out by \"", holdout,
                   "\", but the project has no holdout of that name"});
    }
  }
  return corvo::toJson(
      JsonObject{{"feature_flags", std::move(flags)}, {"experiments", std::move(experiments)}});
}

Project ProjectBuilder::decode(Project::Filter filter) const {
  return Project::decode(toJson(), filter).value();
}

}  // namespace corvo::fakes
