// SPDX-License-Identifier: Apache-2.0

#include <corvo/c.h>
#include <corvo/evaluation.h>
#include <corvo/json_value.h>

#include <cstddef>
#include <exception>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <type_traits>
#include <utility>

#include "c/call.h"
#include "c/objects.h"
#include "c/value.h"
#include "model/property_json.h"

namespace corvo::corvo_internal::c {
namespace {

/// Calls the function with an evaluation that nobody else uses meanwhile.
template <class Body>
corvo_status withEvaluation(const corvo_evaluation* evaluation, Body body) {
  return call([&] {
    using Table = std::remove_cvref_t<decltype(evaluations())>;
    const typename Table::Use use(evaluations(), evaluation);
    if (use.found() == Table::Found::invalid) throwInvalidHandle();
    if (use.found() == Table::Found::busy) throwBusy();
    body(*use.object());
  });
}

std::span<const std::size_t> positionsOf(const std::size_t* positions, std::size_t count) {
  if (positions == nullptr && count > 0) {
    throw Misuse(CORVO_INVALID_ARGUMENT, "a list of positions has a count but no address");
  }
  return {positions, count};
}

/// Keeps a text for the caller until the next call.
corvo_text kept(EvaluationObject& object, std::string text) {
  object.text = std::move(text);
  return asText(object.text);
}
corvo_value keptValue(EvaluationObject& object, std::optional<std::string> text) {
  if (!text) return stringValue(std::nullopt);
  object.text = std::move(*text);
  return stringValue(object.text);
}

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

std::string explained(const Explanation& explanation, corvo_form form) {
  if (form == CORVO_FORM_TEXT) return explanation.toText();
  if (form == CORVO_FORM_JSON) return explanation.toJson();
  throw Misuse(CORVO_INVALID_ARGUMENT, "there is no such form of an explanation");
}

}  // namespace
}  // namespace corvo::corvo_internal::c

using namespace corvo;
using namespace corvo::corvo_internal::c;

corvo_status corvo_evaluation_create(corvo_project* project, const corvo_context* context,
                                     corvo_evaluation** evaluation) {
  return call([&] {
    corvo_evaluation*& result = resultAt(evaluation);
    const auto prepared = shared(projects(), project);
    auto object = std::make_shared<EvaluationObject>(prepared->project, context);
    result = static_cast<corvo_evaluation*>(evaluations().add(std::move(object)));
  });
}

corvo_status corvo_evaluation_reset(corvo_evaluation* evaluation, const corvo_context* context) {
  return withEvaluation(evaluation, [&](EvaluationObject& object) {
    try {
      object.context.take(context);
    } catch (const Misuse&) {  // nothing has changed
      throw;
    } catch (const std::exception&) {
      object.evaluation.reset({});  // must not refer to texts that are gone
      throw;
    }
    object.evaluation.reset(object.context.context());
  });
}

corvo_status corvo_evaluation_free(corvo_evaluation* evaluation) {
  return call([&] { freeHandle(evaluations(), evaluation); });
}

corvo_status corvo_evaluation_check_flag(corvo_evaluation* evaluation, corvo_text name,
                                         corvo_type type, corvo_value* value) {
  return withEvaluation(evaluation, [&](EvaluationObject& object) {
    corvo_value& result = resultAt(value);
    const auto text = object.evaluation.checkFlag<PlainText>(viewOf(name));
    result = valueOf(text.value()->text, type);
  });
}

corvo_status corvo_evaluation_flags(corvo_evaluation* evaluation, corvo_text* json) {
  return withEvaluation(evaluation, [&](EvaluationObject& object) {
    corvo_text& result = resultAt(json);
    const Result<FlagReport> report = object.evaluation.getUserFeatureFlagsDetails();
    JsonObject flags;
    for (const auto& [name, value] : report.value())
      flags.emplace(name, corvo_internal::model::jsonOf(value));
    result = kept(object, toJson(flags));
  });
}

corvo_status corvo_evaluation_experiments(corvo_evaluation* evaluation, bool estimate_holdouts,
                                          corvo_value* text) {
  return withEvaluation(evaluation, [&](EvaluationObject& object) {
    corvo_value& result = resultAt(text);
    auto list = object.evaluation.getAllUserExperimentsText(estimate_holdouts);
    result = keptValue(object, std::move(list).value());
  });
}

corvo_status corvo_evaluation_details(corvo_evaluation* evaluation, bool estimate_holdouts,
                                      corvo_text* json) {
  return withEvaluation(evaluation, [&](EvaluationObject& object) {
    corvo_text& result = resultAt(json);
    const auto details = object.evaluation.getUserExperimentsDetails(estimate_holdouts);
    JsonArray list;
    for (const CorvoExperimentDetail& detail : details.value()) {
      list.emplace_back(detailJson(detail));
    }
    result = kept(object, toJson(list));
  });
}

corvo_status corvo_evaluation_holdout(corvo_evaluation* evaluation, corvo_text name, bool* is_in) {
  return withEvaluation(evaluation, [&](EvaluationObject& object) {
    bool& result = resultAt(is_in);
    result = object.evaluation.getHoldout(viewOf(name)).value();
  });
}

corvo_status corvo_evaluation_holdouts(corvo_evaluation* evaluation, corvo_value* text) {
  return withEvaluation(evaluation, [&](EvaluationObject& object) {
    corvo_value& result = resultAt(text);
    result = keptValue(object, object.evaluation.getAllUserHoldouts().value());
  });
}

corvo_status corvo_evaluation_flag_texts(corvo_evaluation* evaluation, const size_t* flags,
                                         size_t flag_count, const corvo_flag_text** texts,
                                         size_t* text_count) {
  return withEvaluation(evaluation, [&](EvaluationObject& object) {
    const corvo_flag_text*& result = resultAt(texts);
    std::size_t& count = resultAt(text_count);
    object.flagTexts.clear();
    for (const auto& [flag, text] : object.evaluation.flagTexts(positionsOf(flags, flag_count))) {
      object.flagTexts.push_back({flag, asText(text)});
    }
    result = object.flagTexts.data();
    count = object.flagTexts.size();
  });
}

corvo_status corvo_evaluation_memberships(corvo_evaluation* evaluation, const size_t* experiments,
                                          size_t experiment_count,
                                          const corvo_membership** memberships,
                                          size_t* membership_count) {
  return withEvaluation(evaluation, [&](EvaluationObject& object) {
    const corvo_membership*& result = resultAt(memberships);
    std::size_t& count = resultAt(membership_count);
    object.memberships.clear();
    const auto positions = positionsOf(experiments, experiment_count);
    for (const auto& [experiment, group] : object.evaluation.memberships(positions)) {
      object.memberships.push_back({experiment, group});
    }
    result = object.memberships.data();
    count = object.memberships.size();
  });
}

corvo_status corvo_evaluation_explain_flag(corvo_evaluation* evaluation, corvo_text name,
                                           corvo_form form, corvo_text* explanation) {
  return withEvaluation(evaluation, [&](EvaluationObject& object) {
    corvo_text& result = resultAt(explanation);
    result = kept(object, explained(object.evaluation.explainFlag(viewOf(name)), form));
  });
}

corvo_status corvo_evaluation_explain_experiment(corvo_evaluation* evaluation, corvo_text name,
                                                 corvo_form form, corvo_text* explanation) {
  return withEvaluation(evaluation, [&](EvaluationObject& object) {
    corvo_text& result = resultAt(explanation);
    result = kept(object, explained(object.evaluation.explainExperiment(viewOf(name)), form));
  });
}

corvo_status corvo_evaluation_experiment(corvo_evaluation* evaluation, corvo_text name,
                                         corvo_experiment** experiment) {
  return withEvaluation(evaluation, [&](EvaluationObject& object) {
    corvo_experiment*& result = resultAt(experiment);
    CorvoExperimentPointer found = object.evaluation.getExperiment(viewOf(name)).value();
    if (!found) {
      result = nullptr;
      return;
    }
    auto snapshot = std::make_shared<ExperimentObject>(
        ExperimentObject{found, found->name(), found->userGroupName().value_or(""),
                         found->groupIndex().value_or(-1)});
    result = static_cast<corvo_experiment*>(experiments().add(std::move(snapshot)));
  });
}
