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

void checkForm(corvo_form form) {
  if (form != CORVO_FORM_TEXT && form != CORVO_FORM_JSON) {
    throw Misuse(CORVO_INVALID_ARGUMENT, "there is no such form of an explanation");
  }
}

std::string explained(const Explanation& explanation, corvo_form form) {
  return form == CORVO_FORM_JSON ? explanation.toJson() : explanation.toText();
}

}  // namespace corvo::corvo_internal::c
