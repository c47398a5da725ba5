// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/argument.h>
#include <corvo/evaluation_context.h>
#include <corvo/experiment.h>
#include <corvo/experiment_detail.h>
#include <corvo/explanation.h>
#include <corvo/export.h>
#include <corvo/flag_reason.h>
#include <corvo/flag_report.h>
#include <corvo/placement_reason.h>
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

/// Answers questions about one project and one context: the questions of `CorvoClient`, under the
/// same names, without store or network. Answers and errors are the same as a client's.
///
/// `Project::evaluate` creates one. Use it on one thread at a time; any number may exist, even for
/// the same project. It keeps the project alive. It caches costly results about its user,
/// and reuses its memory for the next user. After being moved from, it may only be assigned
/// to or destroyed.
class CORVO_EXPORT Evaluation {
 public:
  /// The same as `project.evaluate(context)`.
  Evaluation(const Project& project, const EvaluationContext& context);
  Evaluation(Evaluation&& other) noexcept;
  Evaluation& operator=(Evaluation&& other) noexcept;
  ~Evaluation();

  /// Switches to another context. After the first few users, this allocates nothing if device,
  /// location and time zone stay the same and all texts are well-formed. If it throws because
  /// memory runs out, the evaluation has no user.
  void reset(const EvaluationContext& context);

  /// The flag's value for the user; see `CorvoClient::checkFlag`.
  template <class T>
  Result<std::optional<T>> checkFlag(std::string_view flagName) {
    Result<std::string_view> text = flagText(flagName);
    if (CorvoError* error = text.error()) return std::move(*error);
    return fromCorvoString<T>(text.value());
  }

  /// The typed values of all flags that have one for the user.
  Result<FlagReport> getUserFeatureFlagsDetails();

  /// The experiments that the user takes part in, holdouts included: as handles, and as a text.
  Result<std::vector<CorvoExperimentPointer>> getAllUserExperiments();
  Result<std::optional<std::string>> getAllUserExperimentsText(ExactBool estimateHoldouts = true);

  /// The first experiment of that name that the user takes part in, or null.
  Result<CorvoExperimentPointer> getExperiment(std::string_view name);

  /// Whether the user is in the first holdout of that name, and the holdouts they are in as a text.
  Result<bool> getHoldout(std::string_view name);
  Result<std::optional<std::string>> getAllUserHoldouts();

  /// The experiments that the user takes part in, each with the values that it gives to the user.
  Result<std::vector<CorvoExperimentDetail>> getUserExperimentsDetails(
      ExactBool estimateHoldouts = true);

  /// The text of a flag's value for the user. Valid as long as the project. The project keeps each
  /// text in one place, so results computed from a text may be cached by its address.
  struct FlagText {
    std::size_t flag = 0;   ///< The position in `Project::flags`.
    std::string_view text;  ///< Its value for the user.
  };
  /// The texts of the flags at these positions, in this order: the ones that
  /// `getUserFeatureFlagsDetails` converts to types. Skips flags without a value, flags that only
  /// experiments carry, and positions that do not exist. Valid until the next call. For reports on
  /// many users: allocates nothing after the first user.
  std::span<const FlagText> flagTexts(std::span<const std::size_t> flags);

  /// A flag's value for the user, or why it has none, and what decided.
  struct FlagDecision {
    std::size_t flag = 0;                        ///< The position in `Project::flags`.
    FlagReason reason{};                         ///< Why it has a value, or none.
    std::optional<std::string_view> text = {};   ///< The value. Valid as long as the project.
    std::optional<std::size_t> experiment = {};  ///< The experiment whose group decided; absent if
                                                 ///< the flag's own rules did.
    std::optional<std::size_t> group = {};       ///< The position of that group.
    std::optional<std::size_t> rule = {};  ///< The position of the rule in its list, in the order
                                           ///< of the document; absent without a value.
    /// Whether the value depended on conditions: the rule has some, and is not a default rule,
    /// whose conditions are ignored.
    bool hasConditions = false;
  };
  /// The same as `flagTexts` with the reasons, also for flags without a value and flags that only
  /// experiments carry: one decision for each position that exists. Agrees with `checkFlag`. Valid
  /// until the next call; allocates nothing after the first user.
  std::span<const FlagDecision> flagDecisions(std::span<const std::size_t> flags);

  /// The user's group in an experiment.
  struct Membership {
    std::size_t experiment = 0;  ///< `Project::Experiment::position`.
    std::size_t group = 0;       ///< The position in `Project::Experiment::groups`.
  };
  /// The user's groups in the experiments and holdouts at these positions, in this order. Skips
  /// those that `getAllUserExperiments` does not list and positions that do not exist. Valid until
  /// the next call; allocates nothing after the first user.
  std::span<const Membership> memberships(std::span<const std::size_t> experiments);

  /// Whether the user is in an experiment, and why.
  struct Placement {
    std::size_t experiment = 0;               ///< `Project::Experiment::position`.
    PlacementReason reason{};                 ///< Why they have a group, or none.
    std::optional<std::size_t> group = {};    ///< Its position, if they have one.
    std::optional<std::size_t> holdout = {};  ///< The position of the holdout that excludes them.
  };
  /// The same as `memberships` with the reasons, also for experiments and holdouts that the user is
  /// not in: one placement for each position that exists.
  std::span<const Placement> placements(std::span<const std::size_t> experiments);

  /// Why a flag has its value for the user, and why the user is in an experiment of that name or
  /// not: the answer of `checkFlag` or `getExperiment`, with the steps that led to it. Costs far
  /// more than the question itself.
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
