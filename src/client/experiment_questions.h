#pragma once

#include <corvo/experiment.h>

#include <memory>
#include <string_view>
#include <utility>

#include "client/question.h"
#include "experiments/project.h"

namespace corvo::client {

/// The handle of the first experiment of that name that the user takes part in, or null; an error
/// when the project has no experiment of that name. Only those of the name are resolved.
[[nodiscard]] Decision<CorvoExperimentPointer> decideExperiment(const Evidence& evidence,
                                                                std::string_view name);

/// Whether the user is in the first holdout of that name; an error when there is none.
[[nodiscard]] Decision<bool> decideHoldout(const Evidence& evidence, std::string_view name);

/// How an experiment or a holdout is looked up by its name.
using Find =
    const experiments::PreparedExperiment* (experiments::Project::*)(std::string_view) const;

/// A question about what has that name: about the user only where there is such a thing.
template <class Value, Find find, Decision<Value> (*decide)(const Evidence&, std::string_view)>
class NamedQuestion final : public Question {
 public:
  using OnSuccess = Callback<void(Value)>;

  NamedQuestion(Name name, Lent<OnSuccess> onSuccess, Lent<OnError> onError)
      : name_(std::move(name)), onSuccess_(std::move(onSuccess)), onError_(std::move(onError)) {}

  [[nodiscard]] About about(const experiments::Project& project) const override {
    return (project.*find)(name_.get()) ? About::user : About::project;
  }
  void answer(const Evidence& evidence) override {
    deliver(decide(evidence, name_.get()), onSuccess_.get(), onError_.get());
  }
  void fail(const CorvoError& error) override { onError_.get()(error); }
  std::unique_ptr<Question> detach() override {
    return std::make_unique<NamedQuestion>(name_.detach(), onSuccess_.detach(), onError_.detach());
  }

 private:
  Name name_;
  Lent<OnSuccess> onSuccess_;
  Lent<OnError> onError_;
};

using ExperimentQuestion =
    NamedQuestion<CorvoExperimentPointer, &experiments::Project::findExperiment, decideExperiment>;
using HoldoutQuestion = NamedQuestion<bool, &experiments::Project::findHoldout, decideHoldout>;

}  // namespace corvo::client
