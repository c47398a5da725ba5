#include "project/platform_filter.h"

#include <algorithm>
#include <string>
#include <vector>

#include "base/text.h"

namespace corvo::corvo_internal::project {
namespace {

bool isOurs(const std::string& platform) {
  return platform == "all" || platform == "ios" || base::equalsLowerCased(platform, "app");
}

bool isOurs(const model::FeatureFlag& flag) { return !flag.platform || isOurs(*flag.platform); }

bool isOurs(const model::Experiment& experiment) {
  const std::vector<std::string>& platforms = experiment.platforms;
  return platforms.empty() || std::any_of(platforms.begin(), platforms.end(),
                                          [](const auto& name) { return isOurs(name); });
}

}  // namespace

void filterByPlatform(model::ConfigResponse& config) {
  std::erase_if(config.featureFlags, [](const auto& flag) { return !isOurs(flag); });
  std::erase_if(config.experiments, [](const auto& experiment) { return !isOurs(experiment); });
}

}  // namespace corvo::corvo_internal::project
