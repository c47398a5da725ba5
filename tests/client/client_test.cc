#include <stdexcept>

#include "tests/client/client_fixture.h"

namespace corvo {
namespace {

CorvoUser user(const char* plan) {
  return CorvoUser{{{"custom.plan", plan}}, PropertyMap{{"custom.plan", "2024-05-02 12:00:00"}}};
}

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

TEST_F(ClientTest, FollowsTheClockFromMinuteToMinute) {
  fake.session->always("config.json", fakes::ok(R"({"feature_flags": [
      {"name": "late", "type": "string", "rules": [
          {"is_default": false, "value": "yes", "conditional_statement": "AND", "conditions": [
              {"name": "time", "condition_sign": "after time", "value": "2024-05-01 12:00"}]},
          {"is_default": true, "value": "no", "conditional_statement": "-", "conditions": []}]}]})"));
  const auto client = makeClient();
  fake.time->advance(55);
  EXPECT_EQ(client->checkFlag<std::string>("late").get(), "no");
  fake.time->advance(4);
  EXPECT_EQ(client->checkFlag<std::string>("late").get(), "no");
  fake.time->advance(1);
  EXPECT_EQ(client->checkFlag<std::string>("late").get(), "yes");
  EXPECT_EQ(configRequests(), 1U);
}

TEST_F(ClientTest, NeverServesAnExpiredConfiguration) {
  const auto client = makeClient(1);
  client->checkFlag<bool>("on").get();
  fake.time->advance(11);
  fake.session->always("config.json", fakes::failure());
  std::string description;
  client->checkFlag<bool>("on", nullptr,
                          [&](const CorvoError& e) { description = e.description(); });
  EXPECT_EQ(description, "");
  fake.time->run();
  EXPECT_EQ(description,
            "Corvo warn: Config request failed with error: "
            "URL request succeeded, but returned no data");
  EXPECT_EQ(configRequests(), 3U);
  EXPECT_NE(stored("config.value"), "");
}

TEST_F(ClientTest, FailsWithoutALocationAndKeepsTheConfiguration) {
  const auto client = makeClient();
  fake.session->next("geo", fakes::status(404, "{}"));
  try {
    client->checkFlag<bool>("on").get();
    FAIL();
  } catch (const CorvoError& error) {
    EXPECT_EQ(error, CorvoError(CorvoError::RequestLocationFailed{
                         CorvoNetworkError(CorvoNetworkError::WrongStatusCode{404})}));
  }
  EXPECT_EQ(stored("location.value"), "");
  EXPECT_NE(stored("user.value"), "") << "the user comes before the location";
  client->checkFlag<bool>("on").get();
  EXPECT_EQ(configRequests(), 1U);
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

TEST_F(ClientTest, TypesTheAnswerAsAsked) {
  const auto client = makeClient();
  EXPECT_EQ(client->checkFlag<std::string>("on").get(), "true");
  EXPECT_EQ(client->checkFlag<std::int64_t>("on").get(), std::nullopt);
}

TEST_F(ClientTest, ReportsErrorsOfFlagsAndAsksForTheLocationEvenSo) {
  const auto client = makeClient();
  const auto errorOf = [&](const char* flag) {
    try {
      client->checkFlag<std::string>(flag).get();
    } catch (const CorvoError& error) {
      return error;
    }
    return CorvoError(CorvoError::ExperimentsEmpty{});
  };
  EXPECT_EQ(errorOf("no\xff"), CorvoError(CorvoError::FeatureFlagNotFound{"no\xef\xbf\xbd"}));
  EXPECT_EQ(geoRequests(), 1U);
  EXPECT_EQ(errorOf("mine"), CorvoError(CorvoError::FeatureFlagRulesNotSatisfied{"mine"}));
  EXPECT_EQ(errorOf("empty"), CorvoError(CorvoError::FeatureFlagNoRules{"empty"}));
}

TEST_F(ClientTest, ComparesPrivateFlagsWithTheValueOfTheMoment) {
  const auto flag = [](const std::string& name, const std::string& digest) {
    return R"({"name": ")" + name + R"(", "type": "bool", "is_private": true, "rules": [
        {"is_default": false, "value": "true", "conditional_statement": "AND", "conditions": [
            {"name": ")" +
           name + R"(", "condition_sign": "equal", "value": ")" + digest + R"("}]},
        {"is_default": true, "value": "false", "conditional_statement": "-", "conditions": []}]})";
  };
  // The digests of "2024-05-01 12:00" and "tvOS".
  fake.session->always(
      "config.json",
      fakes::ok(R"({"feature_flags": [)" + flag("time", "b5b4319b739bb06a8cb9c1ed46f4067f") + "," +
                flag("os.name", "6dc9155e5a34c48d7c1ef154c368c18d") + "]}"));
  const auto client = registry.initializeClient("token", std::nullopt, "https://a", 1e6, 0, "tag");
  client->setUserProperties([](auto& builder) { builder.setOsName("tvOS"); });
  const auto expect = [&](bool time, bool osName) {
    for (int i = 0; i < 2; ++i) {
      EXPECT_EQ(client->getUserFeatureFlagsDetails().get(),
                (FlagReport{{"time", time}, {"os.name", osName}}));
    }
  };
  expect(true, true);
  fake.time->advance(60);
  expect(false, true);
  fake.time->advance(86'400);
  expect(false, false);  // the device's
  fake.time->set(1'714'564'800);
  expect(true, true);
}

TEST_F(ClientTest, ReadsExpiriesInTheZoneOfNow) {
  const auto client = makeClient();
  client->setUser(user("gold"));
  fake.time->advance(23.5 * 3600);
  EXPECT_EQ(client->checkFlag<std::string>("mine").get(), "yes");
  fake.timeZone->change(3600);
  EXPECT_THROW(client->checkFlag<std::string>("mine").get(), CorvoError);
}

TEST_F(ClientTest, EditsKeepWhatTheyDoNotTouchAndSettingsReplaceAll) {
  const auto client = makeClient();
  client->editUserProperties([](auto& builder) { builder.setUserId("u"); });
  fake.time->advance(60);
  client->editUserProperties([](auto& builder) { builder.setEmail("e"); });
  EXPECT_EQ(stored("user.value"),
            R"({"properties":{"email":"e","userId":"u"},"corvoExpiration":)"
            R"({"email":"2024-05-02 12:01:00","userId":"2024-05-02 12:00:00"}})");
  client->setUserProperties([](auto& builder) { builder.setEmail("f"); });
  EXPECT_EQ(stored("user.value"),
            R"({"properties":{"email":"f"},"corvoExpiration":{"email":"2024-05-02 12:01:00"}})");
  client->clearUserProperties();
  EXPECT_EQ(stored("user.value"), R"({"properties":{},"corvoExpiration":{}})");
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

}  // namespace
}  // namespace corvo
