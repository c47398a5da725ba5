// SPDX-License-Identifier: Apache-2.0

#include <corvo/evaluation.h>
#include <corvo/experiment.h>
#include <corvo/json_value.h>
#include <corvo/project.h>

#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "boundary.h"
#include "context.h"
#include "evaluation/report_json.h"
#include "lint/finding_json.h"
#include "model/typed_text.h"

// The functions that JavaScript calls. Their answer is the result; names, documents, positions and
// contexts are in the input. Some functions have no answer, and leave the last one.

namespace corvo::corvo_internal::wasm {
namespace {

/// A project with what the report of all flags needs.
struct NamedProject {
  explicit NamedProject(Project&& decoded) : project(std::move(decoded)) {
    for (Project::Flag& flag : project.flags()) {
      positions.push_back(names.size());
      names.push_back(std::move(flag.name));
    }
  }

  const Project project;
  std::vector<std::string> names;  // of the flags
  std::vector<std::size_t> positions;
};
using ProjectPointer = std::shared_ptr<const NamedProject>;

/// An evaluation with its context and its last results.
struct Questions {
  explicit Questions(ProjectPointer from)
      : project(std::move(from)), evaluation(project->project, written.context()) {}

  ProjectPointer project;
  WrittenContext written{input()};
  Evaluation evaluation;
  std::vector<Record> records;
  std::vector<CorvoExperimentPointer*> experiments;
};

/// Answers with the value, or with the error in its place.
template <class T>
void answerResult(Result<T>&& result) {
  if (const CorvoError* error = result.error()) return answer(*error);
  answer(std::move(result).value());
}
void answerResult(Result<std::optional<std::string>>&& result) {
  if (const CorvoError* error = result.error()) return answer(*error);
  if (auto& text = result.value()) return answer(std::move(*text));
  answerNothing();
}

/// The positions in the input.
std::span<const std::size_t> positions(std::size_t count) {
  return {reinterpret_cast<const std::size_t*>(input().data()), count};
}

}  // namespace
}  // namespace corvo::corvo_internal::wasm

using namespace corvo;
using namespace corvo::corvo_internal::wasm;

CORVO_WASM_EXPORT(corvo_lint) void lintDocument(std::size_t size) {
  std::string json = corvo_internal::lint::findingsJson(inputText(size));
  dropInput();
  answer(std::move(json));
}

/// Null for a document that cannot be read.
CORVO_WASM_EXPORT(corvo_decode) ProjectPointer* decodeProject(std::size_t size, bool forClient) {
  auto decoded =
      Project::decode(inputText(size), forClient ? Project::Filter::client : Project::Filter::none);
  dropInput();
  if (const CorvoError* error = decoded.error()) {
    answer(*error);
    return nullptr;
  }
  return new ProjectPointer(std::make_shared<const NamedProject>(std::move(decoded.value())));
}
CORVO_WASM_EXPORT(corvo_free_project) void freeProject(const ProjectPointer* project) {
  delete project;
}

CORVO_WASM_EXPORT(corvo_describe) void describeProject(const ProjectPointer* project) {
  answer(toJson(corvo_internal::evaluation::jsonOf((*project)->project)));
}

/// The input is the context.
CORVO_WASM_EXPORT(corvo_evaluate) Questions* evaluate(const ProjectPointer* project) {
  return new Questions(*project);
}
CORVO_WASM_EXPORT(corvo_reset) void reset(Questions* questions) {
  questions->written.take(input());
  questions->evaluation.reset(questions->written.context());
}
CORVO_WASM_EXPORT(corvo_free_evaluation) void freeEvaluation(const Questions* questions) {
  delete questions;
}

CORVO_WASM_EXPORT(corvo_check_flag)
void checkFlag(Questions* questions, std::size_t nameSize, Kind kind) {
  using corvo_internal::model::PlainText;
  const auto text = questions->evaluation.checkFlag<PlainText>(inputText(nameSize));
  if (const CorvoError* error = text.error()) return answer(*error);
  answer(valueOf(text.value()->text, kind));
}

/// The values of all flags that have one, with their names.
CORVO_WASM_EXPORT(corvo_flags) void flags(Questions* questions) {
  const NamedProject& project = *questions->project;
  questions->records.clear();
  for (const auto& [flag, text] : questions->evaluation.flagTexts(project.positions)) {
    Record& record = questions->records.emplace_back(valueOf(text, Kind::any));
    record.name = project.names[flag].data();
    record.nameSize = project.names[flag].size();
  }
  answerList(questions->records);
}

/// The texts of the flags at the positions in the input, with their positions.
CORVO_WASM_EXPORT(corvo_flag_texts) void flagTexts(Questions* questions, std::size_t count) {
  questions->records.clear();
  for (const auto& [flag, text] : questions->evaluation.flagTexts(positions(count))) {
    questions->records.emplace_back(Kind::string, text).position = flag;
  }
  answerList(questions->records);
}

/// The groups in the experiments at the positions in the input: pairs of positions.
CORVO_WASM_EXPORT(corvo_memberships)
void memberships(Questions* questions, std::size_t count) {
  static_assert(sizeof(Evaluation::Membership) == 8);
  answerList(questions->evaluation.memberships(positions(count)));
}

CORVO_WASM_EXPORT(corvo_experiments_text)
void experimentsText(Questions* questions, bool estimateHoldouts) {
  answerResult(questions->evaluation.getAllUserExperimentsText(estimateHoldouts));
}
CORVO_WASM_EXPORT(corvo_holdouts_text) void holdoutsText(Questions* questions) {
  answerResult(questions->evaluation.getAllUserHoldouts());
}
CORVO_WASM_EXPORT(corvo_holdout) void holdout(Questions* questions, std::size_t nameSize) {
  answerResult(questions->evaluation.getHoldout(inputText(nameSize)));
}

CORVO_WASM_EXPORT(corvo_details) void details(Questions* questions, bool estimateHoldouts) {
  const auto details = questions->evaluation.getUserExperimentsDetails(estimateHoldouts);
  if (const CorvoError* error = details.error()) return answer(*error);
  answer(toJson(corvo_internal::evaluation::jsonOf(details.value())));
}

CORVO_WASM_EXPORT(corvo_explain)
void explain(Questions* questions, std::size_t nameSize, bool isFlag, bool asJson) {
  const std::string_view name = inputText(nameSize);
  auto& evaluation = questions->evaluation;
  const Explanation explained =
      isFlag ? evaluation.explainFlag(name) : evaluation.explainExperiment(name);
  answer(asJson ? explained.toJson() : explained.toText());
}

/// Null if there is none, or after an error.
CORVO_WASM_EXPORT(corvo_experiment)
CorvoExperimentPointer* experiment(Questions* questions, std::size_t nameSize) {
  auto found = questions->evaluation.getExperiment(inputText(nameSize));
  if (const CorvoError* error = found.error()) {
    answer(*error);
    return nullptr;
  }
  answerNothing();
  return found.value() == nullptr ? nullptr : new CorvoExperimentPointer(std::move(found.value()));
}
CORVO_WASM_EXPORT(corvo_free_experiment) void freeExperiment(const CorvoExperimentPointer* each) {
  delete each;
}

/// A list of handles. Each must be freed.
CORVO_WASM_EXPORT(corvo_experiments) void experiments(Questions* questions) {
  auto all = questions->evaluation.getAllUserExperiments();
  if (const CorvoError* error = all.error()) return answer(*error);
  questions->experiments.clear();
  for (auto& each : all.value()) {
    questions->experiments.push_back(new CorvoExperimentPointer(std::move(each)));
  }
  answerList(questions->experiments);
}

/// The name, the group's name as a string, and its index.
CORVO_WASM_EXPORT(corvo_experiment_group)
void experimentGroup(const CorvoExperimentPointer* experiment) {
  static std::string name;
  name = (*experiment)->name();
  answer((*experiment)->userGroupName().value_or(""));
  answerAlso(name, (*experiment)->groupIndex().value_or(-1));
}

CORVO_WASM_EXPORT(corvo_experiment_value)
void experimentValue(const CorvoExperimentPointer* experiment, std::size_t nameSize, bool isFlag,
                     Kind kind) {
  const std::string_view name = inputText(nameSize);
  const Result<std::optional<std::string_view>> text =
      isFlag ? (*experiment)->featureText(name) : (*experiment)->paramText(name);
  if (const CorvoError* error = text.error()) return answer(*error);
  answer(text.value() ? valueOf(*text.value(), kind) : Record{});
}
