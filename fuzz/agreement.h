// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/client.h>

#include <algorithm>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <variant>

#include "fuzz/documents.h"

namespace corvo::fuzz {

using namespace corvo_internal;

/// The answer to a question that must be answered immediately; empty if it is an error.
template <class T>
std::optional<T> now(Answer<T> answer) {
  require(answer.await_ready(), "fresh copies answer at once");
  try {
    return answer.get();
  } catch (const CorvoError&) {
    return std::nullopt;
  }
}

/// NaN does not equal itself, but its text does.
inline std::string textOf(const CorvoProperty& property) {
  return std::visit([](const auto& value) { return JsonValue(value).toJson(); }, property);
}

inline std::map<std::string, std::string> reportOf(CorvoClient& client) {
  std::map<std::string, std::string> texts;
  const auto report = now(client.getUserFeatureFlagsDetails()).value();
  for (const auto& [name, value] : report) texts[name] = textOf(value);
  return texts;
}

/// Compares a client's reports with each other. The client's cached copies must be fresh.
inline void compareReports(CorvoClient& client) {
  const auto details = now(client.getUserExperimentsDetails()).value();
  const auto handles = now(client.getAllUserExperiments()).value();
  require(details.size() == handles.size(), "a record for every handle");
  std::optional<std::string> texts[3];  // of all, holdouts, others
  for (std::size_t i = 0; i < details.size(); ++i) {
    const auto& [type, id, group, results] = details[i];
    const CorvoExperiment& handle = *handles[i];
    require(id == handle.name() && group.index == handle.groupIndex(), "the same group");
    for (const auto& [name, value] : results) {
      const bool isFlag = type == "featureFlag";
      require(value == (isFlag ? handle.featureText(name).value() : handle.paramText(name)),
              "the value");
    }
    for (auto* text : {&texts[0], &texts[type == "holdout" ? 1 : 2]}) {
      const std::string before = *text ? **text + '|' : "";
      *text = before + id + '.' + std::to_string(group.index);
    }
  }
  require(texts[0] == now(client.getAllUserExperimentsText()).value(), "the same text");
  require(texts[1] == now(client.getAllUserHoldouts()).value(), "of holdouts");
  require(texts[2] == now(client.getAllUserExperimentsText(false)).value(), "without holdouts");
}

/// Compares a client's reports with its answers to single questions. The client's cached copies
/// must be fresh.
inline void compareAnswers(CorvoClient& client, const model::ConfigResponse& config) {
  const auto report = reportOf(client);
  const auto details = now(client.getUserExperimentsDetails()).value();
  for (const std::string name : kNames) {
    const auto flag = now(client.checkFlag<std::string>(name));
    require(now(client.explainFlag(name)).value().value == flag.value_or(std::nullopt),
            "the explained value");
    if (const auto reported = report.find(name); reported != report.end()) {
      require(flag && textOf(typedProperty(flag->value())) == reported->second, "the same value");
    } else {
      const bool isOwn = std::ranges::count(config.featureFlags, std::string_view(name),
                                            &model::FeatureFlag::name);
      require(!flag || !isOwn, "a flag with a value is reported");
    }
    const auto detail = std::ranges::find(details, name, &CorvoExperimentDetail::id);
    const auto handle = now(client.getExperiment(name)).value_or(nullptr);
    require((handle != nullptr) == (detail != details.end()), "in the experiment or not");
    const auto explained = now(client.explainExperiment(name)).value();
    require(explained.value == (handle ? handle->userGroupName() : std::nullopt),
            "the explained group");
    if (handle == nullptr) continue;
    require(handle->groupIndex() == detail->group.index, "in the same group");
    // If several share a name, the holdout may be a different one.
    if (std::ranges::count(config.experiments, std::string_view(name), &model::Experiment::name) >
        1)
      continue;
    require(detail->type != "holdout" || now(client.getHoldout(name)) == true, "in the holdout");
  }
}

}  // namespace corvo::fuzz
