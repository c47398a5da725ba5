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
/// docs/explanations.md lists what each step tells. It holds texts of the configuration and of the
/// user: show it to those who may see both.
struct CORVO_EXPORT Explanation {
  enum class Question : std::uint8_t { flag, experiment };

  /// What was decided in a step.
  enum class Code : std::uint8_t {
    flag,              ///< Whether the project has the flag.
    experiment,        ///< Whether the user is in an experiment, and in which group.
    splitIdentifier,   ///< The text by which the experiment places the user.
    holdout,           ///< Whether the user is in a holdout that the experiment names.
    forcedGroup,       ///< Whether the forced list of a group names the user.
    forcedExperiment,  ///< Whether that of the experiment does.
    layer,             ///< Whether the user's point lies inside the experiment's layer.
    interval,          ///< Whether it lies in one interval of it.
    bucket,            ///< The hash of identifier and salt.
    allocation,        ///< Whether the bucket lies within the experiment's allocation.
    group,             ///< The group whose share takes in the bucket.
    share,             ///< Whether that of one group does.
    targets,           ///< Whether the experiment is for users like this one.
    carriedFlag,       ///< Whether the flag that an experiment carries has the user's group.
    rules,             ///< Which rule of a list holds.
    rule,              ///< Whether one rule does.
    condition,         ///< Whether one condition does.
    value              ///< What the value's text is read as.
  };

  /// How it was decided.
  enum class Outcome : std::uint8_t {
    done,       ///< There is one outcome.
    found,      ///< There is such a thing.
    notFound,   ///< There is none.
    expired,    ///< The user had such a thing, which has expired.
    in,         ///< The user is in.
    out,        ///< The user is out.
    holds,      ///< It does.
    fails,      ///< It does not.
    rest,       ///< No share takes in the bucket; the group that takes the rest does.
    notReached  ///< What came before has decided.
  };

  /// Something on which a step was decided. Names never change their meaning.
  struct Fact {
    std::string_view name;  ///< Lasts for ever.
    JsonValue value;
  };

  /// One decision, with what was decided on its way.
  struct CORVO_EXPORT Step {
    Code code{};
    Outcome outcome{};
    std::vector<Fact> facts = {};
    std::vector<Step> steps = {};

    /// The value of that fact, or null.
    [[nodiscard]] const JsonValue* find(std::string_view fact) const noexcept;
  };

  Question question{};
  std::string name = {};  ///< Of the flag or the experiment.
  /// The answer: the text of the flag's value, or the name of the user's group in the experiment;
  /// absent where there is an error, or where the user is in no experiment of that name.
  std::optional<std::string> value = {};
  std::optional<CorvoError> error = {};  ///< The error of the question, if it ends in one.
  std::vector<Step> steps = {};

  /// All of it as a JSON object; see docs/explanations.md.
  [[nodiscard]] std::string toJson() const;

  /// All of it for people, one step a line. Texts of configuration and user are quoted as in JSON.
  /// The wording may change.
  [[nodiscard]] std::string toText() const;
};

/// The words that stand for them in JSON: those of the enumerators. They never change.
[[nodiscard]] CORVO_EXPORT std::string_view textOf(Explanation::Code code) noexcept;
[[nodiscard]] CORVO_EXPORT std::string_view textOf(Explanation::Outcome outcome) noexcept;

}  // namespace corvo
