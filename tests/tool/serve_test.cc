// SPDX-License-Identifier: Apache-2.0

#include <gmock/gmock.h>
#include <httplib.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "tests/base/case_table.h"
#include "tests/tool/backend.h"
#include "tests/tool/served_folder.h"
#include "tests/tool/wire.h"

namespace corvo::tool {
namespace {

using testing::HasSubstr;

const httplib::Headers kHeaders{{"token", "t"}, {"user-id", "u"}};

using Serve = ServedFolder;

TEST_F(Serve, AnswersBothRoutesIfTokenAndUserAreGiven) {
  Backend backend(arguments());
  httplib::Client http(backend.url());
  const struct {
    const char* path;
    httplib::Headers headers;
    int status;
    const char* body;
  } cases[] = {
      {"/config.json", kHeaders, 200, "{}"},
      {"/geo", kHeaders, 200, R"({"city": "Porto"})"},
      {"/elsewhere", kHeaders, 404, ""},
      {"/config.json", {}, 400, "token"},
      {"/config.json", {{"token", "t"}}, 400, "user-id"},
      {"/geo", {{"user-id", "u"}}, 400, "token"},
      {"/geo", {{"token", "t"}, {"user-id", ""}}, 400, "user-id"},
  };
  for (const auto& [path, headers, status, body] : cases) {
    const httplib::Result result = http.Get(path, headers);
    ASSERT_TRUE(result) << path;
    EXPECT_EQ(result->status, status) << path;
    EXPECT_THAT(result->body, HasSubstr(body)) << path;
  }
}

TEST_F(Serve, ShowsAnEditedFileAtTheNextRequest) {
  Backend backend(arguments());
  httplib::Client http(backend.url());
  ASSERT_EQ(http.Get("/geo", kHeaders)->body, R"({"city": "Porto"})");
  write("geo.json", R"({"city": "Faro"})");
  EXPECT_EQ(http.Get("/geo", kHeaders)->body, R"({"city": "Faro"})");
  std::remove((folder_ + "geo.json").c_str());
  EXPECT_EQ(http.Get("/geo", kHeaders)->status, 404);
}

TEST_F(Serve, SendsAFileAsItIs) {
  const std::string large = "{\"x\": \"" + std::string(700'000, 'x') + "\"}";
  for (const std::string& body : {large, std::string()}) {
    write("geo.json", body);
    Backend backend(arguments() + " 2>/dev/null");
    httplib::Client http(backend.url());
    http.set_decompress(false);
    httplib::Headers headers = kHeaders;
    headers.emplace("Accept-Encoding", "gzip, deflate, br");
    const httplib::Result result = http.Get("/geo", headers);
    ASSERT_TRUE(result);
    EXPECT_FALSE(result->has_header("Content-Encoding"));
    EXPECT_EQ(result->get_header_value("Content-Length"), std::to_string(body.size()));
    EXPECT_TRUE(result->body == body);
  }
}

TEST_F(Serve, SaysWhereADocumentIsBroken) {
  const auto edits = tests::caseTable<3>(CORVO_TOOL_CASES "edits.txt");
  const std::string errors = folder_ + "errors";
  write("config.json", "[]");
  write("geo.json", edits[0][1]);
  Backend backend(arguments() + " 2>" + errors);
  std::string said = folder_ + "config.json:1:1: expected object, found array\n" + folder_ +
                     "geo.json:2:24: expected a name in quotes\n";
  EXPECT_EQ(tests::contentsOf(errors), said);
  httplib::Client http(backend.url());
  for (const auto& [file, content, says] : edits) {
    write(file, content);
    const std::string path = file == "geo.json" ? "/geo" : "/config.json";
    for (int i = 0; i < 2; ++i) EXPECT_EQ(http.Get(path, kHeaders)->body, content);
    if (!says.empty()) said += folder_ + file + ":" + says + "\n";
    EXPECT_EQ(tests::contentsOf(errors), said) << content;
  }
}

TEST_F(Serve, IgnoresRanges) {
  Backend backend(arguments());
  httplib::Client http(backend.url());
  for (const char* range : {"bytes=0-999", "bytes=0-0,2-3", "bytes=-7"}) {
    httplib::Headers headers = kHeaders;
    headers.emplace("Range", range);
    const httplib::Result result = http.Get("/config.json", headers);
    ASSERT_TRUE(result) << range;
    EXPECT_EQ(result->status, 200) << range;
    EXPECT_EQ(result->body, "{}") << range;
  }
}

TEST_F(Serve, FailsAsToldOnItsTwoRoutesOnly) {
  const struct {
    const char* options;
    int status;
    const char* body;
  } cases[] = {
      {"--fail 1", 503, "injected failure\n"},
      {"--status 429", 429, "injected failure\n"},
      {"--fail 1 --status 500", 500, "injected failure\n"},
      {"--status 304", 304, ""},
      {"--fail 0 --status 500", 200, "{}"},
      {"--seed 7", 200, "{}"},
  };
  for (const auto& [options, status, body] : cases) {
    Backend backend(arguments() + " " + options);
    httplib::Client http(backend.url());
    const httplib::Result config = http.Get("/config.json", kHeaders);
    ASSERT_TRUE(config) << options;
    EXPECT_EQ(config->status, status) << options;
    EXPECT_EQ(config->body, body) << options;
    EXPECT_EQ(http.Get("/geo", kHeaders)->status, status) << options;
    EXPECT_EQ(http.Get("/elsewhere", kHeaders)->status, 404) << options;
    EXPECT_EQ(http.Get("/", kHeaders)->status, 200) << options;
  }
}

std::string outcomes(const std::string& arguments) {
  Backend backend(arguments);
  httplib::Client http(backend.url());
  http.set_keep_alive(true);
  std::string all;
  for (int i = 0; i < 400; ++i) all += http.Get("/geo", kHeaders)->status == 200 ? '.' : 'F';
  return all;
}

TEST_F(Serve, PicksFailuresBySeed) {
  const std::string some = outcomes(arguments() + " --fail 0.25 --seed 1");
  EXPECT_EQ(outcomes(arguments() + " --fail 0.25 --seed 1"), some);
  EXPECT_NE(outcomes(arguments() + " --fail 0.25 --seed 2"), some);
  EXPECT_NEAR(static_cast<double>(std::ranges::count(some, 'F')), 100, 40);
}

TEST_F(Serve, WaitsAndDrips) {
  using Clock = std::chrono::steady_clock;
  write("geo.json", "\"" + std::string(298, 'x') + "\"");
  Backend backend(arguments() + " --latency 200 --drip 1000 2>/dev/null");
  httplib::Client http(backend.url());
  const Clock::time_point start = Clock::now();
  std::vector<Clock::duration> arrivals;
  std::size_t size = 0;
  http.Get("/geo", kHeaders, [&](const char*, std::size_t length) {
    arrivals.push_back(Clock::now() - start);
    size += length;
    return true;
  });
  EXPECT_EQ(size, 300U);
  ASSERT_GT(arrivals.size(), 1U);
  EXPECT_GE(arrivals.front(), std::chrono::milliseconds(200));
  EXPECT_GE(arrivals.back(), std::chrono::milliseconds(500));
}

TEST_F(Serve, AnswersAndEndsWhileOtherAnswersDrip) {
  if (kLosesSignals) GTEST_SKIP() << "the thread sanitizer";
  write("config.json", "\"" + std::string(10'000, 'x') + "\"");
  Backend backend(arguments() + " --drip 50 2>/dev/null");
  std::vector<std::jthread> slow;  // each would take minutes
  std::atomic<int> begun = 0;
  for (int i = 0; i < 40; ++i) {
    slow.emplace_back([&] {
      httplib::Client(backend.url())
          .Get("/config.json", kHeaders, [&, isFirst = true](const char*, std::size_t) mutable {
            if (std::exchange(isFirst, false)) ++begun;
            return true;
          });
    });
  }
  while (begun < 40) std::this_thread::yield();
  EXPECT_EQ(httplib::Client(backend.url()).Get("/geo", kHeaders)->status, 200);
  EXPECT_EQ(backend.stop(SIGINT), 0);
}

TEST_F(Serve, EscapesControlCharactersInItsLog) {
  Backend backend(arguments() + " --log");
  httplib::Client(backend.url()).Get("/%1B%5B31m", kHeaders);
  EXPECT_EQ(backend.nextLine(), "GET /\\u001b[31m 404");
}

TEST_F(Serve, ExitsWithoutErrorOnASignal) {
  if (kLosesSignals) GTEST_SKIP() << "the thread sanitizer";
  for (const int signal : {SIGINT, SIGTERM}) EXPECT_EQ(Backend(arguments()).stop(signal), 0);
}

TEST_F(Serve, AnswersWhatHasBegunUnlessASecondSignalComes) {
  if (kLosesSignals) GTEST_SKIP() << "the thread sanitizer";
  for (const int second : {0, SIGTERM, SIGINT}) {
    Backend backend(arguments());
    Wire begun(backend.port());
    begun.send("GET /config.json HTTP/1.1\r\n");
    Wire other(backend.port());  // once it is answered, the server has the first one's bytes, too
    other.send("GET /elsewhere HTTP/1.1\r\nHost: a\r\n\r\n");
    other.receive("\r\n\r\n");
    backend.signal(SIGTERM);
    other.receive();  // until the server closes what is idle
    if (second == 0) {
      begun.send("Host: a\r\ntoken: t\r\nuser-id: u\r\n\r\n");
      EXPECT_THAT(begun.receive("{}"), HasSubstr("Connection: close"));
    }
    EXPECT_EQ(backend.stop(second), second == 0 ? 0 : 128 + second);
  }
}

TEST_F(Serve, RefusesATakenPort) {
  Backend backend(arguments());
  const std::string port = std::to_string(backend.port());
  const Ran taken = runCorvo("serve " + arguments() + " --port " + port);
  EXPECT_EQ(taken.status, 1);
  EXPECT_EQ(taken.err, "cannot listen on 127.0.0.1:" + port + ": Address already in use\n");
}

}  // namespace
}  // namespace corvo::tool
