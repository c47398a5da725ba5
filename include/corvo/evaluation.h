#pragma once

#include <corvo/argument.h>
#include <corvo/evaluation_context.h>
#include <corvo/experiment.h>
#include <corvo/experiment_detail.h>
#include <corvo/explanation.h>
#include <corvo/export.h>
#include <corvo/flag_report.h>
#include <corvo/project.h>
#include <corvo/property.h>
#include <corvo/result.h>

#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace corvo {

/// A project asked about one context: the questions of `CorvoClient` under their names, answered at
/// once, without store and network. The answers, and the errors, are those of a client.
///
/// Made by `Project::evaluate`. For one thread at a time; any number may live side by side, also on
/// one project. Keeps the project alive. Remembers what is costly to find out about its user, so
/// that asking again costs little, and keeps its memory from one user to the next. One that was
/// moved from may only be assigned to and destroyed.
class CORVO_EXPORT Evaluation {
 public:
  /// The same as `project.evaluate(context)`.
  Evaluation(const Project& project, const EvaluationContext& context);
  Evaluation(Evaluation&& other) noexcept;
  Evaluation& operator=(Evaluation&& other) noexcept;
  ~Evaluation();

  /// Goes on with another context. After the first few users that allocates nothing, where device
  /// and location stay the same and all texts are well-formed. Should it throw for want of memory,
  /// the evaluation is about nobody.
  void reset(const EvaluationContext& context);

  /// The value that a flag has for the user; see `CorvoClient::checkFlag`.
  template <class T>
  Result<std::optional<T>> checkFlag(std::string_view flagName) {
    Result<std::string_view> text = flagText(flagName);
    if (CorvoError* error = text.error()) return std::move(*error);
    return fromCorvoString<T>(text.value());
  }

  /// The typed values of all flags that have one for the user.
  Result<FlagReport> getUserFeatureFlagsDetails();

  /// The experiments that the user takes part in, holdouts included: their handles, and as a text.
  Result<std::vector<CorvoExperimentPointer>> getAllUserExperiments();
  Result<std::optional<std::string>> getAllUserExperimentsText(ExactBool estimateHoldouts = true);

  /// The first experiment of that name that the user takes part in, or null.
  Result<CorvoExperimentPointer> getExperiment(std::string_view name);

  /// Whether the user is in the first holdout of that name, and the holdouts they are in as a text.
  Result<bool> getHoldout(std::string_view name);
  Result<std::optional<std::string>> getAllUserHoldouts();

  /// The experiments that the user takes part in, each with the values that they get from it.
  Result<std::vector<CorvoExperimentDetail>> getUserExperimentsDetails(
      ExactBool estimateHoldouts = true);

  /// The text of a flag for the user. Valid as long as the project, which has it in one place: what
  /// is made of a text may be kept by its address.
  struct FlagText {
    std::size_t flag = 0;   ///< The position in `Project::flags`.
    std::string_view text;  ///< Its value for the user.
  };
  /// The texts that `getUserFeatureFlagsDetails` types, of the flags at these positions and in
  /// their order, where the flag has one. Positions that there are not are skipped. Valid until the
  /// next call. For reports on many users: allocates nothing after the first one.
  std::span<const FlagText> flagTexts(std::span<const std::size_t> flags);

  /// The group that the user has in an experiment.
  struct Membership {
    std::size_t experiment = 0;  ///< `Project::Experiment::position`.
    std::size_t group = 0;       ///< The position in `Project::Experiment::groups`.
  };
  /// The experiments that `getAllUserExperiments` lists, holdouts included, of those at these
  /// positions and in their order. In the same way as the texts.
  std::span<const Membership> memberships(std::span<const std::size_t> experiments);

  /// Why a flag has its value for the user, and why the user is in an experiment of that name, or
  /// is not: the answer of `checkFlag` and `getExperiment` with the steps that led to it. Costs far
  /// more than the question.
  [[nodiscard]] Explanation explainFlag(std::string_view flagName);
  [[nodiscard]] Explanation explainExperiment(std::string_view name);

  /// A null pointer is not a name.
  template <class T>
  void checkFlag(std::nullptr_t) = delete;
  void getExperiment(std::nullptr_t) = delete;
  void getHoldout(std::nullptr_t) = delete;
  void explainFlag(std::nullptr_t) = delete;
  void explainExperiment(std::nullptr_t) = delete;

 private:
  struct State;

  // Valid as long as the project.
  Result<std::string_view> flagText(std::string_view flagName);

  std::unique_ptr<State> state_;
};

}  // namespace corvo
