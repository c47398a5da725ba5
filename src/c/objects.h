// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/c.h>
#include <corvo/evaluation.h>
#include <corvo/experiment.h>
#include <corvo/project.h>

#include <memory>
#include <mutex>
#include <string>
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
};

struct ExperimentObject {
  CorvoExperimentPointer experiment;
  std::string name;
  std::string groupName;
  std::int64_t groupIndex;
};

// Never destroyed, so that programs may still free handles while they end.
inline auto& projects() {
  static auto& table = *new HandleTable<ProjectObject, 1, true>();
  return table;
}
inline auto& evaluations() {
  static auto& table = *new HandleTable<EvaluationObject, 2, false>();
  return table;
}
inline auto& experiments() {
  static auto& table = *new HandleTable<ExperimentObject, 3, true>();
  return table;
}

[[noreturn]] inline void throwInvalidHandle() {
  throw Misuse(CORVO_INVALID_HANDLE, "the handle is null, freed, or of another type");
}
[[noreturn]] inline void throwBusy() { throw Misuse(CORVO_BUSY, "the evaluation is in use"); }

/// A shared object. Throws `Misuse` if the handle is invalid.
template <class Table>
auto shared(Table& table, const void* handle) {
  auto object = table.share(handle);
  if (!object) throwInvalidHandle();
  return object;
}

template <class Table>
void freeHandle(Table& table, const void* handle) {
  const auto found = table.free(handle);
  if (found == Table::Found::invalid) throwInvalidHandle();
  if (found == Table::Found::busy) throwBusy();
}

}  // namespace corvo::corvo_internal::c
