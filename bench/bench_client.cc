// SPDX-License-Identifier: Apache-2.0

#include "bench/bench_client.h"

#include <map>
#include <utility>

namespace corvo::bench {
namespace {

constexpr std::uint64_t kDay = 86'400;

class CannedSession : public UrlSession {
 public:
  explicit CannedSession(std::string config) : config_(std::move(config)) {}

  void start(UrlRequest request, Callback<void(UrlResponse)> completion) override {
    const bool isConfig = request.url.ends_with("config.json");
    completion({.status = 200, .body = isConfig ? config_ : locationJson(), .failure = {}});
  }

 private:
  std::string config_;
};

}  // namespace

BenchClient::BenchClient(std::string config, HostOptions options,
                         std::optional<CorvoUser> initialUser) {
  Platform platform = hostPlatform(std::move(options));
  platform.urlSession = std::make_shared<CannedSession>(std::move(config));
  registry_ = std::make_unique<ClientRegistry>(std::move(platform));
  client_ =
      registry_->initializeClient("token", std::move(initialUser), "https://a", kDay, 0, "tag");
}

CorvoClient& clientOf(std::size_t flagCount) {
  static std::map<std::size_t, BenchClient> clients;
  const auto found = clients.find(flagCount);
  if (found != clients.end()) return *found->second;
  const BenchClient& client = clients.try_emplace(flagCount, projectJson(flagCount)).first->second;
  client.load();
  return *client;
}

CorvoClient& clientOfExperiments() {
  static const BenchClient client = [] {
    BenchClient made(experimentsJson(1'000));
    made.load();
    return made;
  }();
  return *client;
}

}  // namespace corvo::bench
