// SPDX-License-Identifier: Apache-2.0

#include <stdexcept>

#include "tests/client/client_fixture.h"

/// An application type that cannot be assigned.
struct Switch {
  const bool isOn;
};

template <>
struct corvo::CorvoPropertyTraits<Switch> {
  static std::optional<Switch> fromCorvoString(std::string_view text) {
    return Switch{text == "true"};
  }
};

namespace corvo {
namespace {

TEST_F(ClientTest, FetchesForEachOfConcurrentQuestionsAndAnswersAtOnceFromFreshCopies) {
  const auto client = makeClient();
  int calls = 0;
  const auto ask = [&] {
    client->checkFlag<bool>("on", [&](std::optional<bool> on) { calls += on == true ? 1 : 100; });
  };
  ask();
  ask();
  EXPECT_EQ(calls, 0) << "answers come from the main queue";
  fake.time->run();
  EXPECT_EQ(calls, 2);
  EXPECT_EQ(configRequests(), 2U);
  ask();
  EXPECT_EQ(calls, 3);
  client->checkFlag<Switch>("on", [&](std::optional<Switch> on) { calls += on->isOn ? 1 : 100; });
  EXPECT_EQ(calls, 4);
  EXPECT_EQ(configRequests(), 2U);
}

TEST_F(ClientTest, RefusesAnImpossibleAddressBeforeItReturns) {
  const auto client = registry.initializeClient("token", std::nullopt, "http://a b", 10, 5, "tag");
  bool refused = false;
  client->checkFlag<bool>("on", nullptr, [&](const CorvoError& error) {
    refused = error == CorvoError(CorvoError::RequestConfigFailed{CorvoNetworkError(
                           CorvoNetworkError::IncorrectURL{"http:/a b/config.json"})});
  });
  EXPECT_TRUE(refused);
  EXPECT_TRUE(fake.session->requests().empty());
}

TEST_F(ClientTest, ReportsHowFreshItsCopiesAre) {
  const auto client = makeClient();
  EXPECT_FALSE(client->status().configuration || client->status().location);
  const double start = fake.time->now();
  client->checkFlag<bool>("on").get();
  fake.time->advance(4);
  client->excludeForce("e", nullptr);  // fails
  fake.time->advance(16);
  client->getProject().get();
  const ClientStatus status = client->status();
  EXPECT_EQ(status.configuration->storedAt, start + 20);
  EXPECT_EQ(status.configuration->freshUntil, start + 30);
  EXPECT_EQ(status.location->freshUntil, start + 10) << "no question needed a new one";
  EXPECT_EQ(configRequests() + geoRequests(), 3U) << "reading the status fetches nothing";
}

TEST_F(ClientTest, TakesNoIndexInEveryForm) {
  fake.serve(fakes::project().experiment("e", {"a"}));
  const auto client = makeClient(0, CorvoUser::Builder().setUserId("u").build());
  const auto forced = [&] { return stored("corvoForcedExperiments.value"); };
  client->includeForce("e", 0).get();
  EXPECT_EQ(forced(), R"({"e":0})");
  client->includeForce("e", {}).get();
  const std::string without = forced();
  int calls = 0;
  const auto again = [&](auto include) {
    client->includeForce("e", 0).get();
    include();
    fake.time->run();
    EXPECT_EQ(forced(), without);
  };
  again([&] { client->includeForce("e", {}, [&] { ++calls; }); });
  again([&] { client->includeForce("e", std::optional<int>(), [&] { ++calls; }); });
  again([&] { client->includeForce("e", [&] { ++calls; }); });
  again([&] { client->includeForce("e", nullptr); });
  again([&] { client->includeForce("e", {}, nullptr); });
  EXPECT_EQ(calls, 3);
}

TEST_F(ClientTest, BuilderCallbacksThatDoNothingStoreNothing) {
  const auto client = makeClient();
  client->setUserProperties(nullptr);
  client->editUserProperties(nullptr);
  const auto fail = [](auto& builder) {
    builder.setEmail("e");
    throw std::runtime_error("no");
  };
  EXPECT_THROW(client->setUserProperties(fail), std::runtime_error);
  EXPECT_EQ(stored("user.value"), "");
  EXPECT_THROW(client->editUserProperties(fail), std::runtime_error);
  EXPECT_EQ(stored("user.value"), R"({"properties":{},"corvoExpiration":{}})");
}

TEST_F(ClientTest, ReplacesInvalidUtf8InArguments) {
  const auto client = makeClient();
  client->setUser({{{"a\xff", "\xff"}}, std::nullopt});
  EXPECT_EQ(stored("user.value"), "{\"properties\":{\"a\xef\xbf\xbd\":\"\xef\xbf\xbd\"}}");
}

TEST_F(ClientTest, ThrowsWhenThereAreNoSecureBytes) {
  const auto client = makeClient();
  fake.random->failFilling(true);
  EXPECT_ANY_THROW(client->checkFlag<bool>("on", nullptr));
  EXPECT_EQ(fake.session->requests().size(), 0U);
  EXPECT_TRUE(fake.store->contents("storagetagtoken").empty());
  fake.random->failFilling(false);
  EXPECT_EQ(client->checkFlag<bool>("on").get(), true);
}

TEST_F(ClientTest, AttemptsAreASecondApart) {
  fake.store->failOpening(true);
  const std::size_t before = fake.store->openings();
  const auto client = makeClient();
  for (int tenths = 0; tenths < 50; ++tenths) {
    client->getExperiment("e", nullptr);
    client->clearUserProperties();
    fake.time->advance(0.1);
  }
  EXPECT_EQ(fake.store->openings(), before + 5);
  fake.time->set(0);  // a clock set back does not delay the next attempt
  client->getExperiment("e", nullptr);
  EXPECT_EQ(fake.store->openings(), before + 6);
}

}  // namespace
}  // namespace corvo
