// SPDX-License-Identifier: Apache-2.0

#include "tool/answer_form.h"

#include <corvo/json_value.h>

#include <string_view>
#include <unordered_set>

#include "tool/experiment_list.h"
#include "tool/failure.h"

namespace corvo::tool {
namespace {

using Names = std::unordered_set<std::string_view>;

std::string quoted(const std::string& text) { return JsonValue(text).toJson(); }

/// The positions of the items with these names, among `count` items. Every name must exist.
template <class NameAt>
std::vector<std::size_t> positionsOf(const std::vector<std::string>& names, const char* kind,
                                     std::size_t count, NameAt nameAt) {
  std::vector<std::size_t> positions;
  const Names wanted(names.begin(), names.end());
  Names found;
  for (std::size_t i = 0; i < count; ++i) {
    const auto at = wanted.find(nameAt(i));
    if (at == wanted.end()) continue;
    positions.push_back(i);
    found.insert(*at);
  }
  for (const std::string& name : names) {
    if (!found.contains(name)) {
      throw Failure("not-found", "the project has no " + std::string(kind) + " " + quoted(name));
    }
  }
  return positions;
}

std::vector<std::size_t> allPositions(std::size_t count) {
  std::vector<std::size_t> positions(count);
  for (std::size_t i = 0; i < count; ++i) positions[i] = i;
  return positions;
}

std::string membership(const std::string& experiment, std::size_t index, const std::string& group) {
  return "{\"name\":" + quoted(experiment) + ",\"groupIndex\":" + std::to_string(index) +
         ",\"groupName\":" + quoted(group) + "}";
}

}  // namespace

AnswerForm::AnswerForm(const Project& project, const std::vector<std::string>& flagNames,
                       const std::vector<std::string>& experimentNames) {
  std::vector<Project::Flag> flags = project.flags();
  std::erase_if(flags, [](const Project::Flag& each) { return each.isOnlyCarried; });
  for (const Project::Flag& each : flags) flagKeys_.push_back(quoted(each.name) + ":");
  const std::vector<ListedExperiment> experiments = allExperiments(project);
  for (const ListedExperiment& each : experiments) {
    Experiment& form = forms_.emplace_back();
    form.isHoldout = each.isHoldout;
    for (const Project::Group& group : each.groups) {
      form.groups.push_back(membership(each.name, form.groups.size(), group.name));
    }
  }
  if (flagNames.empty() && experimentNames.empty()) {
    flags_ = allPositions(flags.size());
    experiments_ = allPositions(forms_.size());
    return;
  }
  flags_ =
      positionsOf(flagNames, "flag", flags.size(), [&](std::size_t i) { return flags[i].name; });
  experiments_ = positionsOf(experimentNames, "experiment", forms_.size(),
                             [&](std::size_t i) { return experiments[i].name; });
}

}  // namespace corvo::tool
