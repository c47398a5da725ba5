#include "client/platform_filter.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace corvo::client {
namespace {

TEST(PlatformFilterTest, KeepsWhatIsMeantForThisPlatform) {
  struct Case {
    const char* platform;
    bool kept;
  };
  model::ConfigResponse config;
  std::vector<std::string> expected{""};
  config.featureFlags.emplace_back();
  for (const auto& [platform, kept] :
       {Case{"all", true}, Case{"All", false}, Case{"ios", true}, Case{"iOS", false},
        Case{"app", true}, Case{"APP", true}, Case{"aPp", true}, Case{"", false},
        Case{"web", false}, Case{"app ", false}}) {
    model::FeatureFlag& flag = config.featureFlags.emplace_back();
    flag.name = platform;
    flag.platform = platform;
    if (kept) expected.emplace_back(platform);
  }
  filterByPlatform(config);
  std::vector<std::string> kept;
  for (const auto& flag : config.featureFlags) kept.push_back(flag.name);
  EXPECT_EQ(kept, expected);
}

}  // namespace
}  // namespace corvo::client
