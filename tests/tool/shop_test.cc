#include <corvo/client_registry.h>
#include <corvo/fakes.h>
#include <gmock/gmock.h>

#include <variant>

#include "model/codec.h"
#include "tests/tool/backend.h"

namespace corvo::tool {
namespace {

TEST(Shop, DecodesWithoutADrop) {
  std::vector<model::Drop> drops;
  const auto decoded = model::decodeConfig(readFile(CORVO_SHOP "/config.json"), drops);
  for (const model::Drop& drop : drops) ADD_FAILURE() << drop.pointer << ": " << drop.reason;
  const auto* config = std::get_if<model::ConfigResponse>(&decoded);
  ASSERT_NE(config, nullptr);
  EXPECT_EQ(config->featureFlags.size(), 13);
  EXPECT_EQ(config->experiments.size(), 7);
}

/// The text of a flag, or the description of the error, at noon of 2024-05-01 in Lisbon's shop.
std::string answer(const PropertyMap& properties, const char* flag) {
  fakes::FakePlatform fake;
  fake.session->always("config.json", fakes::ok(readFile(CORVO_SHOP "/config.json")));
  fake.session->always("geo", fakes::ok(readFile(CORVO_SHOP "/geo.json")));
  CorvoUser user{properties, PropertyMap()};
  for (const auto& [name, value] : properties) {
    user.corvoExpiration->emplace(name, "2024-05-02 12:00:00");
  }
  ClientRegistry registry(fake.platform());
  const auto client = registry.initializeClient("t", user, "http://shop", 300, 0, "shop");
  try {
    return client->checkFlag<std::string>(flag).get().value();
  } catch (const CorvoError& error) {
    return error.description();
  }
}

TEST(Shop, AnswersItsFlags) {
  const struct {
    PropertyMap user;
    const char* flag;
    const char* value;
  } cases[] = {
      {{{"userId", "ann"}}, "welcome-text", "Welcome back, Ann!"},
      {{{"userId", "bob"}}, "welcome-text", "Welcome to the shop!"},
      {{{"appVersion", "2.3.99"}}, "new-checkout", "false"},
      {{{"appVersion", "2.10"}}, "new-checkout", "true"},
      {{}, "free-shipping-from", "25"},
      {{{"custom.orders", "0"}}, "free-shipping-from", "0"},
      {{{"custom.orders", "1"}}, "free-shipping-from", "25"},
      {{{"geo.country", "Spain"}}, "free-shipping-from", "49.90"},
      {{{"date", "2024-05-01"}}, "sale", "{\"discount\": 0}"},
      {{{"date", "2024-05-08 18:00"}}, "sale", "{\"discount\": 0}"},
      {{}, "opening-day-gift", "tote bag"},
      {{{"date", "2024-05-02 08:59"}}, "opening-day-gift", "tote bag"},
      {{{"date", "2024-05-02 09:00"}},
       "opening-day-gift",
       "Corvo warn: Feature flag \"opening-day-gift\" doesn't have rules satisfied"},
      {{{"email", "bob@home.example"}}, "staff-preview", "true"},
      {{{"email", "eve@home.example"}}, "staff-preview", "false"},
      {{{"email", "eve@partner.example"}}, "staff-preview", "true"},
      {{{"custom.basket", "99.99"}}, "basket-discount", "0"},
      {{{"custom.basket", "200"}}, "basket-discount", "0.1"},
      {{{"custom.basket", "200.5"}}, "basket-discount", "0.15"},
      {{{"email", "a@b.example"}, {"custom.visits", "3"}}, "newsletter-popup", "true"},
      {{{"email", "a@b.example"}, {"custom.visits", "4"}}, "newsletter-popup", "false"},
      {{{"custom.visits", "1"}}, "newsletter-popup", "false"},
      {{{"custom.typed", "run"}}, "search-hint", "running shoes"},
      {{{"custom.typed", "boots"}}, "search-hint", "rubber boots"},
      {{{"custom.typed", "Run"}}, "search-hint", ""},
      {{}, "search-hint", ""},
      {{}, "pickup-in-store", "true"},
      {{{"geo.city", "Madrid"}}, "pickup-in-store", "false"},
      {{{"geo.state", "Madeira"}}, "gift-wrapping", "false"},
      {{{"geo.country", "Malta"}}, "gift-wrapping", "false"},
      {{}, "home-widget", "Corvo warn: Feature flag \"home-widget\" not found"},
  };
  for (const auto& [user, flag, value] : cases) {
    EXPECT_EQ(answer(user, flag), value) << flag << " " << testing::PrintToString(user);
  }
}

}  // namespace
}  // namespace corvo::tool
