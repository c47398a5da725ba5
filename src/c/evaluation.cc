// SPDX-License-Identifier: Apache-2.0

#include <corvo/c/engine.h>
#include <corvo/evaluation.h>

#include <cstddef>
#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "c/call.h"
#include "c/objects.h"
#include "c/report_json.h"
#include "c/value.h"
#include "model/typed_text.h"

namespace corvo::corvo_internal::c {
namespace {

/// Calls the function with an evaluation that nobody else uses meanwhile.
template <class Body>
corvo_status withEvaluation(const corvo_evaluation* evaluation, Body body) {
  return call([&] { useAlone(evaluations(), evaluation, body); });
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

/// Lists in `kept` what a question answers about the positions.
template <auto question, class Element, class Convert>
corvo_status listAt(const corvo_evaluation* evaluation, const std::size_t* positions,
                    std::size_t count, std::vector<Element> EvaluationObject::*kept,
                    const Element** elements, std::size_t* element_count, Convert convert) {
  return withEvaluation(evaluation, [&](EvaluationObject& object) {
    const Element*& result = resultAt(elements);
    std::size_t& size = resultAt(element_count);
    std::vector<Element>& list = object.*kept;
    list.clear();
    for (const auto& each : (object.evaluation.*question)(listOf(positions, count))) {
      list.push_back(convert(each));
    }
    result = list.data();
    size = list.size();
  });
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
    result = handleIn<corvo_evaluation>(evaluations(), std::move(object));
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
    checkType(type);
    const auto text = object.evaluation.checkFlag<corvo_internal::model::PlainText>(viewOf(name));
    result = valueOf(text.value()->text, type);
  });
}

corvo_status corvo_evaluation_flags(corvo_evaluation* evaluation, corvo_text* json) {
  return withEvaluation(evaluation, [&](EvaluationObject& object) {
    corvo_text& result = resultAt(json);
    result = kept(object, flagsJson(object.evaluation.getUserFeatureFlagsDetails().value()));
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

corvo_status corvo_evaluation_all_experiments(corvo_evaluation* evaluation,
                                              corvo_experiment* const** experiments,
                                              size_t* experiment_count) {
  return withEvaluation(evaluation, [&](EvaluationObject& object) {
    corvo_experiment* const*& result = resultAt(experiments);
    std::size_t& count = resultAt(experiment_count);
    object.experiments = handlesOf(object.evaluation.getAllUserExperiments().value());
    result = object.experiments.data();
    count = object.experiments.size();
  });
}

corvo_status corvo_evaluation_details(corvo_evaluation* evaluation, bool estimate_holdouts,
                                      corvo_text* json) {
  return withEvaluation(evaluation, [&](EvaluationObject& object) {
    corvo_text& result = resultAt(json);
    const auto details = object.evaluation.getUserExperimentsDetails(estimate_holdouts);
    result = kept(object, detailsJson(details.value()));
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
  return listAt<&Evaluation::flagTexts>(evaluation, flags, flag_count, &EvaluationObject::flagTexts,
                                        texts, text_count, [](const Evaluation::FlagText& each) {
                                          return corvo_flag_text{each.flag, asText(each.text)};
                                        });
}

corvo_status corvo_evaluation_memberships(corvo_evaluation* evaluation, const size_t* experiments,
                                          size_t experiment_count,
                                          const corvo_membership** memberships,
                                          size_t* membership_count) {
  return listAt<&Evaluation::memberships>(evaluation, experiments, experiment_count,
                                          &EvaluationObject::memberships, memberships,
                                          membership_count, [](const Evaluation::Membership& each) {
                                            return corvo_membership{each.experiment, each.group};
                                          });
}

corvo_status corvo_evaluation_placements(corvo_evaluation* evaluation, const size_t* experiments,
                                         size_t experiment_count,
                                         const corvo_placement** placements,
                                         size_t* placement_count) {
  return listAt<&Evaluation::placements>(
      evaluation, experiments, experiment_count, &EvaluationObject::placements, placements,
      placement_count, [](const Evaluation::Placement& each) {
        return corvo_placement{each.experiment, asText(textOf(each.reason)),
                               each.group.value_or(CORVO_NO_POSITION),
                               each.holdout.value_or(CORVO_NO_POSITION)};
      });
}

corvo_status corvo_evaluation_explain_flag(corvo_evaluation* evaluation, corvo_text name,
                                           corvo_form form, corvo_text* explanation) {
  return withEvaluation(evaluation, [&](EvaluationObject& object) {
    corvo_text& result = resultAt(explanation);
    checkForm(form);
    result = kept(object, explained(object.evaluation.explainFlag(viewOf(name)), form));
  });
}

corvo_status corvo_evaluation_explain_experiment(corvo_evaluation* evaluation, corvo_text name,
                                                 corvo_form form, corvo_text* explanation) {
  return withEvaluation(evaluation, [&](EvaluationObject& object) {
    corvo_text& result = resultAt(explanation);
    checkForm(form);
    result = kept(object, explained(object.evaluation.explainExperiment(viewOf(name)), form));
  });
}

corvo_status corvo_evaluation_experiment(corvo_evaluation* evaluation, corvo_text name,
                                         corvo_experiment** experiment) {
  return withEvaluation(evaluation, [&](EvaluationObject& object) {
    corvo_experiment*& result = resultAt(experiment);
    CorvoExperimentPointer found = object.evaluation.getExperiment(viewOf(name)).value();
    result = found ? handleOf(std::move(found)) : nullptr;
  });
}
