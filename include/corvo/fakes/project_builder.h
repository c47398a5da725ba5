// SPDX-License-Identifier: Apache-2.0
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

/// A project for tests: the document that a backend would serve, without writing JSON.
///
///     fakes::project()
///         .flag("new-checkout", true)
///         .flag("shipping", when(where("geo.code", Sign::anyOf, {"PT", "ES"}), 0).otherwise(4.9))
///         .experiment(experiment("page", {"control", "new"})
///                         .param("columns", {{"control", 2}, {"new", 3}})
///                         .everyoneIn("new"));
///
/// A flag or an experiment replaces an earlier one of the same name, so tests can vary a shared
/// project. Setters return the builder: keep a copy of it, not a reference.
class CORVO_FAKES_EXPORT ProjectBuilder {
 public:
  /// A flag with its own rules, or one value for everyone.
  ProjectBuilder& flag(std::string_view name, const Rules& rules);
  ProjectBuilder& flag(const FlagBuilder& flag);

  /// An experiment that everyone takes part in, with these groups.
  ProjectBuilder& experiment(std::string_view name, std::initializer_list<Group> groups);
  /// An experiment or a holdout. Throws `std::invalid_argument` if it has no groups, because nobody
  /// could take part.
  ProjectBuilder& experiment(const ExperimentBuilder& experiment);
  /// A holdout that everyone is in.
  ProjectBuilder& holdout(std::string_view name);

  /// A flag or an experiment written by hand. Throws `std::invalid_argument` if it is not a JSON
  /// object. Replaces nothing, and its contents are not checked.
  ProjectBuilder& flagJson(std::string_view object);
  ProjectBuilder& experimentJson(std::string_view object);

  /// The document as a backend serves it. Throws `std::invalid_argument` if an experiment names a
  /// holdout that the project does not contain.
  [[nodiscard]] std::string toJson() const;
  /// The project for tests of the engine. The platform filter is off by default.
  [[nodiscard]] Project decode(Project::Filter filter = Project::Filter::none) const;

 private:
  struct Entry {
    std::optional<std::string> name;  // absent if written by hand
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
