#include <gmock/gmock.h>

#include <csignal>

#include "tests/tool/backend.h"

namespace corvo::tool {
namespace {

using testing::HasSubstr;

class Ask : public testing::Test {
 protected:
  Ran ask(const std::string& question) const {
    return runCorvo("ask --url " + backend_.url() + " --token t " + question);
  }

  Backend backend_{"--config " CORVO_SHOP "/config.json --geo " CORVO_SHOP "/geo.json"};
};

TEST_F(Ask, PrintsOneFlag) {
  const struct {
    const char* question;
    const char* out;
  } cases[] = {
      {"--user-id ann flag welcome-text",
       "FLAG          TYPE    VALUE\n"
       "welcome-text  string  \"Welcome back, Ann!\"\n"},
      {"--property custom.basket=150 --json flag basket-discount", "{\"basket-discount\":0.1}\n"},
      {"flag checkout-steps --json", "{\"checkout-steps\":3}\n"},
      {"flag staff-preview --json --property email=a=b@shop.example", "{\"staff-preview\":true}\n"},
  };
  for (const auto& [question, out] : cases) {
    const Ran ran = ask(question);
    EXPECT_EQ(ran.out, out) << question;
    EXPECT_EQ(ran.err, "") << question;
    EXPECT_EQ(ran.status, 0) << question;
  }
}

TEST_F(Ask, PrintsAllFlagsByName) {
  const std::string user = "flags --property appVersion=2.10 --property 'date=2024-05-01 12:00' ";
  EXPECT_EQ(ask(user + "--json").out,
            "{\"basket-discount\":0,\"checkout-steps\":3,\"free-shipping-from\":25,"
            "\"gift-wrapping\":true,\"new-checkout\":true,\"newsletter-popup\":false,"
            "\"opening-day-gift\":\"tote bag\",\"pickup-in-store\":true,"
            "\"sale\":{\"categories\":[\"shoes\",\"bags\"],\"discount\":0.2,"
            "\"title\":\"Spring sale\"},"
            "\"search-hint\":\"\",\"staff-preview\":false,"
            "\"welcome-text\":\"Welcome to the shop!\"}\n");
  const std::string spanish = ask(user + "--property geo.country=Spain").out;
  EXPECT_THAT(spanish, HasSubstr("\nfree-shipping-from  double      49.9\n"));
  EXPECT_THAT(spanish, HasSubstr("\ngift-wrapping       boolean     true\n"));
}

TEST_F(Ask, SaysWhyItFails) {
  const Ran unknown = ask("flag nope");
  EXPECT_EQ(unknown.status, 1);
  EXPECT_EQ(unknown.out, "");
  EXPECT_EQ(unknown.err, "Corvo warn: Feature flag \"nope\" not found\n");

  backend_.stop(SIGTERM);
  const Ran alone = ask("--json flags");
  EXPECT_EQ(alone.status, 1);
  EXPECT_EQ(alone.out, "");
  EXPECT_EQ(alone.err,
            "Corvo warn: Config request failed with error: "
            "URL request succeeded, but returned no data\n");
}

TEST_F(Ask, RefusesWrongUsage) {
  for (const char* question : {"", "flag", "flags --property plan", "flags --property =gold",
                               "flags --colour", "weather"}) {
    const Ran ran = ask(question);
    EXPECT_EQ(ran.status, 2) << question;
    EXPECT_EQ(ran.out, "") << question;
    EXPECT_NE(ran.err, "") << question;
  }
}

}  // namespace
}  // namespace corvo::tool
