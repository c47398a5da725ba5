// SPDX-License-Identifier: Apache-2.0

#include "c/report_json.h"

#include <corvo/json_value.h>

#include <variant>

#include "base/number.h"
#include "c/call.h"
#include "evaluation/report_json.h"
#include "model/property_json.h"

namespace corvo::corvo_internal::c {

namespace {

/// A text that reads as this value again.
std::string textOf(const CorvoProperty& value) {
  if (const auto* text = std::get_if<std::string>(&value)) return *text;
  if (const auto* number = std::get_if<double>(&value)) return base::describe(*number);
  return model::jsonOf(value).toJson();
}

}  // namespace

std::string flagsJson(const FlagReport& report) {
  JsonObject texts;
  for (const auto& [name, value] : report) texts.emplace(name, textOf(value));
  return toJson(texts);
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
