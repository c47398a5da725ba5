#include "bench/bench_client.h"

#include <map>
#include <utility>

#include "bench/project.h"

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

BenchClient::BenchClient(std::string config, HostOptions options) {
  Platform platform = hostPlatform(std::move(options));
  platform.urlSession = std::make_shared<CannedSession>(std::move(config));
  registry_ = std::make_unique<ClientRegistry>(std::move(platform));
  client_ = registry_->initializeClient("token", user(), "https://a", kDay, 0, "tag");
  client_->getAllUserExperimentsText().get();
}

CorvoClient& clientOf(std::size_t flagCount) {
  static std::map<std::size_t, BenchClient> clients;
  const auto found = clients.find(flagCount);
  if (found != clients.end()) return *found->second;
  return *clients.try_emplace(flagCount, projectJson(flagCount)).first->second;
}

CorvoClient& clientOfExperiments() {
  static const BenchClient client(experimentsJson(1'000));
  return *client;
}

}  // namespace corvo::bench
