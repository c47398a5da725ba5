#pragma once

#include <corvo/error.h>
#include <corvo/export.h>
#include <corvo/json_value.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace corvo {

/// Why a question has its answer: the answer, and the steps that led to it, in the order in which
/// they were decided. For debug menus, tests and support. A plain value; reading is safe from any
/// thread.
///
/// docs/explain.md lists what each step tells. It holds texts of the configuration and of the
/// user: show it to those who may see both.
struct CORVO_EXPORT Explanation {
  /// What was asked about.
  enum class Question : std::uint8_t { flag, experiment };

  /// What was decided in a step.
  enum class Code : std::uint8_t {
    flag,              ///< Whether the configuration itself has the flag.
    experiment,        ///< Whether the user is in an experiment, and in which group.
    splitIdentifier,   ///< The text by which the experiment places the user.
    holdout,           ///< Whether the user is in a holdout that the experiment names.
    forcedGroup,       ///< Whether the forced list of a group names the user.
    forcedExperiment,  ///< Whether the forced list of the experiment names the user.
    layer,             ///< Whether the user's point lies inside the experiment's layer.
    interval,          ///< Whether the point lies in one interval of the layer.
    bucket,            ///< The hash of identifier and salt.
    allocation,        ///< Whether the bucket lies within the experiment's allocation.
    group,             ///< The group whose share of the users takes in the bucket.
    share,             ///< Whether the share of one group takes it in.
    targets,           ///< Whether the experiment is for users like this one.
    carriedFlag,       ///< Whether the flag that an experiment carries has the user's group.
    rules,             ///< Which rule of a list holds.
    rule,              ///< Whether one rule holds.
    condition,         ///< Whether one condition holds.
    value              ///< What the value's text is read as.
  };

  /// How it was decided.
  enum class Outcome : std::uint8_t {
    done,       ///< The step has no other outcome.
    found,      ///< What was looked for is there.
    notFound,   ///< It is not.
    expired,    ///< The user had it, but it has expired.
    in,         ///< The user is in.
    out,        ///< The user is out.
    holds,      ///< The condition, the rule, or whatever the step asks, holds.
    fails,      ///< It does not hold.
    rest,       ///< No share takes in the bucket; the group that takes the rest does.
    notReached  ///< Not looked at: the answer did not depend on it.
  };

  /// Something on which a step was decided. Names never change their meaning.
  struct Fact {
    std::string_view name;  ///< Has static storage.
    JsonValue value;        ///< Of the kind that docs/explain.md gives.
  };

  /// One decision, with what was decided on its way.
  struct CORVO_EXPORT Step {
    Code code{};                   ///< What was decided.
    Outcome outcome{};             ///< How.
    std::vector<Fact> facts = {};  ///< On what.
    std::vector<Step> steps = {};  ///< The decisions on its way.

    /// The value of that fact, or null.
    [[nodiscard]] const JsonValue* find(std::string_view fact) const noexcept;
  };

  Question question{};    ///< What was asked about.
  std::string name = {};  ///< Of the flag or the experiment.
  /// The answer: the text of the flag's value, or the name of the user's group in the experiment;
  /// absent where there is an error, or where the user is in no experiment of that name.
  std::optional<std::string> value = {};
  std::optional<CorvoError> error = {};  ///< The error of the question, if it ends in one.
  std::vector<Step> steps = {};          ///< In the order of deciding.

  /// All of it as a JSON object; see docs/explain.md.
  [[nodiscard]] std::string toJson() const;

  /// All of it for people, one step a line. The texts of steps are quoted as in JSON; in an error's
  /// description control characters are escaped. The wording may change.
  [[nodiscard]] std::string toText() const;
};

/// The words that stand for them in JSON: those of the enumerators. They never change.
[[nodiscard]] CORVO_EXPORT std::string_view textOf(Explanation::Code code) noexcept;
[[nodiscard]] CORVO_EXPORT std::string_view textOf(Explanation::Outcome outcome) noexcept;

}  // namespace corvo
