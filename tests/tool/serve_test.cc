// SPDX-License-Identifier: Apache-2.0

#include <gmock/gmock.h>
#include <httplib.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <fstream>

#include "tests/base/case_table.h"
#include "tests/tool/backend.h"

namespace corvo::tool {
namespace {

using testing::HasSubstr;

const httplib::Headers kHeaders{{"token", "t"}, {"user-id", "u"}};

class Serve : public testing::Test {
 protected:
  void write(const std::string& name, const std::string& content) const {
    std::ofstream(folder_ + name) << content;
  }
  std::string arguments() const {
    return "--config " + folder_ + "config.json --geo " + folder_ + "geo.json";
  }
  void SetUp() override {
    write("config.json", "{}");
    write("geo.json", R"({"city": "Porto"})");
  }
  void TearDown() override {
    for (const char* name : {"config.json", "geo.json", "errors"})
      std::remove((folder_ + name).c_str());
  }

  std::string folder_ = testing::TempDir() + "corvo_serve_" + std::to_string(getpid()) + "_";
};

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

TEST_F(Serve, ExitsWithoutErrorOnASignal) {
  for (const int signal : {SIGINT, SIGTERM}) EXPECT_EQ(Backend(arguments()).stop(signal), 0);
}

TEST_F(Serve, RefusesATakenPort) {
  Backend backend(arguments());
  const std::string port = backend.url().substr(backend.url().rfind(':') + 1);
  const Ran taken = runCorvo("serve " + arguments() + " --port " + port);
  EXPECT_EQ(taken.status, 1);
  EXPECT_EQ(taken.err, "cannot listen on 127.0.0.1:" + port + "\n");
}

}  // namespace
}  // namespace corvo::tool
