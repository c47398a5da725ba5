// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/export.h>
#include <corvo/result.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace corvo {

class Evaluation;
struct EvaluationContext;

namespace corvo_internal {
struct ProjectAccess;
}  // namespace corvo_internal

/// A project's configuration, decoded and prepared for questions. Immutable: any number of threads
/// may read it at once. Cheap to copy; copies share their contents.
class CORVO_EXPORT Project {
 public:
  /// Selects flags and experiments of a document.
  enum class Filter : std::uint8_t {
    none,   ///< All.
    client  ///< Those that a client keeps: for exactly "all" or "ios", or "app" in any letter case.
  };

  /// Decodes a document (JSON, RFC 8259) as tolerantly as a client does. If it cannot be read,
  /// fails like a client: with `requestConfigFailed` and a `decodingError`, which here has an
  /// offset.
  static Result<Project> decode(std::string_view text, Filter filter = Filter::none);

  /// Creates an object that answers questions about one context; see <corvo/evaluation.h>.
  [[nodiscard]] Evaluation evaluate(const EvaluationContext& context) const;

  /// An element that the reader or the filter dropped, and why.
  struct Drop {
    std::string pointer;     ///< A JSON pointer (RFC 6901) to the element.
    std::string reason;      ///< A short, human-readable reason.
    std::size_t offset = 0;  ///< Where it begins in the document, in bytes from 0.

    bool operator==(const Drop&) const = default;
  };
  /// All dropped elements, in the document's order. Empty for a project from a client, which stores
  /// only the remaining elements. Reads the document again; the project keeps the document only if
  /// something was dropped.
  [[nodiscard]] std::vector<Drop> drops() const;

  /// A flag of the configuration, or one that only an experiment carries.
  struct Flag {
    std::string name;        ///< The name to use in questions.
    std::string type;        ///< The text in the document; no answer depends on it.
    bool isPrivate = false;  ///< Whether conditions compare digests of values.
    std::optional<std::string> carriedBy = {};  ///< The experiment that decides it.
    bool isOnlyCarried = false;  ///< Only experiments have the flag, so reports omit it.
  };
  /// Each name once: first the configuration's own flags in its order, then those that only
  /// experiments carry.
  [[nodiscard]] std::vector<Flag> flags() const;

  /// The names of the properties that conditions test or by which experiments may split, each once.
  /// Answers depend on no other property of a user.
  [[nodiscard]] std::vector<std::string> properties() const;

  /// A group of an experiment.
  struct Group {
    std::string name;                       ///< As in `CorvoExperiment::userGroupName`.
    std::optional<std::string> label = {};  ///< A human-readable name.
    double weight = 0;                      ///< A fraction of the experiment's users.
  };
  /// An experiment or a holdout of the configuration.
  struct Experiment {
    std::string name;                       ///< The name to use in questions.
    std::optional<std::string> type = {};   ///< As in `CorvoExperimentDetail`.
    std::string splitBy;                    ///< "userId", "deviceId" or "profileId".
    double allocation = 0;                  ///< A fraction of all users.
    std::optional<std::string> layer = {};  ///< The name of its layer, if it is in one.
    std::vector<Group> groups;              ///< In the configuration's order.
    std::vector<std::string> flags;         ///< The names of the flags that it carries.
    std::vector<std::string> params;        ///< The names of its parameters.
    std::vector<std::string> holdouts;      ///< The names it lists, even if unknown.
    bool isPrivate = false;                 ///< Whether conditions compare digests of values.
    std::size_t position = 0;               ///< Among all experiments and holdouts, from 0.
  };
  /// The experiments that are not holdouts, and the holdouts, each in the configuration's order.
  [[nodiscard]] std::vector<Experiment> experiments() const;
  [[nodiscard]] std::vector<Experiment> holdouts() const;

  /// How the hash divides users in an experiment: exact fractions of the 2^32 possible hashes,
  /// taken from the arithmetic that places users. They differ from the weights, because the hash
  /// covers a part of its range unevenly: two weights of a half give 0.50215 and 0.49785. Each
  /// fraction is of the users that the one before leaves, and ignores forced lists, holdouts and
  /// targets.
  struct Shares {
    double layer = 0;            ///< Inside the layer; 1 if the experiment is in none.
    double allocation = 0;       ///< Inside the allocation.
    double covered = 0;          ///< With a group, by the weights or as the rest.
    std::vector<double> groups;  ///< In each group. The sum is 1, or 0 if nobody has a group.
    /// Whether a holdout that the experiment names uses the hash that decides the group: the salts
    /// are equal. Then the users who are not held out have other shares.
    bool dependOnHoldouts = false;
  };
  /// The shares of the experiment or holdout at that position. Absent if there is none, or if it is
  /// one of the `stops`. Takes about half a millisecond, longer with hundreds of groups.
  [[nodiscard]] std::optional<Shares> shares(std::size_t experiment) const;

  /// An experiment that aborts the process when a question reaches it: one of its layer bounds has
  /// a lower end above its upper end.
  struct Stop {
    std::string experiment;  ///< Its name.
    std::string reason;      ///< A short, human-readable reason.
  };
  /// All such experiments.
  [[nodiscard]] std::vector<Stop> stops() const;

 private:
  friend class Evaluation;
  friend struct corvo_internal::ProjectAccess;
  struct State;

  explicit Project(std::shared_ptr<const State> state);

  std::shared_ptr<const State> state_;
};

}  // namespace corvo
