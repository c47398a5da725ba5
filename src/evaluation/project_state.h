#pragma once

#include <corvo/project.h>

#include <memory>
#include <string>
#include <utility>

#include "project/prepared_project.h"

namespace corvo {

/// What the copies of a project share.
struct Project::State {
  std::shared_ptr<const corvo_internal::project::PreparedProject> prepared = {};
  std::string text = {};  ///< The document, where something was dropped.
  Filter filter = Filter::none;
};

namespace corvo_internal {

/// Makes a project of what a client has prepared.
struct ProjectAccess {
  [[nodiscard]] static Project of(std::shared_ptr<const project::PreparedProject> prepared) {
    return Project(std::make_shared<const Project::State>(Project::State{std::move(prepared)}));
  }
};

}  // namespace corvo_internal

}  // namespace corvo
