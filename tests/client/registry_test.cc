// SPDX-License-Identifier: Apache-2.0

#include <functional>
#include <new>
#include <thread>

#include "tests/client/client_fixture.h"

namespace corvo {
namespace {

/// A client that is created and asked before `main`.
const struct Early : ClientWorld {
  std::shared_ptr<CorvoClient> client = makeClient();
  bool answered = client->checkFlag<bool>("on").get() == true;
} early;

TEST(EarlyClientTest, AnswersTheSameBeforeMainAndAfter) {
  EXPECT_TRUE(early.answered);
  EXPECT_EQ(early.client->checkFlag<bool>("on").get(), true);
}

class RegistryTest : public ClientTest {};

TEST_F(RegistryTest, RefusesATagThatIsTakenUntilItIsRemoved) {
  const auto first = makeClient();
  try {
    makeClient();
    FAIL();
  } catch (const CorvoError& error) {
    EXPECT_EQ(error, CorvoError(CorvoError::InitializationOfExistingClient{"tag"}));
  }
  EXPECT_EQ(registry.getClient("tag"), first);
  registry.removeClient("tag");
  registry.removeClient("tag");
  EXPECT_EQ(registry.getClient("tag"), nullptr);
  EXPECT_NE(makeClient(), first);
}

TEST_F(RegistryTest, TakesOptionsByName) {
  const auto client = registry.initializeClient(
      {.projectToken = "token", .apiURL = "https://flags.example.com", .retryCount = 1});
  EXPECT_EQ(registry.getClient("default"), client);
  fake.session->next("config.json", fakes::status(500));
  client->checkFlag<bool>("on").get();
  EXPECT_EQ(fake.session->requests().front().headers.at("token"), "token");
  EXPECT_EQ(client->status().location->freshUntil, fake.time->now() + 300);
  const CorvoUser user = CorvoUser::Builder().setUserId("u").build();
  registry.initializeClient({.projectToken = "b", .apiURL = "a", .initialUser = user, .tag = "b"});
  EXPECT_EQ(fake.store->contents("storagebb").count("user.value"), 1U);
}

TEST_F(RegistryTest, MayBeUsedFromManyThreads) {
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([this, i] {
      const std::string tag = std::to_string(i);
      for (int round = 0; round < 50; ++round) {
        registry.initializeClient("token", std::nullopt, "https://a", 10, 0, tag);
        EXPECT_NE(registry.getClient(tag), nullptr);
        registry.removeClient(tag);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
}

/// A store that accesses the registry while a client is being created.
struct CuriousStore final : PreferencesStore {
  fakes::MemoryPreferencesStore store;
  std::function<void()> look;

  std::shared_ptr<PreferencesSuite> open(std::string_view name) override {
    look();
    return store.open(name);
  }
};

TEST_F(RegistryTest, UsesTheStoreOutsideItsLock) {
  const auto store = std::make_shared<CuriousStore>();
  Platform platform = fake.platform();
  platform.preferencesStore = store;
  ClientRegistry curious(platform);
  int looks = 0;
  store->look = [&] {
    ++looks;
    EXPECT_EQ(curious.getClient("tag"), nullptr) << "it is not created yet";
    curious.removeClient("tag");
    EXPECT_THROW(curious.initializeClient("token", {}, "https://a", 0, 0, "tag"), CorvoError);
    if (looks == 2) throw std::bad_alloc();
  };
  EXPECT_NE(curious.initializeClient("token", {}, "https://a", 0, 0, "tag"), nullptr);
  curious.removeClient("tag");
  EXPECT_THROW(curious.initializeClient("token", {}, "https://a", 0, 0, "tag"), std::bad_alloc);
  store->look = [] {};
  EXPECT_NE(curious.initializeClient("token", {}, "https://a", 0, 0, "tag"), nullptr);
}

}  // namespace
}  // namespace corvo
