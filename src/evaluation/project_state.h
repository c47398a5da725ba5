#pragma once

#include <corvo/project.h>

#include <memory>
#include <string>
#include <vector>

#include "model/codec.h"
#include "project/prepared_project.h"

namespace corvo {

/// What the copies of a project share.
struct Project::State {
  std::shared_ptr<const corvo_internal::project::PreparedProject> prepared = {};
  std::vector<corvo_internal::model::Drop> drops = {};
  std::string text = {};  ///< The document, where something was dropped.
};

}  // namespace corvo
