// SPDX-License-Identifier: Apache-2.0

#include "project/platform_filter.h"

#include <algorithm>
#include <vector>

#include "base/text.h"

namespace corvo::corvo_internal::project {
namespace {

bool isForThisPlatform(model::Text platform) {
  return platform == "all" || platform == "ios" || base::equalsLowerCased(platform, "app");
}

}  // namespace

bool isForThisPlatform(const model::FeatureFlag& flag) {
  return !flag.platform || isForThisPlatform(*flag.platform);
}

bool isForThisPlatform(const model::Experiment& experiment) {
  const model::List<model::Text> platforms = experiment.platforms;
  return platforms.empty() ||
         std::ranges::any_of(platforms, [](model::Text name) { return isForThisPlatform(name); });
}

void filterByPlatform(model::ConfigResponse& config) {
  std::erase_if(config.featureFlags, [](const auto& flag) { return !isForThisPlatform(flag); });
  std::erase_if(config.experiments,
                [](const auto& experiment) { return !isForThisPlatform(experiment); });
}

}  // namespace corvo::corvo_internal::project
