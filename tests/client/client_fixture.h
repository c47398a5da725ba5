// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/client_registry.h>
#include <corvo/fakes.h>
#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>

#include "tests/base/case_table.h"

namespace corvo {

/// Clients on the fakes, with a backend that serves a small project and a location.
struct ClientWorld {
  ClientWorld() { fake.serve(project, {{"city", "Berlin"}}); }

  std::shared_ptr<CorvoClient> makeClient(std::uint64_t retryCount = 0,
                                          std::optional<CorvoUser> user = std::nullopt) {
    return registry.initializeClient("token", std::move(user), "https://flags.example.com", 10,
                                     retryCount, "tag");
  }

  /// The text that the client stored under the key; empty if there is none.
  std::string stored(const std::string& key) const {
    const auto contents = fake.store->contents("storagetagtoken");
    const auto found = contents.find(key);
    return found == contents.end() ? "" : found->second;
  }

  std::size_t configRequests() const { return fake.session->requestCount("config.json"); }
  std::size_t geoRequests() const { return fake.session->requestCount("geo"); }

  const std::string project =
      fakes::project()
          .flag("on", true)
          .flag("berlin", when(fakes::where("geo.city", fakes::Sign::equal, "Berlin"), "yes"))
          .flag("mine", when(fakes::where("custom.plan", fakes::Sign::equal, "gold"), "yes"))
          .flag("empty", {})
          .toJson();
  fakes::FakePlatform fake;
  ClientRegistry registry{fake.platform()};
};

class ClientTest : public testing::Test, protected ClientWorld {};

}  // namespace corvo
