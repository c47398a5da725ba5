// SPDX-License-Identifier: Apache-2.0

// Asks one flag at several times of a pretended opening day: time_machine URL DATA_FOLDER SECOND...
// It has its own clock, and counts requests itself. All other services are the host's.

#include <corvo/client_registry.h>
#include <corvo/host.h>

#include <cstdlib>
#include <iomanip>
#include <iostream>
#include <memory>
#include <string>
#include <utility>

using namespace corvo;

struct PretendedClock : Clock {
  double moment = 0;
  [[nodiscard]] double now() const override { return moment; }
};

struct CountedSession : UrlSession {
  std::shared_ptr<UrlSession> session;
  int requests = 0;
  void start(UrlRequest request, Callback<void(UrlResponse)> completion) override {
    ++requests;
    session->start(std::move(request), std::move(completion));
  }
};

std::string ask(CorvoClient& client) try {
  const auto gift = client.checkFlag<std::string>("opening-day-gift").get();
  return "the gift is a " + gift.value_or("surprise");
} catch (const CorvoError& error) {
  return error.description();
}

int main(int argc, char** argv) {
  if (argc < 3) return 2;
  Platform platform = hostPlatform({.dataFolder = argv[2]});
  const auto clock = std::make_shared<PretendedClock>();
  const auto session = std::make_shared<CountedSession>();
  session->session = std::exchange(platform.urlSession, session);
  platform.clock = clock;

  ClientRegistry registry(platform);
  const auto client = registry.initializeClient(
      {.projectToken = "shop-token", .apiURL = argv[1], .cacheTTL = 10, .retryCount = 0});
  for (int i = 3; i < argc; ++i) {
    clock->moment = 1'714'566'600.0 + std::atof(argv[i]);  // 2024-05-01 12:30:00 UTC
    session->requests = 0;
    const std::string answer = ask(*client);
    std::cout << "second " << std::setw(2) << argv[i] << ", requests: " << session->requests << ", "
              << answer << '\n';
  }
}
