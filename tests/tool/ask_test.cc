#include <gmock/gmock.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <utility>

#include "tests/tool/backend.h"

namespace corvo::tool {
namespace {

using testing::HasSubstr;
namespace fs = std::filesystem;

class Ask : public testing::Test {
 protected:
  Ran ask(const std::string& question) const {
    return runCorvo("ask --url " + backend_.url() + " --token t " + question);
  }
  void expectFailure(const std::string& question, const std::string& err) const {
    const Ran ran = ask(question);
    EXPECT_EQ(ran.status, 1) << question;
    EXPECT_EQ(ran.out, "") << question;
    EXPECT_EQ(ran.err, err) << question;
  }

  Backend backend_{"--config " CORVO_SHOP "/config.json --geo " CORVO_SHOP "/geo.json"};
};

// Where ann, bob and leo are is worked out in shop_test.cc.
TEST_F(Ask, PrintsTheAnswer) {
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
      {"experiment short-checkout --user-id ann",
       "short-checkout: group 1, \"short\"\n"
       "FLAG            TYPE     VALUE\n"
       "checkout-steps  integer  1\n"},
      {"--user-id ann experiment product-page --json",
       "{\"groupIndex\":1,\"groupName\":\"b\",\"name\":\"product-page\",\"type\":\"parameter\","
       "\"values\":{\"columns\":2,\"gallery\":\"grid\"}}\n"},
      {"experiment top-banner --property deviceId=ann-phone", "top-banner: group 1, \"picture\"\n"},
      {"experiment short-checkout --user-id leo", "short-checkout: the user is not in it\n"},
      {"experiment short-checkout --user-id leo --json",
       "{\"groupIndex\":null,\"groupName\":null,\"name\":\"short-checkout\",\"type\":null,"
       "\"values\":{}}\n"},
      {"experiments --user-id bob --property deviceId=ann-tablet",
       "EXPERIMENT      INDEX  GROUP\n"
       "short-checkout  1      short\n"
       "landing-page    1      b\n"},
      {"holdout quiet-customers --user-id leo",
       "HOLDOUT          HELD OUT\n"
       "quiet-customers  true\n"},
      {"holdout quiet-customers --user-id ann --json", "{\"quiet-customers\":false}\n"},
      {"holdouts --user-id leo", "HOLDOUTS\nquiet-customers.0\n"},
      {"holdouts --user-id ann", "HOLDOUTS\n(none)\n"},
      {"details --property profileId=partner-0 --property deviceId=ann-phone",
       "EXPERIMENT      TYPE        INDEX  NAME      VALUE\n"
       "top-banner      webBuilder  1      -         -\n"
       "partner-prices  parameter   1      discount  0.05\n"},
      {"details --property profileId=partner-0 --property deviceId=ann-tablet --json",
       R"([{"group":{"index":1},"id":"partner-prices",)"
       R"("results":[{"name":"discount","value":"0.05"}],"type":"parameter"}])"
       "\n"},
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

TEST_F(Ask, KeepsItsStateInTheFileAlone) {
  const fs::path folder = fs::path(testing::TempDir()) / ("corvo_ask_" + std::to_string(getpid()));
  const std::string store = "--json --store " + (folder / "state").string() + " ";
  const struct {
    const char* question;
    const char* out;
  } steps[] = {
      {"--user-id ann flag checkout-steps", "{\"checkout-steps\":1}\n"},
      {"flag checkout-steps", "{\"checkout-steps\":1}\n"},
      {"force short-checkout 0",
       "{\"forced\":true,\"groupIndex\":0,\"name\":\"short-checkout\"}\n"},
      {"force gold-offer", "{\"forced\":true,\"groupIndex\":null,\"name\":\"gold-offer\"}\n"},
      {"unforce gold-offer", "{\"forced\":false,\"name\":\"gold-offer\"}\n"},  // fetches anew
      {"flag checkout-steps", "{\"checkout-steps\":3}\n"},
      {"unforce --all", "{\"forced\":false,\"name\":null}\n"},
      {"flag checkout-steps", "{\"checkout-steps\":1}\n"},
      {"--property custom.plan=none flag welcome-text",
       "{\"welcome-text\":\"Welcome to the shop!\"}\n"},
  };
  for (const auto& [question, out] : steps) EXPECT_EQ(ask(store + question).out, out) << question;
  EXPECT_EQ(std::distance(fs::directory_iterator(folder), {}), 1);
  fs::remove_all(folder);
}

TEST_F(Ask, SaysWhyItFails) {
  const std::string folder = testing::TempDir();
  const std::pair<std::string, std::string> cases[] = {
      {"flag nope", "Corvo warn: Feature flag \"nope\" not found\n"},
      {"holdout short-checkout", "Corvo warn: Holdout with name \"short-checkout\" not found\n"},
      {"force short-checkout",
       "Corvo warn: User doesn't have a split identifier for experiment \"short-checkout\"\n"},
      {"--user-id ann force short-checkout -1",
       "Corvo warn: Experiment \"short-checkout\" has no group with index \"-1\"\n"},
      {"unforce --all", "Corvo warn: No included experiments to exclude\n"},
      {"flags --store " + folder, "cannot open " + folder + " as a store\n"},
  };
  for (const auto& [question, err] : cases) expectFailure(question, err);
  backend_.stop(SIGTERM);
  const Ran refused = ask("--json flags");
  EXPECT_EQ(refused.status, 1);
  // The second line is the transport's own.
  EXPECT_THAT(refused.err, testing::StartsWith("Corvo warn: Config request failed with error: "
                                               "URL request succeeded, but returned no data\n"
                                               "the last request failed: Failed to connect to "));
}

TEST_F(Ask, LeavesAFileThatIsNoStoreAsItIs) {
  const fs::path folder = fs::path(testing::TempDir()) / ("corvo_text_" + std::to_string(getpid()));
  const std::string file = (folder / "file").string();
  const std::string repeated(50'000, 'x');
  for (const std::string& text :
       {std::string("to do\n"), std::string(600, '\n'), repeated, "SQLite format 3\n" + repeated}) {
    fs::create_directory(folder);
    std::ofstream(file) << text;
    expectFailure("flags --user-id ann --store " + file, "cannot open " + file + " as a store\n");
    EXPECT_EQ(readFile(file), text);
    EXPECT_EQ(std::distance(fs::directory_iterator(folder), {}), 1) << text.substr(0, 20);
    fs::remove_all(folder);
  }
}

TEST_F(Ask, FailsWhereItsOutputCannotBeWritten) {
  int unread[2];
  ASSERT_EQ(pipe(unread), 0);
  close(unread[0]);
  const std::string broken = " >&" + std::to_string(unread[1]);
  const std::string reason = "cannot write to standard output: ";
  const std::string commands[] = {
      "ask --token t flags --url " + backend_.url(), "--version", "serve --help",
      "serve --config " CORVO_SHOP "/config.json --geo " CORVO_SHOP "/geo.json"};
  for (const std::string& command : commands) {
    const Ran full = runCorvo(command + " >/dev/full");
    EXPECT_EQ(full.status, 1) << command;
    EXPECT_EQ(full.err, reason + "No space left on device\n") << command;
    const Ran closed = runCorvo(command + " >&-");
    EXPECT_EQ(closed.status, 1) << command;
    EXPECT_EQ(closed.err, reason + "Bad file descriptor\n") << command;
    const Ran unheard = runCorvo(command + broken);
    EXPECT_EQ(unheard.status, 128 + SIGPIPE) << command;
    EXPECT_EQ(unheard.err, "") << command;
  }
  close(unread[1]);
}

TEST_F(Ask, RefusesWrongUsage) {
  for (const char* question :
       {"", "flag", "flags --property plan", "flags --property =gold", "flags --colour", "weather",
        "experiment", "experiments a", "force", "force a one", "unforce", "unforce a --all"}) {
    const Ran ran = ask(question);
    EXPECT_EQ(ran.status, 2) << question;
    EXPECT_EQ(ran.out, "") << question;
    EXPECT_NE(ran.err, "") << question;
  }
}

}  // namespace
}  // namespace corvo::tool
