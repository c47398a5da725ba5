// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/c/engine.h>
#include <corvo/evaluation.h>
#include <corvo/experiment.h>
#include <corvo/project.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "c/call.h"
#include "c/context_copy.h"
#include "c/handle_table.h"

namespace corvo::corvo_internal::c {

/// What the handles of `corvo/c.h` stand for.
struct ProjectObject {
  explicit ProjectObject(Project decoded) : project(std::move(decoded)) {}

  const Project project;
  std::once_flag described;
  std::string description;
  std::mutex mutex;
  std::map<std::size_t, std::string> shares;  // as JSON, by position; guarded by the mutex
};

struct EvaluationObject {
  EvaluationObject(const Project& project, const corvo_context* given)
      : context(given), evaluation(project, context.context()) {}

  ContextCopy context;  // the evaluation refers to it
  Evaluation evaluation;
  // The results of the last call.
  std::string text;
  std::vector<corvo_flag_text> flagTexts;
  std::vector<corvo_membership> memberships;
  std::vector<corvo_placement> placements;
  std::vector<corvo_experiment*> experiments;  // the caller's
};

struct ExperimentObject {
  explicit ExperimentObject(CorvoExperimentPointer found)
      : experiment(std::move(found)),
        name(experiment->name()),
        groupName(experiment->userGroupName()),
        groupIndex(experiment->groupIndex().value_or(-1)) {}

  CorvoExperimentPointer experiment;
  std::string name;
  std::optional<std::string> groupName;
  std::int64_t groupIndex;
};

struct FindingsObject {
  std::string json;
};

inline auto& projects() { return tableOf<ProjectObject, Mark::project, true>(); }
inline auto& evaluations() { return tableOf<EvaluationObject, Mark::evaluation, false>(); }
inline auto& experiments() { return tableOf<ExperimentObject, Mark::experiment, true>(); }
inline auto& findings() { return tableOf<FindingsObject, Mark::findings, true>(); }

inline corvo_project* handleOf(Project project) {
  return handleIn<corvo_project>(projects(), std::make_shared<ProjectObject>(std::move(project)));
}
/// Of an experiment that is not null.
inline corvo_experiment* handleOf(CorvoExperimentPointer experiment) {
  return handleIn<corvo_experiment>(experiments(),
                                    std::make_shared<ExperimentObject>(std::move(experiment)));
}

void freeAll(const std::vector<corvo_experiment*>& handles);
/// All of them, or none if it throws.
std::vector<corvo_experiment*> handlesOf(const std::vector<CorvoExperimentPointer>& experiments);

/// A shared object. Throws `Misuse` if the handle is invalid.
template <class Table>
auto shared(Table& table, const void* handle) {
  auto object = table.share(handle);
  if (!object) throwInvalidHandle();
  return object;
}

/// Calls the function with an object that nobody else uses meanwhile. Throws `Misuse` if the handle
/// is invalid or in use.
template <class Table, class Body>
void useAlone(Table& table, const void* handle, Body&& body) {
  const typename Table::Use use(table, handle);
  if (use.found() == Table::Found::invalid) throwInvalidHandle();
  if (use.found() == Table::Found::busy) throwBusy();
  body(*use.object());
}

/// The object of a handle that is freed by this call. Throws `Misuse` as `useAlone` does.
template <class Table>
auto takeFrom(Table& table, const void* handle) {
  typename Table::Pointer last;
  const auto found = table.take(handle, last);
  if (found == Table::Found::invalid) throwInvalidHandle();
  if (found == Table::Found::busy) throwBusy();
  return last;
}
template <class Table>
void freeHandle(Table& table, const void* handle) {
  takeFrom(table, handle);
}
/// Frees a handle, unless the caller has. Waits while another thread uses it against the rules.
template <class Table>
void freeWhenIdle(Table& table, const void* handle) {
  typename Table::Pointer last;
  while (table.take(handle, last) == Table::Found::busy) std::this_thread::yield();
}

}  // namespace corvo::corvo_internal::c
