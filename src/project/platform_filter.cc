#include "project/platform_filter.h"

#include <algorithm>
#include <vector>

#include "base/text.h"

namespace corvo::corvo_internal::project {
namespace {

bool isOurs(model::Text platform) {
  return platform == "all" || platform == "ios" || base::equalsLowerCased(platform, "app");
}

}  // namespace

bool isOurs(const model::FeatureFlag& flag) { return !flag.platform || isOurs(*flag.platform); }

bool isOurs(const model::Experiment& experiment) {
  const model::List<model::Text> platforms = experiment.platforms;
  return platforms.empty() ||
         std::ranges::any_of(platforms, [](model::Text name) { return isOurs(name); });
}

void filterByPlatform(model::ConfigResponse& config) {
  std::erase_if(config.featureFlags, [](const auto& flag) { return !isOurs(flag); });
  std::erase_if(config.experiments, [](const auto& experiment) { return !isOurs(experiment); });
}

}  // namespace corvo::corvo_internal::project
