#include "client/platform_filter.h"

#include <gtest/gtest.h>

#include <map>
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
  for (const auto& [name, platforms] : std::map<std::string, std::vector<std::string>>{
           {"any", {}}, {"none of ours", {"web", "iOS"}}, {"one of ours", {"web", "all"}}}) {
    model::Experiment& experiment = config.experiments.emplace_back();
    experiment.name = name;
    experiment.platforms = platforms;
    if (name == "any") experiment.featureFlags = {config.featureFlags.back()};  // for the web
  }
  filterByPlatform(config);
  std::vector<std::string> kept;
  for (const auto& flag : config.featureFlags) kept.push_back(flag.name);
  EXPECT_EQ(kept, expected);
  ASSERT_EQ(config.experiments.size(), 2U);
  EXPECT_EQ(config.experiments[0].featureFlags.size(), 1U) << "what an experiment carries stays";
  EXPECT_EQ(config.experiments[1].name, "one of ours");
}

}  // namespace
}  // namespace corvo::client
