#include <optional>
#include <string>

#include "tests/client/client_fixture.h"

namespace corvo {
namespace {

constexpr const char* kExperiments = R"({"experiments": [
    {"name": "e", "salt": "s", "allocation": 0, "groups": [{"name": "g", "weight": 1}]},
    {"name": "f", "salt": "s", "allocation": 0, "groups": [{"name": "g", "weight": 1}]},
    {"name": "d", "split_by": "deviceId", "salt": "s", "allocation": 1,
     "groups": [{"name": "g", "weight": 1}]}]})";

class StoreTest : public ClientTest {
 protected:
  StoreTest() { fake.session->always("geo", fakes::ok("{}")); }

  static bool hasGold(CorvoClient& client) {
    try {
      return client.checkFlag<std::string>("mine").get() == "yes";
    } catch (const CorvoError&) {
      return false;
    }
  }

  void store(const std::map<std::string, std::string>& records) {
    const auto suite = fake.store->open("storagetagtoken");
    for (const auto& [key, value] : records) {
      const PreferencesChange change{key, value};
      ASSERT_TRUE(suite->apply({&change, 1}));
    }
  }

  const std::string kGold = R"({"properties":{"custom.plan":"gold"},)"
                            R"("corvoExpiration":{"custom.plan":"2030-01-01 00:00:00"}})";
};

enum class Failing { opening, reading, readingAndWriting };

/// A client that starts while the records of an earlier run cannot be reached.
class OutageTest : public StoreTest, public testing::WithParamInterface<Failing> {
 protected:
  void fail(bool fails) {
    if (GetParam() == Failing::opening) {
      fake.store->failOpening(fails);
    } else {
      fake.store->failReading(fails);
      fake.store->failWriting(fails && GetParam() == Failing::readingAndWriting);
    }
  }
  /// Ends the outage, and lets the next attempt fall due.
  void end() {
    fail(false);
    fake.time->advance(1);
  }

  std::string lastUserId() const { return fake.session->requests().back().headers.at("user-id"); }
};
INSTANTIATE_TEST_SUITE_P(Of, OutageTest,
                         testing::Values(Failing::opening, Failing::reading,
                                         Failing::readingAndWriting));

TEST_P(OutageTest, StoredRecordsCountAsSoonAsTheyCanBeReached) {
  store({{"user.value", kGold}, {"corvoPrivateId.value", "\"stored\""}});
  fail(true);
  const auto client = makeClient();
  EXPECT_FALSE(hasGold(*client));
  EXPECT_NE(lastUserId(), "stored");
  fail(false);
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

TEST_P(OutageTest, WhatHappenedMeanwhileIsWritten) {
  store({{"user.value", kGold}});
  fail(true);
  const auto client = makeClient(0, CorvoUser{{{"userId", "new"}}, PropertyMap()});
  fail(false);
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

TEST_P(OutageTest, EditsAddToWhatTheyCouldNotRead) {
  store({{"user.value", kGold}, {"corvoForcedExperiments.value", R"({"e":0,"f":0})"}});
  fake.session->always("config.json", fakes::ok(kExperiments));
  fail(true);
  const auto client = makeClient();
  client->editUserProperties([&](auto& user) {
    user.setUserId("u");
    end();
    hasGold(*client);  // changes nothing under the edit
    fail(true);
  });
  client->includeForce("f").get();
  EXPECT_EQ(client->getAllUserExperimentsText().get(), "f.0|d.0");
  end();
  EXPECT_EQ(client->getAllUserExperimentsText().get(), "e.0|f.0|d.0");
  EXPECT_EQ(stored("corvoForcedExperiments.value"), R"({"e":0,"f":null})");
  EXPECT_EQ(stored("user.value"),
            R"({"properties":{"custom.plan":"gold","userId":"u"},"corvoExpiration":)"
            R"({"custom.plan":"2030-01-01 00:00:00","userId":"2024-05-02 12:00:00"}})");
}

TEST_P(OutageTest, ReplacementsDoNot) {
  store({{"user.value", kGold}, {"corvoForcedExperiments.value", R"({"e":0})"}});
  fake.session->always("config.json", fakes::ok(kExperiments));
  fail(true);
  const auto client = makeClient(0, CorvoUser{{}, PropertyMap()});
  client->editUserProperties([](auto& user) { user.setUserId("u"); });
  client->includeForce("f").get();
  client->excludeForceAll().get();
  client->includeForce("d", 0).get();
  end();
  client->clearUserProperties();
  EXPECT_EQ(stored("corvoForcedExperiments.value"), R"({"d":0})");
  EXPECT_EQ(stored("user.value"), R"({"properties":{},"corvoExpiration":{}})");
}

TEST_P(OutageTest, AUserWithoutExpiriesGetsThemWhenReached) {
  store({{"user.value", R"({"properties":{"custom.plan":"gold"}})"}});
  fail(true);
  const auto client = makeClient();
  EXPECT_FALSE(hasGold(*client));
  end();
  EXPECT_TRUE(hasGold(*client));
  client->setUser({{{"custom.plan", "gold"}}, {}});
  fail(true);
  client->setUser({{{"custom.plan", "gold"}}, {}});
  end();
  EXPECT_FALSE(hasGold(*client)) << "one of this run does not";
}

TEST_P(OutageTest, StoredInclusionsCountWhenReached) {
  store({{"corvoForcedExperiments.value", R"({"e":0})"}});
  fake.session->always("config.json", fakes::ok(kExperiments));
  fail(true);
  const auto client =
      makeClient(0, CorvoUser{{{"userId", "u"}}, {{{"userId", "2030-01-01 00:00:00"}}}});
  EXPECT_EQ(client->getAllUserExperimentsText().get(), "d.0");
  end();
  EXPECT_EQ(client->getAllUserExperimentsText().get(), "e.0|d.0");
}

TEST_P(OutageTest, WhatIsOwedIsWrittenAtTheLatestWhenTheClientIsReleased) {
  store({{"corvoForcedExperiments.value", R"({"e":0})"}});
  fake.session->always("config.json", fakes::ok(kExperiments));
  fail(true);
  const CorvoUser user{{{"userId", "u"}}, {{{"userId", "2030-01-01 00:00:00"}}}};
  EXPECT_EQ(makeClient(0, user)->getAllUserExperimentsText().get(), "d.0");
  fail(false);
  registry.removeClient("tag");
  EXPECT_EQ(stored("user.value"),
            R"({"properties":{"userId":"u"},"corvoExpiration":{"userId":"2030-01-01 00:00:00"}})");
  EXPECT_EQ(makeClient()->getAllUserExperimentsText().get(), "e.0|d.0");
  EXPECT_EQ(configRequests(), 1U);
}

TEST_F(StoreTest, AFullStoreGetsWhatItLacksLater) {
  const auto client = makeClient();
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

TEST_F(StoreTest, WhatAnotherClientWroteIsReadLater) {
  store({{"user.value", kGold}});
  const auto client = makeClient();
  EXPECT_TRUE(hasGold(*client));
  registry.initializeClient("oken", CorvoUser{}, "https://x", 10, 0, "tagt");  // same records
  fake.store->failReading(true);
  EXPECT_TRUE(hasGold(*client)) << "what was read before still serves";
  fake.store->failReading(false);
  fake.time->advance(1);
  EXPECT_FALSE(hasGold(*client));
}

TEST_F(StoreTest, AttemptsAreASecondApart) {
  fake.store->failOpening(true);
  const std::size_t before = fake.store->openings();
  const auto client = makeClient();
  for (int tenths = 0; tenths < 50; ++tenths) {
    hasGold(*client);
    client->clearUserProperties();
    fake.time->advance(0.1);
  }
  EXPECT_EQ(fake.store->openings(), before + 5);
  fake.time->set(0);  // a clock set back is no reason to wait
  hasGold(*client);
  EXPECT_EQ(fake.store->openings(), before + 6);
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

TEST_F(StoreTest, AnAbsentDeviceIdentifierIsAskedForAgain) {
  fake.session->always("config.json", fakes::ok(kExperiments));
  const auto device = std::make_shared<ForgetfulDevice>();
  Platform platform = fake.platform();
  platform.device = device;
  ClientRegistry forgetful(platform);
  const auto client = forgetful.initializeClient("token", {}, "https://x", 10, 0, "tag");
  EXPECT_EQ(client->getAllUserExperimentsText().get(), std::nullopt);
  device->identifier = "6F9619FF-8B86-4D01-B42D-00CF4FC964FF";
  fake.time->advance(0.9);
  EXPECT_EQ(client->getAllUserExperimentsText().get(), std::nullopt);
  EXPECT_EQ(device->asked, 1);
  fake.time->advance(0.1);
  EXPECT_EQ(client->getAllUserExperimentsText().get(), "d.0");
  fake.time->advance(5);
  EXPECT_EQ(client->getAllUserExperimentsText().get(), "d.0");
  const auto other = forgetful.initializeClient("token", {}, "https://x", 10, 0, "other");
  EXPECT_EQ(other->getAllUserExperimentsText().get(), "d.0");
  EXPECT_EQ(device->asked, 2);
}

}  // namespace
}  // namespace corvo
