// SPDX-License-Identifier: Apache-2.0

#include "tool/ofrep/flag_answers.h"

#include <corvo/json_value.h>
#include <corvo/property.h>

#include <cmath>
#include <numeric>
#include <utility>
#include <variant>

#include "base/number.h"
#include "base/text.h"
#include "model/property_json.h"

namespace corvo::tool {

namespace base = corvo_internal::base;

namespace {

std::string asJson(std::string_view text) { return JsonValue(std::string(text)).toJson(); }

// The value of the type that the text implies. A whole double keeps its fraction ("2.0"), because
// clients in many languages tell it from an integer. A double that JSON cannot express stays a
// text.
std::string valueJson(std::string_view text) {
  const CorvoProperty value = typedProperty(text);
  const double* const number = std::get_if<double>(&value);
  if (number == nullptr) return corvo_internal::model::jsonOf(value).toJson();
  return std::isfinite(*number) ? base::describe(*number) : asJson(text);
}

// 0 stands for no position.
std::size_t fromOne(std::optional<std::size_t> position) { return position ? *position + 1 : 0; }

}  // namespace

FlagCatalogue::FlagCatalogue(const Project& project)
    : flags_(project.flags()), all_(flags_.size()), experiments_(allExperiments(project)) {
  std::iota(all_.begin(), all_.end(), std::size_t{0});
  for (const std::size_t each : all_) positions_.emplace(flags_[each].name, each);
}

std::optional<std::size_t> FlagCatalogue::find(std::string_view name) const {
  const auto found = positions_.find(std::string_view(base::WellFormed(name)));
  return found == positions_.end() ? std::nullopt : std::optional(found->second);
}

std::size_t FlagAnswers::CauseHash::operator()(const Cause& cause) const noexcept {
  constexpr std::size_t kFactor = 31;  // positions are small, and most causes differ in the flag
  std::size_t hash = cause.flag;
  for (const std::size_t each : {cause.experiment, cause.group, cause.rule}) {
    hash = hash * kFactor + each;
  }
  return hash;
}

const FlagAnswer& FlagAnswers::answerTo(const Evaluation::FlagDecision& decision) {
  const Cause cause{decision.flag, fromOne(decision.experiment), fromOne(decision.group),
                    fromOne(decision.rule), decision.reason};
  if (const auto known = answers_.find(cause); known != answers_.end()) return known->second;
  FlagAnswer answer;
  answer.isSuccess = decision.reason != FlagReason::featureFlagNotFound;
  answer.json = answer.isSuccess ? success(decision)
                                 : failureJson(catalogue_.name(decision.flag), "FLAG_NOT_FOUND",
                                               "only experiments have this flag, and the user is "
                                               "not in the one that decides it");
  answer.digest = base::md5(answer.json);
  return answers_.emplace(cause, std::move(answer)).first->second;
}

std::string FlagAnswers::success(const Evaluation::FlagDecision& decision) const {
  std::string json = "{\"key\":" + asJson(catalogue_.name(decision.flag));
  if (decision.text) {
    json += ",\"value\":" + valueJson(*decision.text);
  }
  std::string variant = "rule-" + std::to_string(decision.rule.value_or(0));
  std::string_view reason = decision.hasConditions ? "TARGETING_MATCH" : "STATIC";
  std::string metadata;
  if (decision.experiment) {
    const Project::Experiment& experiment = catalogue_.experiment(*decision.experiment);
    reason = "SPLIT";
    variant = experiment.groups[*decision.group].name;
    metadata = "\"experiment\":" + asJson(experiment.name) +
               ",\"index\":" + std::to_string(*decision.group);
  }
  json += ",\"reason\":" + asJson(decision.text ? reason : "DEFAULT");
  if (decision.text) json += ",\"variant\":" + asJson(variant);
  json += ",\"metadata\":{" + metadata + "}}";
  if (decision.text) return json;
  return withMetadata(json, "\"noValue\":" + asJson(textOf(decision.reason)));
}

std::string failureJson(std::optional<std::string_view> key, std::string_view code,
                        std::string_view details) {
  const std::string ofKey = key ? "\"key\":" + asJson(base::WellFormed(*key)) + "," : "";
  return "{" + ofKey + "\"errorCode\":" + asJson(code) + ",\"errorDetails\":" + asJson(details) +
         "}";
}

std::string withMetadata(std::string_view success, std::string_view member) {
  success.remove_suffix(std::string_view("}}").size());
  std::string json(success);
  if (!success.ends_with('{')) json += ',';
  return json.append(member).append("}}");
}

}  // namespace corvo::tool
