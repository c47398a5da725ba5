// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/evaluation_context.h>
#include <corvo/project.h>
#include <corvo/user.h>

#include <array>
#include <initializer_list>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "tool/user_document.h"

namespace CLI {
class App;
}

namespace corvo::tool {

/// The user in question. Of the three sources, a later one takes precedence.
struct SubjectOptions {
  std::string file;
  std::optional<std::string> userId;
  std::vector<std::string> properties;  ///< "NAME=TEXT"

  /// Whether any option describes the user.
  [[nodiscard]] bool isGiven() const { return !file.empty() || userId || !properties.empty(); }
};

void addSubjectOptions(CLI::App& command, SubjectOptions& options);

/// Warns on standard error of each of these properties that none of the projects uses.
void warnOfUnused(std::span<const std::string_view> properties,
                  std::initializer_list<const Project*> projects);

/// The user described by the options.
class Subject {
 public:
  /// Reads the user's file. Throws a `Failure`. Refers to the options.
  explicit Subject(const SubjectOptions& options);

  /// Sets the user of a context. The context then refers to this object.
  void describe(EvaluationContext& context);

  /// The documents that together describe the user; valid as long as this object.
  [[nodiscard]] std::array<const UserDocument*, 2> documents() const { return {&read_, &given_}; }

  /// The user as a client stores them. Properties without a stated expiry get `expiry`.
  [[nodiscard]] CorvoUser record(std::string_view expiry) const;

  /// Warns on standard error of each property that nothing in the project reads.
  void warnOfUnread(const Project& project) const;

 private:
  std::unique_ptr<const corvo_internal::json::JsonTree> tree_;
  UserDocument read_;
  UserDocument given_;
  DescribedUser described_;
};

}  // namespace corvo::tool
