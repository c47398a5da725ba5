#include <stdexcept>

#include "tests/client/client_fixture.h"

namespace corvo {
namespace {

TEST_F(ClientTest, AnswersOnTheMainQueueAfterAFetchAndAtOnceFromFreshCopies) {
  const auto client = makeClient();
  int calls = 0;
  const auto ask = [&] {
    client->checkFlag<bool>("on", [&](std::optional<bool> on) { calls += on == true ? 1 : 100; });
  };
  ask();
  EXPECT_EQ(calls, 0);
  fake.time->run();
  EXPECT_EQ(calls, 1);
  ask();
  EXPECT_EQ(calls, 2);
  EXPECT_EQ(fake.session->requests().size(), 2U);
}

TEST_F(ClientTest, AsksForTheConfigurationAndThenTheLocation) {
  const auto client = makeClient();
  client->checkFlag<bool>("on", nullptr);
  ASSERT_EQ(fake.session->requests().size(), 1U);
  EXPECT_EQ(stored("user.value"), "") << "the user is looked at once the configuration is there";
  fake.time->run();

  ASSERT_EQ(fake.session->requests().size(), 2U);
  const UrlRequest& config = fake.session->requests()[0];
  const std::string identifier = stored("corvoPrivateId.value");
  EXPECT_EQ(config.method, "GET");
  EXPECT_EQ(config.url, "https:/flags.example.com/config.json");
  EXPECT_EQ(config.headers.at("token"), "token");
  EXPECT_EQ("\"" + config.headers.at("user-id") + "\"", identifier);
  EXPECT_EQ(identifier.size(), 82U);
  EXPECT_EQ(fake.session->requests()[1].url, "https:/flags.example.com/geo");
  EXPECT_EQ(fake.session->requests()[1].headers, config.headers);
  EXPECT_EQ(stored("location.value"), R"({"geo.city":"Berlin"})");
  EXPECT_EQ(stored("user.value"), R"({"properties":{},"corvoExpiration":{}})");
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

TEST_F(ClientTest, MakesARequestForEachOfConcurrentQuestions) {
  const auto client = makeClient();
  auto first = client->checkFlag<bool>("on");
  auto second = client->checkFlag<bool>("on");
  EXPECT_EQ(configRequests(), 2U);
  EXPECT_EQ(first.get(), true);
  EXPECT_EQ(second.get(), true);
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

TEST_F(ClientTest, MendsTextAtTheDoor) {
  const auto client = makeClient();
  client->setUser({{{"a\xff", "\xff"}}, std::nullopt});
  EXPECT_EQ(stored("user.value"), "{\"properties\":{\"a\xef\xbf\xbd\":\"\xef\xbf\xbd\"}}");
}

TEST_F(ClientTest, PassesOnThatNoSecureBytesCanBeHad) {
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
  fake.time->set(0);  // a clock set back is no reason to wait
  client->getExperiment("e", nullptr);
  EXPECT_EQ(fake.store->openings(), before + 6);
}

}  // namespace
}  // namespace corvo
