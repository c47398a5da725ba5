// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/experiment_detail.h>
#include <corvo/json_value.h>
#include <corvo/project.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

// Structured results as JSON, for other languages. Objects have the members of the public structs,
// under their names. Headers only, since a shared engine does not export internals.

namespace corvo::corvo_internal::evaluation {

/// A list of `describe(element)` for each element.
template <class List, class Describe>
[[nodiscard]] JsonArray listed(const List& list, Describe describe) {
  JsonArray array;
  for (const auto& element : list) array.emplace_back(describe(element));
  return array;
}

/// Null for no text.
[[nodiscard]] inline JsonValue jsonOf(const std::optional<std::string>& text) {
  return text ? JsonValue(*text) : JsonValue();
}
[[nodiscard]] inline JsonValue jsonOf(std::size_t number) {
  return static_cast<std::int64_t>(number);
}
[[nodiscard]] inline JsonArray jsonOf(const std::vector<std::string>& texts) {
  return listed(texts, [](const std::string& text) { return text; });
}

[[nodiscard]] inline JsonObject jsonOf(const Project::Flag& flag) {
  return {{"name", flag.name},
          {"type", flag.type},
          {"isPrivate", flag.isPrivate},
          {"carriedBy", jsonOf(flag.carriedBy)},
          {"isOnlyCarried", flag.isOnlyCarried}};
}

[[nodiscard]] inline JsonObject jsonOf(const Project::Group& group) {
  return {{"name", group.name}, {"label", jsonOf(group.label)}, {"weight", group.weight}};
}

[[nodiscard]] inline JsonObject jsonOf(const Project::Experiment& experiment) {
  return {{"name", experiment.name},
          {"type", jsonOf(experiment.type)},
          {"splitBy", experiment.splitBy},
          {"allocation", experiment.allocation},
          {"layer", jsonOf(experiment.layer)},
          {"groups", listed(experiment.groups, [](const auto& group) { return jsonOf(group); })},
          {"flags", jsonOf(experiment.flags)},
          {"params", jsonOf(experiment.params)},
          {"holdouts", jsonOf(experiment.holdouts)},
          {"isPrivate", experiment.isPrivate},
          {"position", jsonOf(experiment.position)}};
}

[[nodiscard]] inline JsonObject jsonOf(const Project::Stop& stop) {
  return {{"experiment", stop.experiment}, {"reason", stop.reason}};
}

[[nodiscard]] inline JsonObject jsonOf(const Project::Drop& drop) {
  return {{"pointer", drop.pointer}, {"reason", drop.reason}, {"offset", jsonOf(drop.offset)}};
}

[[nodiscard]] inline JsonObject jsonOf(const Project::Shares& shares) {
  return {{"layer", shares.layer},
          {"allocation", shares.allocation},
          {"covered", shares.covered},
          {"groups", JsonArray(shares.groups.begin(), shares.groups.end())},
          {"dependOnHoldouts", shares.dependOnHoldouts}};
}

/// All that there is in a project.
[[nodiscard]] inline JsonObject jsonOf(const Project& project) {
  const auto json = [](const auto& element) { return jsonOf(element); };
  return {{"flags", listed(project.flags(), json)},
          {"experiments", listed(project.experiments(), json)},
          {"holdouts", listed(project.holdouts(), json)},
          {"properties", jsonOf(project.properties())},
          {"stops", listed(project.stops(), json)},
          {"drops", listed(project.drops(), json)}};
}

[[nodiscard]] inline JsonObject jsonOf(const CorvoExperimentDetail::Result& result) {
  return {{"name", result.name}, {"value", result.value}};
}

/// The group is its index.
[[nodiscard]] inline JsonObject jsonOf(const CorvoExperimentDetail& detail) {
  return {{"type", jsonOf(detail.type)},
          {"id", detail.id},
          {"group", detail.group.index},
          {"results", listed(detail.results, [](const auto& result) { return jsonOf(result); })}};
}

[[nodiscard]] inline JsonArray jsonOf(const std::vector<CorvoExperimentDetail>& details) {
  return listed(details, [](const auto& detail) { return jsonOf(detail); });
}

}  // namespace corvo::corvo_internal::evaluation
