#pragma once

#include <corvo/export.h>
#include <corvo/fakes/experiment_builder.h>
#include <corvo/fakes/flag_builder.h>
#include <corvo/fakes/rules.h>
#include <corvo/json_value.h>
#include <corvo/project.h>

#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace corvo::fakes {

/// A project for tests: what a backend would serve, without writing JSON.
///
///     fakes::project()
///         .flag("new-checkout", true)
///         .flag("shipping", when(where("geo.code", Sign::anyOf, {"PT", "ES"}), 0).otherwise(4.9))
///         .experiment(experiment("page", {"control", "new"})
///                         .param("columns", {{"control", 2}, {"new", 3}})
///                         .everyoneIn("new"));
///
/// A flag or an experiment replaces an earlier one of its name, so a test can vary a project that
/// it shares with others. Setters return the builder: keep a copy of it, not a reference.
class CORVO_FAKES_EXPORT ProjectBuilder {
 public:
  /// A flag with its own rules, or one value for everyone.
  ProjectBuilder& flag(std::string_view name, const Rules& rules);
  ProjectBuilder& flag(const FlagBuilder& flag);

  ProjectBuilder& experiment(std::string_view name, std::initializer_list<Group> groups);
  /// An experiment or a holdout. Throws `std::invalid_argument` for one without groups, in which
  /// nobody could take part.
  ProjectBuilder& experiment(const ExperimentBuilder& experiment);
  /// A holdout that everyone is in.
  ProjectBuilder& holdout(std::string_view name);

  /// A flag or an experiment written by hand: a JSON object, or `std::invalid_argument` is thrown.
  /// It replaces nothing and nothing about it is checked.
  ProjectBuilder& flagJson(std::string_view object);
  ProjectBuilder& experimentJson(std::string_view object);

  /// The document as a backend serves it. Throws `std::invalid_argument` when an experiment names a
  /// holdout that the project does not have.
  [[nodiscard]] std::string toJson() const;
  /// The project for tests of the engine. The platform filter is off by default.
  [[nodiscard]] Project decode(Project::Filter filter = Project::Filter::none) const;

 private:
  struct Entry {
    std::optional<std::string> name;  // none when written by hand
    JsonObject json;
    std::vector<std::string> heldOutBy = {};
  };

  static void put(std::vector<Entry>& list, Entry entry);

  std::vector<Entry> flags_;
  std::vector<Entry> experiments_;
};

/// An empty project.
[[nodiscard]] inline ProjectBuilder project() { return {}; }

}  // namespace corvo::fakes
