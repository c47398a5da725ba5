#pragma once

#include <corvo/client_registry.h>
#include <corvo/fakes.h>
#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>

namespace corvo {

/// Whole clients on the fakes. Each client asks a backend that has a small project and a location.
class ClientTest : public testing::Test {
 protected:
  static constexpr const char* kConfig = R"({"feature_flags": [
      {"name": "on", "type": "bool", "rules": [
          {"is_default": true, "value": "true", "conditional_statement": "-", "conditions": []}]},
      {"name": "berlin", "type": "string", "rules": [
          {"is_default": false, "value": "yes", "conditional_statement": "AND", "conditions": [
              {"name": "geo.city", "condition_sign": "equal", "value": "Berlin"}]}]},
      {"name": "mine", "type": "string", "rules": [
          {"is_default": false, "value": "yes", "conditional_statement": "AND", "conditions": [
              {"name": "custom.plan", "condition_sign": "equal", "value": ["gold"]}]}]},
      {"name": "empty", "type": "string", "rules": []}]})";

  ClientTest() {
    fake.session->always("config.json", fakes::ok(kConfig));
    fake.session->always("geo", fakes::ok(R"({"city": "Berlin"})"));
  }

  std::shared_ptr<CorvoClient> makeClient(std::uint64_t retryCount = 0,
                                          std::optional<CorvoUser> user = std::nullopt) {
    return registry.initializeClient("token", std::move(user), "https://flags.example.com", 10,
                                     retryCount, "tag");
  }

  /// What the client stored under the key, empty when nothing.
  std::string stored(const std::string& key) const {
    const auto contents = fake.store->contents("storagetagtoken");
    const auto found = contents.find(key);
    return found == contents.end() ? "" : found->second;
  }

  std::size_t configRequests() const { return fake.session->requestCount("config.json"); }
  std::size_t geoRequests() const { return fake.session->requestCount("geo"); }

  fakes::FakePlatform fake;
  ClientRegistry registry{fake.platform()};
};

}  // namespace corvo
