// SPDX-License-Identifier: Apache-2.0

#include "c/report_json.h"

#include <corvo/json_value.h>

#include <utility>

#include "c/call.h"
#include "c/value.h"
#include "model/property_json.h"

namespace corvo::corvo_internal::c {
namespace {

JsonObject detailJson(const CorvoExperimentDetail& detail) {
  JsonArray results;
  for (const auto& [name, value] : detail.results) {
    results.emplace_back(JsonObject{{"name", name}, {"value", value}});
  }
  return {{"type", jsonOf(detail.type)},
          {"id", detail.id},
          {"group", detail.group.index},
          {"results", std::move(results)}};
}

}  // namespace

std::string flagsJson(const FlagReport& report) {
  JsonObject flags;
  for (const auto& [name, value] : report) flags.emplace(name, model::jsonOf(value));
  return toJson(flags);
}

std::string detailsJson(const std::vector<CorvoExperimentDetail>& details) {
  JsonArray list;
  for (const CorvoExperimentDetail& detail : details) list.emplace_back(detailJson(detail));
  return toJson(list);
}

std::string explained(const Explanation& explanation, corvo_form form) {
  if (form == CORVO_FORM_TEXT) return explanation.toText();
  if (form == CORVO_FORM_JSON) return explanation.toJson();
  throw Misuse(CORVO_INVALID_ARGUMENT, "there is no such form of an explanation");
}

}  // namespace corvo::corvo_internal::c
