// SPDX-License-Identifier: Apache-2.0

#include <corvo/json_value.h>
#include <corvo/property.h>
#include <gmock/gmock.h>
#include <httplib.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "tests/base/case_table.h"
#include "tests/tool/backend.h"
#include "tests/tool/json.h"
#include "tests/tool/served_folder.h"
#include "tests/tool/waiting.h"

namespace corvo::tool {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

constexpr const char* kFlag = "/ofrep/v1/evaluate/flags/a";
constexpr const char* kAll = "/ofrep/v1/evaluate/flags";
const std::string kUser = R"({"context": {"targetingKey": "ann"}})";

/// A project whose flags "a" and "b" have this value for everybody.
std::string withValue(const std::string& value) {
  const std::string rules = R"(", "type": "string", "rules": [{"is_default": true, "value": ")" +
                            value + R"(", "conditional_statement": "-", "conditions": []}]})";
  return R"({"feature_flags": [{"name": "a)" + rules + R"(, {"name": "b)" + rules + "]}";
}

/// The value of the flag "a", or "!" and the status.
std::string valueFrom(httplib::Client& http) {
  const httplib::Result result = http.Post(kFlag, kUser, "application/json");
  if (!result) return "!" + httplib::to_string(result.error());
  if (result->status != 200) return "!" + std::to_string(result->status);
  return text(json(result->body), "value");
}

/// The address of the event stream in a bulk answer.
std::string eventsIn(const std::string& bulk) {
  const JsonValue answer = json(bulk);
  return text(*list(answer, "eventStreams").at(0).find("endpoint"), "requestUri");
}

/// Asks until that is the value.
testing::AssertionResult comesTo(httplib::Client& http, const std::string& value) {
  std::string last;
  if (comes([&] { return (last = valueFrom(http)) == value; })) return testing::AssertionSuccess();
  return testing::AssertionFailure() << "it stays " << last;
}

class Service : public ServedFolder {
 protected:
  void SetUp() override {
    ServedFolder::SetUp();
    write("config.json", withValue("v1"));
  }
  /// As editors do that never leave a half-written file.
  void replace(const std::string& content) const {
    write("errors", content);
    std::filesystem::rename(folder_ + "errors", folder_ + "config.json");
  }
};

/// Reads an event stream until it is destroyed.
class Reader {
 public:
  Reader(const std::string& url, const std::string& path, const std::string& lastId = "")
      : http_(url), thread_([=, this] {
          httplib::Headers headers;
          if (!lastId.empty()) headers.emplace("Last-Event-ID", lastId);
          http_.set_read_timeout(20s);
          const auto result = http_.Get(path, headers, [this](const char* data, std::size_t size) {
            const std::lock_guard lock(mutex_);
            text_.append(data, size);
            return true;
          });
          isOver_ = true;
        }) {}
  ~Reader() { http_.stop(); }

  /// The id of the n-th event, from 1, which names the current version; empty if none comes.
  std::string idOf(std::size_t number) {
    std::string id;
    comes([&] {
      const std::lock_guard lock(mutex_);
      std::size_t at = 0;
      for (std::size_t n = 0; n < number && at != std::string::npos; ++n) {
        at = text_.find("event: message\nid: ", at + (n > 0 ? 1 : 0));
      }
      if (at == std::string::npos || text_.find("\n\n", at) == std::string::npos) return false;
      const std::size_t begin = text_.find("id: ", at) + 4;
      id = text_.substr(begin, text_.find('\n', begin) - begin);
      return true;
    });
    return id;
  }
  std::string text() {
    const std::lock_guard lock(mutex_);
    return text_;
  }
  /// Whether it is told of changes from now on.
  bool isOpen() {
    return comes([this] { return text().find("id: ") != std::string::npos; });
  }
  [[nodiscard]] bool isOver() const {
    return comes([this] { return isOver_.load(); });
  }

 private:
  std::mutex mutex_;
  std::string text_;
  std::atomic<bool> isOver_ = false;
  httplib::Client http_;
  std::jthread thread_;
};

TEST_F(Service, TellsListenersOfAnEdit) {
  Backend backend(arguments());
  httplib::Client http(backend.url());
  const auto bulk = http.Post(kAll, kUser, "application/json");
  ASSERT_TRUE(bulk);
  const std::string path = eventsIn(bulk->body);
  Reader reader(backend.url(), path);
  replace(withValue("v2"));
  const std::string second = reader.idOf(1);
  EXPECT_TRUE(second.starts_with("2-")) << reader.text();
  EXPECT_EQ(valueFrom(http), "v2") << "who is told finds the new answers";
  EXPECT_THAT(reader.text(), HasSubstr("\"etag\":\"" + second.substr(2) + "\""));
  replace(withValue("v3"));
  EXPECT_TRUE(reader.idOf(2).starts_with("3-"));
  Reader late(backend.url(), path);
  EXPECT_TRUE(late.idOf(1).starts_with("3-")) << "its answers are older";
  Reader again(backend.url(), path, second);
  EXPECT_TRUE(again.idOf(1).starts_with("3-"));
}

/// Asks for all flags until it is over. They must come from one edition, and no older one may
/// follow: a later one has longer values.
void askAll(const std::string& url, const std::atomic<bool>& isOver, std::atomic<int>& answers) {
  httplib::Client http(url);
  http.set_keep_alive(true);
  for (std::string last; !isOver; ++answers) {
    const auto result = http.Post(kAll, kUser, "application/json");
    ASSERT_TRUE(result) << httplib::to_string(result.error());
    ASSERT_EQ(result->status, 200) << result->body;
    const JsonValue answer = json(result->body);
    const JsonArray& flags = list(answer, "flags");
    ASSERT_EQ(flags.size(), 2U);
    const std::string value = text(flags[0], "value");
    EXPECT_EQ(text(flags[1], "value"), value);
    EXPECT_GE(value.size(), last.size()) << "an older edition came back";
    last = value;
  }
}

TEST_F(Service, AnswersFromOneEditionWhileItIsEditedUnderLoad) {
  constexpr int kEdits = 40;
  Backend backend(arguments() + " 2>/dev/null");
  std::atomic<bool> isOver = false;
  std::atomic<int> answers = 0;
  std::vector<std::jthread> users;
  for (int i = 0; i < 4; ++i) {
    users.emplace_back([&] { askAll(backend.url(), isOver, answers); });
  }
  std::string value = "v1";
  for (int i = 0; i < kEdits; ++i) {
    value += "1";
    if (i % 2 == 0) {
      replace(withValue(value));
    } else {
      write("config.json", withValue(value));  // for a moment the file is empty
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(i));
  }
  httplib::Client http(backend.url());
  EXPECT_TRUE(comesTo(http, value));
  isOver = true;
  users.clear();
  EXPECT_GT(answers, kEdits);
}

TEST_F(Service, EndsUnderLoadWithoutAWrongAnswer) {
  if (kLosesSignals) GTEST_SKIP() << "the thread sanitizer";
  Backend backend(arguments());
  std::atomic<int> answers = 0;
  std::vector<std::jthread> users;
  for (int i = 0; i < 4; ++i) {
    users.emplace_back([&] {
      httplib::Client http(backend.url());
      http.set_keep_alive(true);
      for (;; ++answers) {
        const std::string value = valueFrom(http);
        if (value == "v1") continue;
        EXPECT_THAT(value, testing::MatchesRegex("![A-Z].*")) << "no answer, not a wrong one";
        return;
      }
    });
  }
  Reader reader(backend.url(), "/ofrep/v1/events");
  EXPECT_TRUE(reader.isOpen());
  EXPECT_TRUE(comes([&] { return answers >= 100; }));
  EXPECT_EQ(backend.stop(SIGTERM), 0);
  users.clear();
  EXPECT_TRUE(reader.isOver());
}

TEST_F(Service, RelaysABackend) {
  std::optional<Backend> origin(arguments() + " --api-key k");
  Backend relay("--url " + origin->url() + " --token k --ttl 4 2>" + folder_ + "said");
  httplib::Client http(relay.url());
  ASSERT_TRUE(comesTo(http, "v1"));
  for (const char* path : {"/", "/config.json", "/geo"}) EXPECT_EQ(http.Get(path)->status, 404);
  EXPECT_EQ(http.Get("/healthz")->body, "ok\n");
  const auto end = std::chrono::steady_clock::now() + 4500ms;
  while (std::chrono::steady_clock::now() < end) {
    ASSERT_EQ(valueFrom(http), "v1") << "a new copy is there before the old one expires";
  }
  Reader reader(relay.url(), "/ofrep/v1/events");
  EXPECT_TRUE(reader.isOpen());
  replace(withValue("v2"));
  EXPECT_TRUE(reader.idOf(1).starts_with("2-"));
  EXPECT_EQ(valueFrom(http), "v2");
  origin.reset();
  EXPECT_TRUE(comesTo(http, "!503")) << "no expired copy answers";
  EXPECT_EQ(http.Get("/healthz")->status, 503);
  EXPECT_THAT(http.Get("/healthz")->body, Not("ok\n"));
  if (!kLosesSignals) {
    EXPECT_EQ(relay.stop(SIGTERM), 0);
  }
  const std::string said = tests::contentsOf(folder_ + "said");
  std::filesystem::remove(folder_ + "said");
  EXPECT_THAT(said, testing::StartsWith("http://127.0.0.1:"));
  EXPECT_THAT(said, HasSubstr("the last request failed: "));
}

TEST_F(Service, EndsWhileItsBackendHangs) {
  if (kLosesSignals) GTEST_SKIP() << "the thread sanitizer";
  Backend origin(arguments() + " --latency 60000");
  Backend relay("--url " + origin.url() + " --token t");
  httplib::Client http(relay.url());
  EXPECT_EQ(http.Get("/healthz")->status, 503);
  EXPECT_EQ(valueFrom(http), "!503");
  EXPECT_EQ(relay.stop(SIGTERM), 0);
}

TEST_F(Service, NeedsAKeyForAllButItsHealth) {
  setenv("CORVO_API_KEYS", "first,second", 1);
  Backend backend(arguments());
  unsetenv("CORVO_API_KEYS");
  httplib::Client http(backend.url());
  const char* const paths[] = {"/",  "/config.json",     "/geo", "/metrics",
                               kAll, "/ofrep/v1/events", "/none"};
  for (const char* path : paths) {
    EXPECT_EQ(http.Get(path)->status, 401) << path;
    EXPECT_EQ(http.Post(path, kUser, "application/json")->status, 401) << path;
  }
  EXPECT_EQ(http.Get("/healthz")->status, 200);
  http.set_default_headers({{"Authorization", "Bearer second"}, {"Host", "corvo.example"}});
  EXPECT_EQ(valueFrom(http), "v1");
  EXPECT_EQ(http.Get("/")->status, 200) << "the name of the host does not matter";
  const std::string bulk = http.Post(kAll, kUser, "application/json")->body;
  EXPECT_THAT(bulk, Not(HasSubstr("first"))) << "no key is in an address";
  Reader reader(backend.url(), eventsIn(bulk));
  replace(withValue("v2"));
  EXPECT_TRUE(reader.idOf(1).starts_with("2-")) << "a browser sends no key with this request";
}

TEST_F(Service, KeepsOtherSitesOutUnlessItIsInsecure) {
  const httplib::Headers forged{{"Host", "evil.example"}, {"token", "t"}, {"user-id", "u"}};
  const struct {
    const char* options;
    std::vector<std::pair<const char*, int>> statuses;
  } cases[] = {
      {"", {{"/", 403}, {"/config.json", 403}, {"/geo", 403}, {"/healthz", 200}}},
      {" --insecure --listen 0.0.0.0:0",
       {{"/", 404}, {"/config.json", 200}, {"/geo", 200}, {"/healthz", 200}}},
  };
  for (const auto& [options, statuses] : cases) {
    Backend backend(arguments() + options);
    httplib::Client http(backend.url());
    for (const auto& [path, status] : statuses) {
      EXPECT_EQ(http.Get(path, forged)->status, status) << path << options;
    }
  }
}

TEST_F(Service, SaysThatItIsFullButNotIll) {
  Backend backend(arguments() + " --allow-origin https://a.example --max-connections 2");
  Reader first(backend.url(), "/ofrep/v1/events");
  Reader second(backend.url(), "/ofrep/v1/events");
  for (Reader* each : {&first, &second}) each->idOf(0);
  httplib::Client http(backend.url());
  const auto refused =
      http.Post(kAll, {{"Origin", "https://a.example"}}, kUser, "application/json");
  ASSERT_TRUE(refused);
  EXPECT_EQ(refused->status, 429);
  EXPECT_EQ(refused->get_header_value("Retry-After"), "1");
  EXPECT_EQ(refused->get_header_value("Access-Control-Allow-Origin"), "https://a.example");
  const auto health = http.Get("/healthz");
  ASSERT_TRUE(health);
  EXPECT_EQ(health->status, 200);
}

TEST_F(Service, AnswersPagesOfAllowedOrigins) {
  Backend backend(arguments() + " --allow-origin https://a.example --api-key k");
  httplib::Client http(backend.url());
  http.set_default_headers({{"Origin", "https://a.example"}});
  const auto preflight = http.Options(kAll, {{"Access-Control-Request-Method", "POST"}});
  ASSERT_TRUE(preflight);
  EXPECT_EQ(preflight->status, 204);
  EXPECT_THAT(preflight->get_header_value("Access-Control-Allow-Headers"),
              HasSubstr("X-API-Key, token, user-id"));
  for (const auto& [key, status] : {std::pair("", 401), {"k", 200}}) {
    const auto result = http.Post(kAll, {{"X-API-Key", key}}, kUser, "application/json");
    EXPECT_EQ(result->status, status);
    EXPECT_EQ(result->get_header_value("Access-Control-Allow-Origin"), "https://a.example");
  }
}

TEST_F(Service, CountsWhatItAnswers) {
  Backend backend(arguments());
  httplib::Client http(backend.url());
  for (int i = 0; i < 3; ++i) ASSERT_EQ(valueFrom(http), "v1");
  http.Get("/nothing");
  Reader reader(backend.url(), "/ofrep/v1/events");
  EXPECT_TRUE(reader.isOpen());
  const auto metrics = http.Get("/metrics");
  EXPECT_THAT(metrics->get_header_value("Content-Type"), HasSubstr("version=0.0.4"));
  for (const char* line :
       {"corvo_requests_total{route=\"/ofrep/v1/evaluate/flags/*\",status=\"200\"} 3\n",
        "corvo_requests_total{route=\"other\",status=\"404\"} 1\n",
        "corvo_request_duration_seconds_count{route=\"/ofrep/v1/evaluate/flags/*\"} 3\n",
        "\ncorvo_event_listeners 1\n", "\ncorvo_refused_connections_total 0\n",
        "\ncorvo_configuration_age_seconds "}) {
    EXPECT_THAT(metrics->body, HasSubstr(line));
  }
}

TEST_F(Service, SaysWhyItCannotAnswer) {
  write("config.json", "[]");
  Backend backend(arguments() + " 2>/dev/null");
  httplib::Client http(backend.url());
  EXPECT_EQ(http.Get("/healthz")->status, 503);
  EXPECT_THAT(http.Get("/healthz")->body, HasSubstr("config.json:1:1: expected object"));
  EXPECT_EQ(valueFrom(http), "!503");
  replace(withValue("v2"));
  EXPECT_TRUE(comesTo(http, "v2"));
  EXPECT_EQ(http.Get("/healthz")->body, "ok\n");
}

TEST_F(Service, EvaluatesInItsSurroundings) {
  write("config.json", R"({"feature_flags": [{"name": "a", "type": "string", "rules": [
      {"is_default": false, "value": "sale", "conditional_statement": "AND", "conditions": [
        {"name": "appVersion", "condition_sign": "greater equal", "value": "2.0"},
        {"name": "date", "condition_sign": "after time", "value": "2024-05-01"},
        {"name": "date", "condition_sign": "before time", "value": "2024-05-08 18:00"}]},
      {"is_default": true, "value": "none", "conditional_statement": "-", "conditions": []}]}]})");
  const std::pair<const char*, const char*> cases[] = {
      {" --app-version 2.1 --now 2024-05-02", "sale"},
      {" --app-version 1.9 --now 2024-05-02", "none"},
      {" --app-version 2.1 --now 2024-05-08T16:30:00Z", "sale"},
      {" --app-version 2.1 --now 2024-05-08T16:30:00Z --zone Europe/Berlin", "none"},
  };
  for (const auto& [options, value] : cases) {
    Backend backend(arguments() + options);
    httplib::Client http(backend.url());
    EXPECT_EQ(valueFrom(http), value) << options;
  }
}

}  // namespace
}  // namespace corvo::tool
