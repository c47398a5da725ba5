// Each case is an easy mistake, and must not compile; case 0 is the same program without one.
#include <corvo/client_registry.h>

#include <cstdint>
#include <memory>

namespace {

[[maybe_unused]] void use(corvo::ClientRegistry& registry, int retries) {
  const std::uint64_t unsignedRetries = 3;
#if CASE == 1
  auto client = registry.initializeClient({.projectToken = "t", .apiURL = "a", .cacheTTL = -1});
#elif CASE == 2
  auto client = registry.initializeClient("t", {}, "a", 300, true, "tag");
#elif CASE == 3
  auto client = registry.initializeClient("t", {}, "a", 300, retries, "tag");
#else
  static_cast<void>(retries);
  auto client = registry.initializeClient("t", {}, "a", 300, unsignedRetries, "tag");
#endif

#if CASE == 4
  client->checkFlag<int>("flag").get();
#elif CASE == 5
  client->includeForce("experiment", true).get();
#else
  client->checkFlag<std::int64_t>("flag").get();
#endif
}

}  // namespace
