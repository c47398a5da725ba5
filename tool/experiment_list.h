// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/project.h>

#include <vector>

namespace corvo::tool {

/// An experiment or a holdout of a project.
struct ListedExperiment : Project::Experiment {
  bool isHoldout = false;
};

/// All of them in the configuration's order: each is at the index of its position.
[[nodiscard]] std::vector<ListedExperiment> allExperiments(const Project& project);

}  // namespace corvo::tool
