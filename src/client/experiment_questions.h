#pragma once

#include <corvo/experiment.h>

#include <string_view>

#include "client/question.h"
#include "project/prepared_project.h"

namespace corvo::corvo_internal::client {

/// The handle of the first experiment of that name that the user takes part in, or null; an error
/// when the project has no experiment of that name. Only those of the name are resolved.
[[nodiscard]] Result<CorvoExperimentPointer> decideExperiment(const Evidence& evidence,
                                                              std::string_view name);

/// Whether the user is in the first holdout of that name; an error when there is none.
[[nodiscard]] Result<bool> decideHoldout(const Evidence& evidence, std::string_view name);

/// How an experiment or a holdout is looked up by its name.
using Find =
    const project::PreparedExperiment* (project::PreparedProject::*)(std::string_view) const;

/// Decides about what has that name: about the user only where there is such a thing.
template <class Value, Find find, Result<Value> (*decideBy)(const Evidence&, std::string_view)>
struct DecidingByName {
  Name name;

  [[nodiscard]] Question::About about(const project::PreparedProject& project) const {
    return (project.*find)(name.get()) ? Question::About::user : Question::About::project;
  }
  [[nodiscard]] Result<Value> decide(const Evidence& evidence) const {
    return decideBy(evidence, name.get());
  }
  [[nodiscard]] DecidingByName detach() const { return {name.detach()}; }
};

using DecidingExperiment =
    DecidingByName<CorvoExperimentPointer, &project::PreparedProject::findExperiment,
                   decideExperiment>;
using DecidingHoldout = DecidingByName<bool, &project::PreparedProject::findHoldout, decideHoldout>;

}  // namespace corvo::corvo_internal::client
