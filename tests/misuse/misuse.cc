// SPDX-License-Identifier: Apache-2.0

// Each case is an easy mistake, and must not compile; case 0 is the same program without one.
#include <corvo/client_registry.h>
#include <corvo/fakes.h>
#include <corvo/json_value.h>

#include <cstdint>
#include <memory>
#include <optional>

namespace {

[[maybe_unused]] void use(corvo::ClientRegistry& registry, int retries) {
  const std::uint64_t unsignedRetries = 3;
  std::shared_ptr<corvo::CorvoClient> client;
#if CASE == 1
  client = registry.initializeClient({.projectToken = "t", .apiURL = "a", .cacheTTL = -1});
#elif CASE == 2
  client = registry.initializeClient("t", {}, "a", 300, true, "tag");
#elif CASE == 3
  client = registry.initializeClient("t", {}, "a", 300, retries, "tag");
#elif CASE == 6
  client = registry.initializeClient("t", {}, "a", 300, -1, "tag");
#elif CASE == 7
  const corvo::ClientOptions options{.projectToken = nullptr, .apiURL = "a"};
  client = registry.initializeClient(options);
#elif CASE == 8
  client = registry.initializeClient({"t", "a"});
#elif CASE == 9
  client = registry.initializeClient({.projectToken = "t"});
#elif CASE == 10
  client = registry.getClient(nullptr);
#else
  static_cast<void>(retries);
  client = registry.initializeClient("t", {}, "a", 300, unsignedRetries, "tag");
#endif

#if CASE == 4
  client->checkFlag<int>("flag").get();
#elif CASE == 5
  client->includeForce("experiment", true).get();
#elif CASE == 11
  client->checkFlag<bool>(nullptr).get();
#elif CASE == 12
  client->checkFlag<bool>("flag", {});
#elif CASE == 13
  client->getUserExperimentsDetails({});
#elif CASE == 14
  client->getAllUserExperimentsText({});
#elif CASE == 15
  client->checkFlag<bool>("flag", [](bool) {});
#elif CASE == 16
  client->checkFlag<bool>("flag").valueOr(3);
#else
  client->checkFlag<std::int64_t>("flag").valueOr(3);
  client->checkFlag<bool>(
      "flag", [](std::optional<bool>) {}, nullptr);
#endif

  corvo::fakes::FakePlatform fake;
#if CASE == 17
  fake.timeZone->change(nullptr);
#elif CASE == 18
  fake.serve(nullptr);
#elif CASE == 19
  static_cast<void>(corvo::toJson({}));
#else
  fake.timeZone->change("UTC");
  fake.serve({});
  static_cast<void>(corvo::toJson(nullptr));
#endif
}

}  // namespace
