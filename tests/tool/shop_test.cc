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

/// The answer to a question, or the description of the error, at noon of 2024-05-01 in Lisbon's
/// shop.
template <class Question>
std::string answer(const PropertyMap& properties, Question question) {
  fakes::FakePlatform fake;
  fake.device->vendor = std::nullopt;
  fake.session->always("config.json", fakes::ok(readFile(CORVO_SHOP "/config.json")));
  fake.session->always("geo", fakes::ok(readFile(CORVO_SHOP "/geo.json")));
  CorvoUser user{properties, PropertyMap()};
  for (const auto& [name, value] : properties) {
    user.corvoExpiration->emplace(name, "2024-05-02 12:00:00");
  }
  ClientRegistry registry(fake.platform());
  const auto client = registry.initializeClient("t", user, "http://shop", 300, 0, "shop");
  try {
    return question(*client);
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
    const auto ask = [name = flag](CorvoClient& client) {
      return client.checkFlag<std::string>(name).get().value();
    };
    EXPECT_EQ(answer(user, ask), value) << flag << " " << testing::PrintToString(user);
  }
}

// Who is where was worked out apart from the library, in Python: h is the polynomial hash (base 31,
// 32 bits, signed) of hashlib's hexadecimal MD5 of identifier + salt, b = |h * 85407170560000.0 *
// 2**-64|; b / 100 is compared with 100 * allocation, fmod(b, 100) with the weights' running sum,
// b // 10 of identifier + layer with the layer's bounds. The cases name the numbers that decide.
TEST(Shop, PlacesItsCustomers) {
  const struct {
    const char* why;
    PropertyMap user;
    const char* experiments;
  } cases[] = {
      {"groups 62.7, 59.2; layer 479", {{"userId", "ann"}}, "short-checkout.1|product-page.1"},
      {"layer 522, share 74.7", {{"userId", "bob"}}, "short-checkout.1|landing-page.1"},
      {"group 10.0; share 92.4", {{"userId", "bruno"}}, "short-checkout.0"},
      {"held out 1.5", {{"userId", "leo"}, {"custom.plan", "gold"}}, "quiet-customers.0"},
      {"target, group 83.4",
       {{"userId", "ann"}, {"custom.plan", "gold"}},
       "short-checkout.1|product-page.1|gold-offer.1"},
      {"group 51.5", {{"deviceId", "ann-phone"}}, "top-banner.1"},
      {"share 58.4", {{"deviceId", "ann-tablet"}}, "none"},
      {"private target, group 38.6",
       {{"profileId", "partner-7"}, {"email", "ann@home.example"}},
       "partner-prices.0"},
      {"private target", {{"profileId", "partner-7"}, {"email", "bob@home.example"}}, "none"},
      {"listed, group 88.2", {{"profileId", "partner-0"}}, "partner-prices.1"},
      {"listed for group 0", {{"userId", "qa-3"}}, "short-checkout.0|landing-page.1"},
  };
  for (const auto& [why, user, experiments] : cases) {
    const auto ask = [](CorvoClient& client) {
      return client.getAllUserExperimentsText().get().value_or("none");
    };
    EXPECT_EQ(answer(user, ask), experiments) << why;
  }
}

}  // namespace
}  // namespace corvo::tool
