// SPDX-License-Identifier: Apache-2.0

#include "tool/experiment_list.h"

#include <algorithm>
#include <utility>

namespace corvo::tool {

std::vector<ListedExperiment> allExperiments(const Project& project) {
  std::vector<ListedExperiment> all;
  for (auto& each : project.experiments()) all.push_back({std::move(each), false});
  for (auto& each : project.holdouts()) all.push_back({std::move(each), true});
  std::ranges::sort(all, {}, &ListedExperiment::position);
  return all;
}

}  // namespace corvo::tool
