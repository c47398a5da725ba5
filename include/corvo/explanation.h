// SPDX-License-Identifier: Apache-2.0
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
/// docs/explain.md lists the facts of each step. An explanation contains texts of the configuration
/// and of the user: show it only to people who may see both.
struct CORVO_EXPORT Explanation {
  /// The kind of the question.
  enum class Question : std::uint8_t { flag, experiment };

  /// What was decided in a step.
  enum class Code : std::uint8_t {
    flag,              ///< Whether the configuration has the flag outside of experiments.
    experiment,        ///< Whether the user is in an experiment, and in which group.
    splitIdentifier,   ///< The identifier that the experiment hashes.
    holdout,           ///< Whether the user is in a holdout that the experiment names.
    forcedGroup,       ///< Whether the forced list of a group names the user.
    forcedExperiment,  ///< Whether the forced list of the experiment names the user.
    layer,             ///< Whether the user's point lies inside the experiment's layer.
    interval,          ///< Whether the point lies in one interval of the layer.
    bucket,            ///< The hash of identifier and salt.
    allocation,        ///< Whether the bucket lies within the experiment's allocation.
    group,             ///< The group whose interval contains the user's point.
    share,             ///< Whether the interval of one group contains it.
    targets,           ///< Whether the user meets the experiment's targets.
    carriedFlag,       ///< Whether the carried flag has the user's group.
    rules,             ///< Which rule of a list holds.
    rule,              ///< Whether one rule holds.
    condition,         ///< Whether one condition holds.
    value              ///< The type that the value's text is read as.
  };

  /// How it was decided.
  enum class Outcome : std::uint8_t {
    done,       ///< The step has no other outcome.
    found,      ///< The item exists.
    notFound,   ///< It does not exist.
    expired,    ///< The user had it, but it has expired.
    in,         ///< The user is in.
    out,        ///< The user is out.
    holds,      ///< The condition, the rule, or the step's other question, holds.
    fails,      ///< It does not hold.
    rest,       ///< No group's interval contains the point; the group "a" takes the rest.
    notReached  ///< Skipped: the answer did not depend on it.
  };

  /// A detail of a decision: an input or a result. Names never change their meaning.
  struct Fact {
    std::string_view name;  ///< Has static storage.
    JsonValue value;        ///< Of the kind that docs/explain.md gives.
  };

  /// One decision, with the smaller decisions that it depended on.
  struct CORVO_EXPORT Step {
    Code code{};                   ///< What was decided.
    Outcome outcome{};             ///< How.
    std::vector<Fact> facts = {};  ///< The details.
    std::vector<Step> steps = {};  ///< The smaller decisions.

    /// The value of that fact, or null.
    [[nodiscard]] const JsonValue* find(std::string_view fact) const noexcept;

    /// The step with those inside it, as in `toJson` and `toText` of a whole explanation.
    [[nodiscard]] std::string toJson() const;
    [[nodiscard]] std::string toText() const;
  };

  Question question{};    ///< The kind of the question.
  std::string name = {};  ///< Of the flag or the experiment.
  /// The answer: the text of the flag's value, or the name of the user's group in the experiment.
  /// Absent if there is an error, or if the user is in no experiment of that name.
  std::optional<std::string> value = {};
  std::optional<CorvoError> error = {};  ///< The error of the question, if it ends in one.
  std::vector<Step> steps = {};          ///< In the order in which they were decided.

  /// The whole explanation as a JSON object; see docs/explain.md.
  [[nodiscard]] std::string toJson() const;

  /// The whole explanation as a human-readable text, one step per line. Texts in steps are quoted
  /// as in JSON; control characters in an error's description are escaped. The wording may change.
  [[nodiscard]] std::string toText() const;
};

/// The names of the enumerators, as used in JSON. They never change.
[[nodiscard]] CORVO_EXPORT std::string_view textOf(Explanation::Code code) noexcept;
[[nodiscard]] CORVO_EXPORT std::string_view textOf(Explanation::Outcome outcome) noexcept;

}  // namespace corvo
