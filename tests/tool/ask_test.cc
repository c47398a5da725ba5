// SPDX-License-Identifier: Apache-2.0

#include <corvo/evaluation.h>
#include <gmock/gmock.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "host/sqlite.h"
#include "tests/base/case_table.h"
#include "tests/tool/backend.h"
#include "tests/tool/transcript.h"

namespace corvo::tool {

using namespace corvo_internal;

namespace {

namespace fs = std::filesystem;

class Ask : public testing::Test {
 protected:
  ~Ask() override { fs::remove_all(folder_); }

  Ran ask(const std::string& question) const {
    return runCorvo("ask --url " + backend_.url() + " --token t " + question);
  }
  Backend backend_{"--config " CORVO_SHOP "/config.json --geo " CORVO_SHOP "/geo.json"};
  const fs::path folder_ = fs::path(testing::TempDir()) / ("corvo_ask_" + std::to_string(getpid()));
};

TEST_F(Ask, AnswersAsTheTranscriptSays) {
  fs::create_directory(folder_);
  std::string text = tests::contentsOf(CORVO_TOOL_CASES "ask.txt");
  tests::replaceAll(text, "FOLDER", folder_.string());
  tests::replaceAll(text, "$ corvo ask", "$ corvo ask --token t --url " + backend_.url());
  const std::size_t count = replay(text, ".");
  EXPECT_GT(count, 30U);
  EXPECT_EQ(std::distance(fs::directory_iterator(folder_), {}), 1) << "all of the state";
}

TEST_F(Ask, SaysWhyARequestFailed) {
  backend_.stop(SIGTERM);
  const Ran refused = ask("flags");
  EXPECT_EQ(refused.status, 1);
  // The second line comes from the transport.
  EXPECT_THAT(refused.err, testing::StartsWith("Corvo warn: Config request failed with error: "
                                               "URL request succeeded, but returned no data\n"
                                               "the last request failed: Failed to connect to "));
}

TEST_F(Ask, LeavesAFileThatIsNotAStoreUnchanged) {
  const std::string file = (folder_ / "file").string();
  const auto write = [&](const std::string& bytes) {
    fs::remove_all(folder_);
    fs::create_directory(folder_);
    std::ofstream(file, std::ios::binary) << bytes;
  };
  write("");
  host::Connection(file).execute("CREATE TABLE t (x)");
  const std::string foreign = tests::contentsOf(file);
  for (const std::string& bytes :
       {foreign, std::string("x"), std::string("to do\n"), std::string(600, '\n'),
        std::string("SQLite format 3"), "SQLite format 3\n" + std::string(50'000, 'x'),
        std::string(100'000, '\0')}) {
    SCOPED_TRACE(bytes.substr(0, 20));
    write(bytes);
    const Ran ran = ask("flags --user-id ann --store " + file);
    EXPECT_EQ(ran.status, 1);
    EXPECT_EQ(ran.err, "cannot open " + file + " as a store\n");
    EXPECT_TRUE(tests::contentsOf(file) == bytes);
    EXPECT_EQ(std::distance(fs::directory_iterator(folder_), {}), 1);
  }
}

TEST_F(Ask, FailsIfItsOutputCannotBeWritten) {
  int unread[2];
  ASSERT_EQ(pipe(unread), 0);
  close(unread[0]);
  const std::string broken = " >&" + std::to_string(unread[1]);
  const std::string reason = "cannot write to standard output: ";
  fs::create_directory(folder_);
  std::ofstream(folder_ / "users") << "{}\n";
  const std::string commands[] = {
      "ask --token t flags --url " + backend_.url(), "--version", "serve --help",
      "serve --config " CORVO_SHOP "/config.json --geo " CORVO_SHOP "/geo.json",
      "assign --config " CORVO_SHOP "/config.json <" + (folder_ / "users").string()};
  for (const std::string& command : commands) {
    const Ran full = runCorvo(command + " >/dev/full");
    EXPECT_EQ(full.status, 1) << command;
    EXPECT_EQ(full.err, reason + "No space left on device\n") << command;
    const Ran closed = runCorvo(command + " >&-");
    EXPECT_EQ(closed.status, 1) << command;
    EXPECT_EQ(closed.err, reason + "Bad file descriptor\n") << command;
    const Ran withoutReader = runCorvo(command + broken);
    EXPECT_EQ(withoutReader.status, 128 + SIGPIPE) << command;
    EXPECT_EQ(withoutReader.err, "") << command;
  }
  close(unread[1]);
}

TEST(Shop, DecodesWithoutADrop) {
  const Project shop = Project::decode(tests::contentsOf(CORVO_SHOP "/config.json")).value();
  for (const Project::Drop& drop : shop.drops())
    ADD_FAILURE() << drop.pointer << ": " << drop.reason;
  EXPECT_EQ(shop.flags().size(), 13);
  EXPECT_EQ(shop.experiments().size() + shop.holdouts().size(), 7);
}

}  // namespace
}  // namespace corvo::tool
