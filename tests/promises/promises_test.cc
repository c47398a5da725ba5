// SPDX-License-Identifier: Apache-2.0

#include <corvo/version.h>
#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <set>

#include "tests/base/case_table.h"
#include "tests/host/loopback_server.h"

namespace corvo::tests {
namespace {

namespace fs = std::filesystem;
using testing::MatchesRegex;

const std::string kConfig = contentsOf(CORVO_PROMISES_CASES "project.json");
/// Headers that a browser would store and use in its next request.
constexpr const char* kMemorable =
    "Set-Cookie: id=7; Path=/\r\nETag: \"1\"\r\nLast-Modified: Mon, 01 Jan 2024 00:00:00 GMT\r\n"
    "Alt-Svc: h2=\":443\"\r\nStrict-Transport-Security: max-age=99\r\nAccept-CH: UA\r\n";

bool isFor(const std::string& head, const std::string& path) {
  return head.find(" " + path + " ") != std::string::npos;
}

/// Redirects the first route, and answers routes below "/broken" with a page.
RawReply reply(const std::string& config, const std::string& head) {
  if (isFor(head, "/config.json")) {
    return answer(302, "", "Location: /moved/config.json\r\n" + std::string(kMemorable));
  }
  if (isFor(head, "/moved/config.json")) return answer(200, config, kMemorable);
  return answer(200, isFor(head, "/geo") ? "{}" : "<html>", kMemorable);
}

/// A program that runs with its own home folder.
class Promises : public testing::Test {
 protected:
  void SetUp() override {
    for (const char* each : {"home", "data", "temporary", "work", "said"}) {
      fs::create_directories(folder_ / each);
    }
  }
  void TearDown() override { fs::remove_all(folder_); }

  /// The exit status, as a shell reports it.
  int run(const LoopbackServer& server) const {
    const std::string in = folder_.string();
    const std::string command =
        "cd " + in + "/work && exec env -i HOME=" + in + "/home XDG_DATA_HOME=" + in +
        "/data TMPDIR=" + in +
        "/temporary " CORVO_ORDINARY_USE " http://127.0.0.1:" + server.port() +
        " ann >../said/out 2>../said/err";
    const int status = std::system(command.c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  }
  std::string said(const char* stream) const { return contentsOf(folder_ / "said" / stream); }
  std::set<std::string> files() const {
    std::set<std::string> found;
    for (const auto& entry : fs::recursive_directory_iterator(folder_)) {
      const std::string name = fs::relative(entry.path(), folder_).string();
      if (entry.is_regular_file() && !name.starts_with("said/")) found.insert(name);
    }
    return found;
  }

  const fs::path folder_ =
      fs::path(testing::TempDir()) / ("corvo_promises_" + std::to_string(getpid()));
};

TEST_F(Promises, NoThreadNoWordNoFileButTheStoresAndOnlyTheDocumentedFields) {
  LoopbackServer server([](const std::string& head) { return reply(kConfig, head); });
  EXPECT_EQ(run(server), 0) << "threads";
  EXPECT_EQ(said("out"), "");
  EXPECT_EQ(said("err"), "");
  for (const std::string& file : files()) {
    EXPECT_THAT(file, MatchesRegex("data/ordinary_use/corvo\\.db(-wal|-shm)?"));
  }
  EXPECT_TRUE(fs::exists(folder_ / "data/ordinary_use/corvo.db"));
  const auto requests = server.requests();
  EXPECT_GT(requests.size(), 6);  // the three addresses that answer, and excludeForceAll
  for (const auto& request : requests) {
    EXPECT_THAT(request.head, MatchesRegex("GET /[a-z/.]+ HTTP/1\\.1\r\n"
                                           "Host: 127\\.0\\.0\\.1:" +
                                           server.port() +
                                           "\r\n"
                                           "Accept: \\*/\\*\r\n"
                                           "Accept-Encoding: [a-z, ]+\r\n"
                                           "Content-Type: application/json\r\n"
                                           "sdk-name: ios\r\n"
                                           "sdk-version: " CORVO_VERSION "\r\n"
                                           "token: t\r\n"
                                           "user-id: [a-zA-Z0-9]{80}\r\n"));
  }
}

TEST_F(Promises, OneLineSaysWhyTheProcessIsAborted) {
  std::string inverted = kConfig;
  inverted.replace(inverted.find("\"lower_bound\": 0"), 16, "\"lower_bound\": 101");
  LoopbackServer server([&](const std::string& head) { return reply(inverted, head); });
  EXPECT_EQ(run(server), 128 + SIGABRT);
  EXPECT_EQ(said("out"), "");
  EXPECT_THAT(said("err"), MatchesRegex("Corvo: [a-z][^\n]+\n"));
}

}  // namespace
}  // namespace corvo::tests
