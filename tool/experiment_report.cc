// SPDX-License-Identifier: Apache-2.0

#include "tool/experiment_report.h"

#include <corvo/json_value.h>

#include <algorithm>
#include <cstddef>
#include <map>
#include <utility>

#include "model/property_json.h"

namespace corvo::tool {
namespace {

constexpr const char* kNone = "-";

template <class T>
JsonValue orNull(const std::optional<T>& value) {
  return value ? JsonValue(*value) : JsonValue();
}

JsonObject place(const CorvoExperiment& experiment) {
  return {{"name", experiment.name()},
          {"groupIndex", orNull(experiment.groupIndex())},
          {"groupName", orNull(experiment.userGroupName())}};
}

std::string shownIndex(const std::optional<std::int64_t>& index) {
  return index ? std::to_string(*index) : kNone;
}

JsonValue jsonOf(const CorvoExperimentDetail& detail) {
  JsonArray results;
  for (const auto& [name, value] : detail.results) {
    results.push_back(
        JsonObject{{"name", name}, {"value", corvo_internal::model::jsonOf(typedProperty(value))}});
  }
  return JsonObject{{"id", detail.id},
                    {"type", orNull(detail.type)},
                    {"group", JsonObject{{"index", detail.group.index}}},
                    {"results", std::move(results)}};
}

/// The detail of the experiment. If several have its name, the first that the user is in.
const CorvoExperimentDetail& detailOf(const CorvoExperiment& experiment,
                                      const std::vector<CorvoExperimentDetail>& details) {
  static const CorvoExperimentDetail none;
  const auto found = std::ranges::find(details, experiment.name(), &CorvoExperimentDetail::id);
  return found == details.end() ? none : *found;
}

std::map<std::string, CorvoProperty> valuesOf(const CorvoExperimentDetail& detail) {
  std::map<std::string, CorvoProperty> values;
  for (const auto& [name, value] : detail.results) values.emplace(name, typedProperty(value));
  return values;
}

/// One row per value, or a single one if there are no values.
void addRows(Report& report, const CorvoExperimentDetail& detail) {
  const auto add = [&](const std::string& name, const std::string& value) {
    report.rows.push_back(
        {detail.id, detail.type.value_or(kNone), std::to_string(detail.group.index), name, value});
  };
  for (const auto& [name, value] : detail.results) add(name, shown(typedProperty(value)));
  if (detail.results.empty()) add(kNone, kNone);
}

}  // namespace

Report experimentReport(const CorvoExperiment& experiment,
                        const std::vector<CorvoExperimentDetail>& details) {
  const CorvoExperimentDetail& detail = detailOf(experiment, details);
  const std::map<std::string, CorvoProperty> values = valuesOf(detail);
  Report report = valueReport(detail.type == "featureFlag" ? "FLAG" : "PARAMETER", values);
  if (values.empty()) report.columns.clear();
  report.sentence = experiment.name() + ": group " + shownIndex(experiment.groupIndex()) + ", " +
                    shown(experiment.userGroupName().value_or(kNone));
  JsonObject json = place(experiment);
  json.emplace("type", orNull(detail.type));
  json.emplace("values", std::exchange(report.json, {}));
  report.json = std::move(json);
  return report;
}

JsonValue placeWithValues(const CorvoExperiment& experiment,
                          const std::vector<CorvoExperimentDetail>& details) {
  JsonObject json = place(experiment);
  json.erase("name");
  json.emplace("values", valueReport("", valuesOf(detailOf(experiment, details))).json);
  return json;
}

Report absenceReport(const std::string& experimentName) {
  Report report;
  report.sentence = experimentName + ": the user is not in it";
  report.json = JsonObject{{"name", experimentName},
                           {"groupIndex", {}},
                           {"groupName", {}},
                           {"type", {}},
                           {"values", JsonObject()}};
  return report;
}

Report experimentsReport(const std::vector<CorvoExperimentPointer>& experiments) {
  Report report{{}, {"EXPERIMENT", "INDEX", "GROUP"}, {}, {}};
  JsonArray json;
  for (const CorvoExperimentPointer& each : experiments) {
    report.rows.push_back(
        {each->name(), shownIndex(each->groupIndex()), each->userGroupName().value_or(kNone)});
    json.push_back(place(*each));
  }
  report.json = std::move(json);
  return report;
}

Report holdoutReport(const std::string& name, bool isIn) {
  const JsonValue answer = isIn;
  return {{}, {"HOLDOUT", "HELD OUT"}, {{name, answer.toJson()}}, JsonObject{{name, answer}}};
}

Report holdoutsReport(const std::vector<CorvoExperimentPointer>& experiments,
                      const std::vector<CorvoExperimentDetail>& details) {
  std::vector<CorvoExperimentPointer> holdouts;
  for (std::size_t i = 0; i < std::min(experiments.size(), details.size()); ++i) {
    if (details[i].type == "holdout") holdouts.push_back(experiments[i]);
  }
  Report report = experimentsReport(holdouts);
  report.columns[0] = "HOLDOUT";
  return report;
}

Report detailsReport(const std::vector<CorvoExperimentDetail>& details) {
  Report report{{}, {"EXPERIMENT", "TYPE", "INDEX", "NAME", "VALUE"}, {}, {}};
  JsonArray json;
  for (const CorvoExperimentDetail& detail : details) {
    addRows(report, detail);
    json.push_back(jsonOf(detail));
  }
  report.json = std::move(json);
  return report;
}

Report forcedReport(const std::string& experimentName,
                    const std::optional<std::int64_t>& groupIndex) {
  Report report;
  report.sentence = experimentName + ": forced";
  if (groupIndex) report.sentence += " into group " + std::to_string(*groupIndex);
  report.json =
      JsonObject{{"forced", true}, {"name", experimentName}, {"groupIndex", orNull(groupIndex)}};
  return report;
}

Report unforcedReport(const std::optional<std::string>& experimentName) {
  Report report;
  report.sentence = experimentName.value_or("all experiments") + ": no longer forced";
  report.json = JsonObject{{"forced", false}, {"name", orNull(experimentName)}};
  return report;
}

}  // namespace corvo::tool
