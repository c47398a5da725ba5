#include <corvo/client_registry.h>
#include <corvo/fakes.h>
#include <gtest/gtest.h>

#include <sstream>
#include <variant>

#include "model/codec.h"
#include "tests/base/case_table.h"
#include "tests/tool/backend.h"

namespace corvo::tool {
namespace {

TEST(Shop, DecodesWithoutADrop) {
  std::vector<model::Drop> drops;
  const auto decoded = model::decodeConfig(tests::contentsOf(CORVO_SHOP "/config.json"), drops);
  for (const model::Drop& drop : drops) ADD_FAILURE() << drop.pointer << ": " << drop.reason;
  const auto* config = std::get_if<model::ConfigResponse>(&decoded);
  ASSERT_NE(config, nullptr);
  EXPECT_EQ(config->featureFlags.size(), 13);
  EXPECT_EQ(config->experiments.size(), 7);
}

/// The answer, or the description of the error.
std::string answer(const PropertyMap& properties, const std::string& asked) {
  fakes::FakePlatform fake;
  fake.device->vendor = std::nullopt;
  fake.session->always("config.json", fakes::ok(tests::contentsOf(CORVO_SHOP "/config.json")));
  fake.session->always("geo", fakes::ok(tests::contentsOf(CORVO_SHOP "/geo.json")));
  CorvoUser user{properties, PropertyMap()};
  for (const auto& [name, value] : properties) {
    user.corvoExpiration->emplace(name, "2024-05-02 12:00:00");
  }
  ClientRegistry registry(fake.platform());
  const auto client = registry.initializeClient("t", user, "http://shop", 300, 0, "shop");
  try {
    if (asked == "experiments") return client->getAllUserExperimentsText().get().value_or("none");
    return client->checkFlag<std::string>(asked).get().value();
  } catch (const CorvoError& error) {
    return error.description();
  }
}

/// "userId=u, email=e" as properties.
PropertyMap properties(const std::string& user) {
  PropertyMap map;
  std::istringstream in(user);
  for (std::string name, value; std::getline(in >> std::ws, name, '=');) {
    std::getline(in, value, ',');
    map[name] = value;
  }
  return map;
}

TEST(Shop, AnswersAsTheTableSays) {
  for (const auto& [user, asked, expected, why] :
       tests::caseTable<4>(CORVO_TOOL_CASES "shop.txt")) {
    EXPECT_EQ(answer(properties(user), asked), expected) << user << ": " << asked << " " << why;
  }
}

}  // namespace
}  // namespace corvo::tool
