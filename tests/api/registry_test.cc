#include <functional>
#include <new>
#include <thread>

#include "tests/client/client_fixture.h"

namespace corvo {
namespace {

using RegistryTest = ClientTest;

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

TEST_F(RegistryTest, ServesACopyForAtLeastTenSeconds) {
  struct Case {
    std::uint64_t cacheTTL;
    double lastsFor;
  };
  for (const auto& [cacheTTL, lastsFor] : {Case{0, 10}, Case{10, 10}, Case{11, 11}}) {
    const auto tag = std::to_string(cacheTTL);
    const auto client =
        registry.initializeClient("token", std::nullopt, "https://a", cacheTTL, 0, tag);
    client->checkFlag<bool>("on").get();
    const std::size_t requests = configRequests();
    fake.time->advance(lastsFor - 0.5);
    client->checkFlag<bool>("on").get();
    EXPECT_EQ(configRequests(), requests) << cacheTTL;
    fake.time->advance(0.5);
    client->checkFlag<bool>("on").get();
    EXPECT_EQ(configRequests(), requests + 1) << cacheTTL;
    EXPECT_EQ(geoRequests(), requests + 1) << cacheTTL;
  }
}

TEST_F(RegistryTest, SettlesTheUserOfANewClient) {
  const CorvoUser given{{{"a", "1"}}, PropertyMap{{"a", "x"}}};
  struct Case {
    const char* what;
    std::optional<CorvoUser> initial;
    const char* storedBefore;
    const char* storedAfter;
  };
  for (const Case& each :
       {Case{"an initial user replaces the stored one", given, R"({"properties":{"b":"2"}})",
             R"({"properties":{"a":"1"},"corvoExpiration":{"a":"x"}})"},
        Case{"a stored user is kept", std::nullopt,
             R"({"properties":{"b":"2"},"corvoExpiration":{}})",
             R"({"properties":{"b":"2"},"corvoExpiration":{}})"},
        Case{"one without expiries gets them", std::nullopt,
             R"({"properties":{"b":"2","userId":"u"}})",
             R"({"properties":{"b":"2","userId":"u"},"corvoExpiration":)"
             R"({"b":"2024-05-02 12:00:00","userId":"2024-05-02 12:00:00"}})"},
        Case{"an unreadable one counts as none", std::nullopt, "[]", "[]"}}) {
    const PreferencesChange change{"user.value", each.storedBefore};
    fake.store->open("storagetagtoken")->apply({&change, 1});
    makeClient(0, each.initial);
    EXPECT_EQ(stored("user.value"), each.storedAfter) << each.what;
    registry.removeClient("tag");
  }
}

TEST_F(RegistryTest, WorksWithoutAStore) {
  fake.store->failOpening(true);
  const auto client = makeClient();
  for (const std::size_t fetched : {1U, 2U}) {
    client->checkFlag<bool>("on").get();
    fake.time->advance(9);
    EXPECT_EQ(client->checkFlag<bool>("on").get(), true);
    EXPECT_EQ(configRequests(), fetched);
    EXPECT_EQ(geoRequests(), fetched);
    fake.time->advance(1);
  }
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

/// A store that looks into the registry while a client is made.
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
    EXPECT_EQ(curious.getClient("tag"), nullptr) << "it is not made yet";
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
