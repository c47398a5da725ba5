// SPDX-License-Identifier: Apache-2.0

#include "c/report_json.h"

#include <corvo/json_value.h>

#include "c/call.h"
#include "evaluation/report_json.h"
#include "model/property_json.h"

namespace corvo::corvo_internal::c {

std::string flagsJson(const FlagReport& report) {
  JsonObject flags;
  for (const auto& [name, value] : report) flags.emplace(name, model::jsonOf(value));
  return toJson(flags);
}

std::string detailsJson(const std::vector<CorvoExperimentDetail>& details) {
  return toJson(evaluation::jsonOf(details));
}

std::string explained(const Explanation& explanation, corvo_form form) {
  if (form == CORVO_FORM_TEXT) return explanation.toText();
  if (form == CORVO_FORM_JSON) return explanation.toJson();
  throw Misuse(CORVO_INVALID_ARGUMENT, "there is no such form of an explanation");
}

}  // namespace corvo::corvo_internal::c
