// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/project.h>

#include <memory>
#include <string>
#include <utility>

#include "project/prepared_project.h"

namespace corvo {

/// The state shared by all copies of a project.
struct Project::State {
  std::shared_ptr<const corvo_internal::project::PreparedProject> prepared = {};
  std::string text = {};  ///< The document, if anything was dropped.
  Filter filter = Filter::none;
};

namespace corvo_internal {

/// Creates a project from a configuration that a client has prepared.
struct ProjectAccess {
  [[nodiscard]] static Project of(std::shared_ptr<const project::PreparedProject> prepared) {
    return Project(std::make_shared<const Project::State>(Project::State{std::move(prepared)}));
  }
};

}  // namespace corvo_internal

}  // namespace corvo
