#include <array>
#include <functional>
#include <optional>
#include <string>
#include <utility>

#include "tests/client/client_fixture.h"

namespace corvo {
namespace {

constexpr const char* kExperiments = R"({"experiments": [
    {"name": "e", "salt": "s", "allocation": 0, "groups": [{"name": "g", "weight": 1}]},
    {"name": "f", "salt": "s", "allocation": 0, "groups": [{"name": "g", "weight": 1}]},
    {"name": "d", "split_by": "deviceId", "salt": "s", "allocation": 1,
     "groups": [{"name": "g", "weight": 1}]}]})";

/// A client that starts while the records of an earlier run cannot be reached.
class OutageTest : public ClientTest {
 protected:
  using Fails = std::function<void(fakes::MemoryPreferencesStore&, bool)>;
  inline static const std::pair<const char*, Fails> kOutages[] = {
      {"opening", [](auto& store, bool fails) { store.failOpening(fails); }},
      {"reading", [](auto& store, bool fails) { store.failReading(fails); }},
      {"reading and writing", [](auto& store, bool fails) {
         store.failReading(fails);
         store.failWriting(fails);
       }}};

  /// Begins another application in which that is stored.
  void restart(const std::map<std::string, std::string>& stored) {
    fake.store = std::make_shared<fakes::MemoryPreferencesStore>();
    const auto suite = fake.store->open("storagetagtoken");
    for (const auto& [key, value] : stored) {
      const PreferencesChange change{key, value};
      ASSERT_TRUE(suite->apply({&change, 1}));
    }
    fake.session = std::make_shared<fakes::ScriptedSession>(fake.time);
    fake.session->always("config.json", fakes::ok(kConfig));
    fake.session->always("geo", fakes::ok("{}"));
    application.emplace(fake.platform());
  }

  std::shared_ptr<CorvoClient> start(std::optional<CorvoUser> user = std::nullopt) {
    return application->initializeClient("token", std::move(user), "https://x", 10, 0, "tag");
  }

  /// Ends the outage, and lets the next attempt fall due.
  void end(const Fails& fails) {
    fails(*fake.store, false);
    fake.time->advance(1);
  }

  static bool hasGold(CorvoClient& client) {
    try {
      return client.checkFlag<std::string>("mine").get() == "yes";
    } catch (const CorvoError&) {
      return false;
    }
  }

  std::string lastUserId() const { return fake.session->requests().back().headers.at("user-id"); }

  const std::string kGold = R"({"properties":{"custom.plan":"gold"},)"
                            R"("corvoExpiration":{"custom.plan":"2030-01-01 00:00:00"}})";
  std::optional<ClientRegistry> application;
};

TEST_F(OutageTest, StoredRecordsCountAsSoonAsTheyCanBeReached) {
  for (const auto& [name, fails] : kOutages) {
    SCOPED_TRACE(name);
    restart({{"user.value", kGold}, {"corvoPrivateId.value", "\"stored\""}});
    fails(*fake.store, true);
    const auto client = start();
    EXPECT_FALSE(hasGold(*client));
    EXPECT_NE(lastUserId(), "stored");
    fails(*fake.store, false);
    fake.time->advance(0.5);
    EXPECT_FALSE(hasGold(*client)) << "tried again too early";
    fake.time->advance(0.5);
    EXPECT_TRUE(hasGold(*client));
    EXPECT_EQ(stored("user.value"), kGold);
    EXPECT_EQ(stored("corvoPrivateId.value"), "\"stored\"");
    fake.time->advance(10);
    EXPECT_TRUE(hasGold(*client));
    EXPECT_EQ(lastUserId(), "stored");
  }
}

TEST_F(OutageTest, WhatHappenedMeanwhileIsWritten) {
  for (const auto& [name, fails] : kOutages) {
    SCOPED_TRACE(name);
    restart({{"user.value", kGold}});
    fails(*fake.store, true);
    const auto client = start(CorvoUser{{{"userId", "new"}}, PropertyMap()});
    fails(*fake.store, false);
    EXPECT_TRUE(client->checkFlag<bool>("on").get().value());
    const double fetched = fake.time->now();
    const std::string sent = lastUserId();
    fake.time->advance(1);
    EXPECT_FALSE(hasGold(*client));
    EXPECT_EQ(stored("user.value"), R"({"properties":{"userId":"new"},"corvoExpiration":{}})");
    EXPECT_EQ(stored("corvoPrivateId.value"), '"' + sent + '"');
    EXPECT_EQ(std::stod(stored("config.update_time")) + 978'307'200, fetched);
    EXPECT_EQ(stored("location.value"), "{}");
    EXPECT_EQ(configRequests(), 1U);
  }
}

TEST_F(OutageTest, EditsAddToWhatTheyCouldNotRead) {
  for (const auto& [name, fails] : kOutages) {
    SCOPED_TRACE(name);
    restart({{"user.value", kGold}, {"corvoForcedExperiments.value", R"({"e":0,"f":0})"}});
    fake.session->always("config.json", fakes::ok(kExperiments));
    fails(*fake.store, true);
    const auto client = start();
    client->editUserProperties([](auto& user) { user.setUserId("u"); });
    client->includeForce("f").get();
    EXPECT_EQ(client->getAllUserExperimentsText().get(), "f.0|d.0");
    end(fails);
    EXPECT_EQ(client->getAllUserExperimentsText().get(), "e.0|f.0|d.0");
    EXPECT_EQ(stored("corvoForcedExperiments.value"), R"({"e":0,"f":null})");
    EXPECT_EQ(stored("user.value"),
              R"({"properties":{"custom.plan":"gold","userId":"u"},"corvoExpiration":)"
              R"({"custom.plan":"2030-01-01 00:00:00","userId":"2024-05-02 12:00:00"}})");
    fake.time->set(1'714'564'800.0);
  }
}

TEST_F(OutageTest, ReplacementsDoNot) {
  for (const auto& [name, fails] : kOutages) {
    SCOPED_TRACE(name);
    restart({{"user.value", kGold}, {"corvoForcedExperiments.value", R"({"e":0})"}});
    fake.session->always("config.json", fakes::ok(kExperiments));
    fails(*fake.store, true);
    const auto client = start(CorvoUser{{}, PropertyMap()});
    client->editUserProperties([](auto& user) { user.setUserId("u"); });
    client->includeForce("f").get();
    client->excludeForceAll().get();
    client->includeForce("d", 0).get();
    end(fails);
    client->clearUserProperties();
    EXPECT_EQ(stored("corvoForcedExperiments.value"), R"({"d":0})");
    EXPECT_EQ(stored("user.value"), R"({"properties":{},"corvoExpiration":{}})");
  }
}

TEST_F(OutageTest, AUserWithoutExpiriesGetsThemWhenReached) {
  for (const auto& [name, fails] : kOutages) {
    SCOPED_TRACE(name);
    restart({{"user.value", R"({"properties":{"custom.plan":"gold"}})"}});
    fails(*fake.store, true);
    const auto client = start();
    EXPECT_FALSE(hasGold(*client));
    end(fails);
    EXPECT_TRUE(hasGold(*client));
  }
}

TEST_F(OutageTest, AFullStoreGetsWhatItLacksLater) {
  restart({});
  const auto client = start();
  fake.store->failWriting(true);
  client->setUser({{{"custom.plan", "gold"}}, {{{"custom.plan", "2030-01-01 00:00:00"}}}});
  EXPECT_TRUE(hasGold(*client)) << "what can be read still serves";
  client->excludeForceAll([] { FAIL(); }, [](const CorvoError&) {});
  fake.store->failWriting(false);
  EXPECT_EQ(stored("user.value"), "");
  fake.time->advance(1);
  client->includeForce(
      "nobody", [] { FAIL(); }, [](const CorvoError&) {});
  EXPECT_EQ(stored("user.value"), kGold);
  EXPECT_NE(stored("config.value"), "");
}

TEST_F(OutageTest, AttemptsAreASecondApart) {
  restart({});
  fake.store->failOpening(true);
  const auto client = start();
  const std::size_t atStart = fake.store->openings();
  for (int tenths = 0; tenths < 50; ++tenths) {
    hasGold(*client);
    client->clearUserProperties();
    fake.time->advance(0.1);
  }
  EXPECT_EQ(fake.store->openings(), atStart + 4);
  fake.time->set(0);  // a clock set back is no reason to wait
  hasGold(*client);
  EXPECT_EQ(fake.store->openings(), atStart + 5);
}

/// A device whose identifier is kept in a store that cannot be reached for a while.
struct ForgetfulDevice final : Device {
  mutable int asked = 0;
  std::optional<std::string> identifier;

  [[nodiscard]] std::optional<std::string> vendorIdentifier() const override {
    ++asked;
    return identifier;
  }
  [[nodiscard]] std::optional<std::string> systemName() const override { return "iOS"; }
  [[nodiscard]] std::optional<std::string> systemVersion() const override { return "17.0"; }
  [[nodiscard]] std::optional<std::string> applicationVersion() const override { return "1"; }
};

TEST_F(OutageTest, AnAbsentDeviceIdentifierIsAskedForAgain) {
  restart({});
  fake.session->always("config.json", fakes::ok(kExperiments));
  const auto device = std::make_shared<ForgetfulDevice>();
  Platform platform = fake.platform();
  platform.device = device;
  application.emplace(platform);
  const auto client = start();
  EXPECT_EQ(client->getAllUserExperimentsText().get(), std::nullopt);
  device->identifier = "6F9619FF-8B86-4D01-B42D-00CF4FC964FF";
  fake.time->advance(0.9);
  EXPECT_EQ(client->getAllUserExperimentsText().get(), std::nullopt);
  EXPECT_EQ(device->asked, 1);
  fake.time->advance(0.1);
  EXPECT_EQ(client->getAllUserExperimentsText().get(), "d.0");
  fake.time->advance(5);
  EXPECT_EQ(client->getAllUserExperimentsText().get(), "d.0");
  EXPECT_EQ(device->asked, 2);
}

}  // namespace
}  // namespace corvo
