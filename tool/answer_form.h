#pragma once

#include <corvo/project.h>

#include <cstddef>
#include <string>
#include <vector>

namespace corvo::tool {

/// Which flags and experiments of a project are written for each user, and what of that is the same
/// for all, as JSON texts. Any number of threads may read it.
class AnswerForm {
 public:
  /// The flags and experiments, or holdouts, of these names; all where neither names any. Throws a
  /// `Failure` for a name that the project does not have.
  AnswerForm(const Project& project, const std::vector<std::string>& flagNames,
             const std::vector<std::string>& experimentNames);

  /// Their positions in the project, as an `Evaluation` takes them.
  [[nodiscard]] const std::vector<std::size_t>& flags() const noexcept { return flags_; }
  [[nodiscard]] const std::vector<std::size_t>& experiments() const noexcept {
    return experiments_;
  }

  /// The key of a flag, with its colon.
  [[nodiscard]] const std::string& flagKey(std::size_t flag) const { return flagKeys_[flag]; }

  /// An experiment's groups, each as the object that tells of a membership.
  struct Experiment {
    bool isHoldout = false;
    std::vector<std::string> groups;
  };
  [[nodiscard]] const Experiment& experiment(std::size_t position) const {
    return forms_[position];
  }

 private:
  void addExperiments(const std::vector<Project::Experiment>& experiments, bool areHoldouts);

  std::vector<std::size_t> flags_;
  std::vector<std::size_t> experiments_;
  std::vector<std::string> flagKeys_;
  std::vector<std::string> experimentNames_;  // by position, as what follows
  std::vector<Experiment> forms_;
};

}  // namespace corvo::tool
