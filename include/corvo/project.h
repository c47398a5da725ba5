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
/// may read it at once. Cheap to copy; the copies share what they hold.
class CORVO_EXPORT Project {
 public:
  /// Which flags and experiments of a document count.
  enum class Filter : std::uint8_t {
    none,   ///< All.
    client  ///< Those that a client keeps: for "all", "ios", or "app" in any letter case.
  };

  /// Decodes a document (JSON, RFC 8259) with the tolerance of a client. One that cannot be read is
  /// the error of a client: `requestConfigFailed` with a `decodingError`, which here has its
  /// offset.
  static Result<Project> decode(std::string_view text, Filter filter = Filter::none);

  /// A question's way to its answers; see <corvo/evaluation.h>.
  [[nodiscard]] Evaluation evaluate(const EvaluationContext& context) const;

  /// Something that the reader or the filter dropped, and why.
  struct Drop {
    std::string pointer;     ///< A JSON pointer (RFC 6901) to it.
    std::string reason;      ///< In a few words, for people.
    std::size_t offset = 0;  ///< Where it begins in the document, in bytes from 0.

    bool operator==(const Drop&) const = default;
  };
  /// All that was dropped, in the document's order. A project that a client hands out tells none:
  /// what it keeps is what was left. Reads the document once more, which is kept only where
  /// something was dropped.
  [[nodiscard]] std::vector<Drop> drops() const;

  /// A flag of the configuration, or one that only an experiment carries.
  struct Flag {
    std::string name;        ///< As questions give it.
    std::string type;        ///< As the document has it; no answer depends on it.
    bool isPrivate = false;  ///< Its conditions compare digests of values.
    std::optional<std::string> carriedBy = {};  ///< The experiment that decides it.
    bool isOnlyCarried = false;  ///< The configuration has no flag of that name: none is reported.
  };
  /// Each name once, in the configuration's order, and then those that only experiments carry.
  [[nodiscard]] std::vector<Flag> flags() const;

  /// The names of the properties that conditions test, and of those that experiments may split by,
  /// each once. Answers depend on no other property of a user.
  [[nodiscard]] std::vector<std::string> properties() const;

  /// A group of an experiment.
  struct Group {
    std::string name;                       ///< As `CorvoExperiment::userGroupName` tells it.
    std::optional<std::string> label = {};  ///< For people.
    double weight = 0;                      ///< A fraction of the experiment's users.
  };
  /// An experiment or a holdout of the configuration.
  struct Experiment {
    std::string name;                       ///< As questions give it.
    std::optional<std::string> type = {};   ///< As in `CorvoExperimentDetail`.
    std::string splitBy;                    ///< "userId", "deviceId" or "profileId".
    double allocation = 0;                  ///< A fraction of all users.
    std::optional<std::string> layer = {};  ///< The name of its layer, if it is in one.
    std::vector<Group> groups;              ///< In the configuration's order.
    std::vector<std::string> flags;         ///< The names of those that it carries.
    std::vector<std::string> params;        ///< The names of its parameters.
    std::vector<std::string> holdouts;  ///< The names that it gives, whether or not there are such.
    bool isPrivate = false;             ///< Its conditions compare digests of values.
    std::size_t position = 0;  ///< In the configuration, among experiments and holdouts together.
  };
  /// The experiments that are not holdouts, and the holdouts, each in the configuration's order.
  [[nodiscard]] std::vector<Experiment> experiments() const;
  [[nodiscard]] std::vector<Experiment> holdouts() const;

  /// What stops the process once a question reaches it: an experiment with a layer bound whose
  /// lower end exceeds its upper one.
  struct Stop {
    std::string experiment;  ///< Its name.
    std::string reason;      ///< In a few words, for people.
  };
  /// All that there are.
  [[nodiscard]] std::vector<Stop> stops() const;

 private:
  friend class Evaluation;
  friend struct corvo_internal::ProjectAccess;
  struct State;

  explicit Project(std::shared_ptr<const State> state);

  std::shared_ptr<const State> state_;
};

}  // namespace corvo
