// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/project.h>

#include <cstddef>
#include <string>
#include <vector>

namespace corvo::tool {

/// The flags and experiments of a project that are written for each user, with the parts of the
/// answer that are the same for all users, as JSON texts. Concurrent reads are safe.
class AnswerForm {
 public:
  /// The flags and experiments, or holdouts, of these names; all if both lists are empty. Throws a
  /// `Failure` for a name that is not in the project.
  AnswerForm(const Project& project, const std::vector<std::string>& flagNames,
             const std::vector<std::string>& experimentNames);

  /// Their positions in the project, as `Evaluation` expects them.
  [[nodiscard]] const std::vector<std::size_t>& flags() const noexcept { return flags_; }
  [[nodiscard]] const std::vector<std::size_t>& experiments() const noexcept {
    return experiments_;
  }

  /// The key of a flag, with its colon.
  [[nodiscard]] const std::string& flagKey(std::size_t flag) const { return flagKeys_[flag]; }

  /// An experiment's groups, each as the JSON object that describes a membership.
  struct Experiment {
    bool isHoldout = false;
    std::vector<std::string> groups;
  };
  [[nodiscard]] const Experiment& experiment(std::size_t position) const {
    return forms_[position];
  }

 private:
  std::vector<std::size_t> flags_;
  std::vector<std::size_t> experiments_;
  std::vector<std::string> flagKeys_;
  std::vector<Experiment> forms_;  // by position
};

}  // namespace corvo::tool
