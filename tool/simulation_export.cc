// SPDX-License-Identifier: Apache-2.0

#include <corvo/json_value.h>

#include <array>
#include <cstdint>
#include <string_view>
#include <utility>

#include "model/property_json.h"
#include "tool/csv.h"
#include "tool/report.h"
#include "tool/simulation_views.h"

namespace corvo::tool {
namespace {

JsonValue textIfAny(const std::string& text) { return text.empty() ? JsonValue() : text; }

JsonValue jsonOf(const SimulationReport::Group& group) {
  return JsonObject{{"name", group.name},
                    {"weight", corvo_internal::model::jsonOf(CorvoProperty(group.weight))},
                    {"share", group.share},
                    {"expected", group.expected},
                    {"users", numberOf(group.bucketed)},
                    {"forced", numberOf(group.forced)}};
}

JsonValue jsonOf(const SimulationReport::Outside& outside) {
  return JsonObject{{"reason", std::string(textOf(outside.reason))},
                    {"holdout", outside.holdout ? JsonValue(*outside.holdout) : JsonValue()},
                    {"users", numberOf(outside.users)}};
}

JsonValue jsonOf(const std::optional<Fit>& fit) {
  if (!fit) return nullptr;
  return JsonObject{{"chiSquare", fit->chiSquare},
                    {"degreesOfFreedom", numberOf(fit->degreesOfFreedom)},
                    {"p", fit->p},
                    {"flagged", fit->isFlagged()}};
}

JsonValue jsonOf(const SimulationReport::Experiment& experiment) {
  JsonArray outside;
  for (const auto& each : experiment.outside) outside.push_back(jsonOf(each));
  JsonArray groups;
  for (const auto& each : experiment.groups) groups.push_back(jsonOf(each));
  return JsonObject{{"name", experiment.name},
                    {"position", numberOf(experiment.position)},
                    {"holdout", experiment.isHoldout},
                    {"users", numberOf(experiment.users)},
                    {"outside", std::move(outside)},
                    {"shares", JsonObject{{"layer", experiment.shares.layer},
                                          {"allocation", experiment.shares.allocation},
                                          {"covered", experiment.shares.covered}}},
                    {"groups", std::move(groups)},
                    {"test", jsonOf(experiment.fit)},
                    {"untested", textIfAny(experiment.untested)}};
}

/// A line of the table. What does not apply is empty.
struct CsvRow {
  std::string kind, experiment, position, name, users, weight, share, expected, chiSquare, degrees,
      p;

  [[nodiscard]] std::string line() const {
    return csvLine(std::array{kind, experiment, position, name, users, weight, share, expected,
                              chiSquare, degrees, p});
  }
};

std::string inFull(double value) { return JsonValue(value).toJson(); }

CsvRow rowOf(std::string_view kind, const SimulationReport::Experiment& experiment,
             const std::string& name, std::uint64_t users) {
  CsvRow row;
  row.kind = kind;
  row.experiment = experiment.name;
  row.position = std::to_string(experiment.position);
  row.name = name;
  row.users = std::to_string(users);
  return row;
}

std::string rowsOf(const SimulationReport::Experiment& experiment) {
  CsvRow in =
      rowOf(experiment.isHoldout ? "holdout" : "experiment", experiment, {}, experiment.users);
  if (experiment.fit) {
    in.chiSquare = inFull(experiment.fit->chiSquare);
    in.degrees = std::to_string(experiment.fit->degreesOfFreedom);
    in.p = inFull(experiment.fit->p);
  }
  std::string lines = in.line();
  for (const auto& each : experiment.outside) {
    lines += rowOf(textOf(each.reason), experiment, each.holdout.value_or(""), each.users).line();
  }
  for (const auto& each : experiment.groups) {
    CsvRow row = rowOf("group", experiment, each.name, each.bucketed);
    row.weight = shown(each.weight);
    row.share = inFull(each.share);
    row.expected = inFull(each.expected);
    lines += row.line();
    if (each.forced > 0) lines += rowOf("forced", experiment, each.name, each.forced).line();
  }
  return lines;
}

}  // namespace

std::string inJson(const SimulationReport& report) {
  JsonArray experiments;
  for (const auto& each : report.experiments) experiments.push_back(jsonOf(each));
  JsonArray overlaps;
  for (const auto& each : report.overlaps) {
    overlaps.push_back(
        JsonObject{{"experiments", JsonArray{numberOf(report.experiments[each.first].position),
                                             numberOf(report.experiments[each.second].position)}},
                   {"users", numberOf(each.users)},
                   {"expected", each.expected}});
  }
  const JsonObject all{{"users", numberOf(report.users)},
                       {"experiments", std::move(experiments)},
                       {"overlaps", std::move(overlaps)}};
  return toJson(all) + "\n";
}

std::string inCsv(const SimulationReport& report) {
  std::string lines =
      CsvRow{"kind",     "experiment", "position",           "name", "users", "weight", "share",
             "expected", "chi_square", "degrees_of_freedom", "p"}
          .line();
  for (const auto& each : report.experiments) lines += rowsOf(each);
  for (const auto& each : report.overlaps) {
    CsvRow row = rowOf("overlap", report.experiments[each.first],
                       report.experiments[each.second].name, each.users);
    row.expected = inFull(each.expected);
    lines += row.line();
  }
  return lines;
}

}  // namespace corvo::tool
