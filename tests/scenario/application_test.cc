#include <string>

#include "tests/client/client_fixture.h"

namespace corvo {
namespace {

constexpr double kDay = 86'400;

/// Asks whether a flag is known.
bool knows(CorvoClient& client) {
  bool known = false;
  client.checkFlag<bool>("f", [&](auto) { known = true; });
  return known;
}

/// A client that is made, and asked, before `main`.
struct EarlyClient {
  fakes::FakePlatform fake;
  ClientRegistry registry{fake.platform()};
  std::shared_ptr<CorvoClient> client =
      registry.initializeClient("t", std::nullopt, "https://a", 60, 0, "t");

  EarlyClient() {
    fake.session->always("config.json", fakes::ok(R"({"feature_flags": [
        {"name": "f", "type": "t", "rules": [{"is_default": true, "value": "true",
         "conditional_statement": "-", "conditions": []}]}]})"));
    fake.session->always("geo", fakes::ok("{}"));
    client->getAllUserHoldouts().get();
  }
};
const EarlyClient early;
const bool knownEarly = knows(*early.client);

TEST(EarlyClientTest, AnswersTheSameBeforeMainAndAfter) {
  EXPECT_TRUE(knownEarly);
  EXPECT_TRUE(knows(*early.client));
}

/// An application over days: each start makes a registry and a client of its own on the platform.
class ApplicationTest : public testing::Test {
 protected:
  // "e" is for the plan "gold" and lets nobody in by hash; it carries the flag.
  static constexpr const char* kProject = R"({
      "feature_flags": [{"name": "f", "type": "string", "rules": [
          {"is_default": true, "value": "own", "conditional_statement": "-", "conditions": []}]}],
      "experiments": [{"name": "e", "type": 1, "salt": "s", "allocation": 1,
          "groups": [{"name": "a", "weight": 1}, {"name": "b", "weight": 0}],
          "targets": {"conditional_statement": "AND", "conditions": [
              {"name": "custom.plan", "condition_sign": "equal", "value": "gold"}]},
          "feature_flags": [{"name": "f", "type": "string", "groups": [
              {"group": "a", "rules": [{"is_default": true, "value": "A",
                  "conditional_statement": "-", "conditions": []}]},
              {"group": "b", "rules": [{"is_default": true, "value": "B",
                  "conditional_statement": "-", "conditions": []}]}]}]}]})";

  ApplicationTest() { online(kProject); }

  void online(const char* config) {
    fake.session->always("config.json", fakes::ok(config));
    fake.session->always("geo", fakes::ok("{}"));
  }
  void offline() {
    for (const char* route : {"config.json", "geo"}) fake.session->always(route, fakes::failure());
  }

  /// Ends the application, whatever it waits for, and starts it again.
  void start() {
    client.reset();
    registry = std::make_unique<ClientRegistry>(fake.platform());
    client = registry->initializeClient("token", std::nullopt, "https://a", 60, 1, "tag");
  }

  std::string flag() const try {
    return client->checkFlag<std::string>("f").get().value_or("(none)");
  } catch (const CorvoError& error) {
    return std::to_string(static_cast<int>(error.which()));
  }
  std::string groups() const {
    return client->getAllUserExperimentsText().get().value_or("(none)");
  }

  const std::string kConfigFailed =
      std::to_string(static_cast<int>(CorvoError::Case::requestConfigFailed));

  fakes::FakePlatform fake;
  std::unique_ptr<ClientRegistry> registry;
  std::shared_ptr<CorvoClient> client;
};

TEST_F(ApplicationTest, LivesThroughItsFirstDays) {
  offline();
  start();
  client->setUserProperties(
      [](auto& builder) { builder.setUserId("u").setCustomProperty("gold", "plan"); });
  EXPECT_EQ(flag(), kConfigFailed) << "installed without a network";
  EXPECT_EQ(fake.session->requestCount("config.json"), 2U);

  start();
  online(kProject);
  EXPECT_EQ(flag(), "A") << "the user of the first start is still known";
  const std::string identifier = fake.session->requests().front().headers.at("user-id");

  offline();
  start();
  EXPECT_EQ(flag(), "A") << "what an earlier start fetched is still fresh";
  fake.time->advance(60);
  EXPECT_EQ(flag(), kConfigFailed) << "and now expired";

  online(kProject);
  fake.time->advance(kDay - 60);
  EXPECT_EQ(flag(), "A") << "the plan serves for a day";
  fake.time->advance(1);
  EXPECT_EQ(flag(), "own") << "not longer";
  EXPECT_EQ(fake.session->requests().back().headers.at("user-id"), identifier);
  EXPECT_EQ(groups(), "(none)");
}

TEST_F(ApplicationTest, KeepsAnInclusionThroughRefreshesAndRestarts) {
  start();
  client->setUserProperties([](auto& builder) { builder.setUserId("u"); });
  client->includeForce("e", 1).get();
  EXPECT_EQ(flag(), "B");

  fake.time->advance(60);
  online("{}");
  EXPECT_EQ(flag(), "3") << "the experiment was removed, and its flag with it";
  start();
  fake.time->advance(60);
  online(kProject);
  EXPECT_EQ(groups(), "e.1") << "it came back, and the inclusion was still remembered";

  offline();
  EXPECT_THROW(client->excludeForce("e").get(), CorvoError);
  EXPECT_EQ(groups(), "e.1") << "the copy stays in use while it is fresh";
  fake.time->advance(60);
  online(kProject);
  EXPECT_EQ(groups(), "(none)") << "the exclusion outlived the failed fetch";
}

TEST_F(ApplicationTest, SharesASuiteWithAClientWhoseTagAndTokenJoinToTheSameText) {
  start();
  const auto other = registry->initializeClient("oken", std::nullopt, "https://b", 60, 0, "tagt");
  client->setUserProperties(
      [](auto& builder) { builder.setUserId("u").setCustomProperty("gold", "plan"); });
  EXPECT_EQ(other->getAllUserExperimentsText().get(), "e.0") << "it reads what the first stored";
  EXPECT_EQ(flag(), "A");
  EXPECT_EQ(fake.session->requestCount("config.json"), 1U) << "the other way round, too";

  other->clearUserProperties();
  EXPECT_EQ(groups(), "e.0") << "a client trusts what it wrote itself";
  EXPECT_EQ(other->getAllUserExperimentsText().get(), std::nullopt);
  start();
  EXPECT_EQ(groups(), "(none)") << "until it is started anew";
}

}  // namespace
}  // namespace corvo
