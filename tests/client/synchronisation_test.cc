#include "client/synchronisation.h"

#include <corvo/fakes.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "client/platform_filter.h"
#include "network/network_client_impl.h"

namespace corvo::client {
namespace {

TEST(SynchronisationTest, ReappliesForcedInclusionsBetweenTheFilterAndTheStore) {
  fakes::FakePlatform fake;
  fake.session->always("config.json", fakes::ok(R"({"experiments": [
      {"name": "web", "salt": "s", "allocation": 1, "platforms": ["web"]},
      {"name": "ours", "salt": "s", "allocation": 1, "platforms": ["web", "all"]}]})"));
  const auto storage = std::make_shared<storage::StorageClient>(*fake.store, "tag", "token", 10);
  std::vector<std::string> seen;
  const auto synchronisation = std::make_shared<Synchronisation>(Synchronisation::Parts{
      .projectToken = "token",
      .storage = storage,
      .network =
          std::make_shared<network::NetworkClientImpl>(fake.session, fake.time, "https://a", 0),
      .clock = fake.time,
      .random = fake.random,
      .reapplyForced = [&](model::ConfigResponse& config) {
        EXPECT_EQ(storage->config.read(fake.time->now()), nullptr) << "not stored yet";
        for (const auto& experiment : config.experiments) seen.push_back(experiment.name);
        config.experiments.front().forcedUserList = {"me"};
      }});
  std::shared_ptr<const model::ConfigResponse> fetched;
  synchronisation->fetchConfiguration([&](auto config) { fetched = config; }, nullptr);
  fake.time->run();
  EXPECT_EQ(seen, std::vector<std::string>{"ours"});
  EXPECT_EQ(storage->config.read(fake.time->now()), fetched);
  EXPECT_EQ(fetched->experiments.front().forcedUserList, std::vector<std::string>{"me"});
}

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
