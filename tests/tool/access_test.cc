// SPDX-License-Identifier: Apache-2.0

#include "tool/serve/access.h"

#include <gmock/gmock.h>

#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "tool/http/listen_address.h"
#include "tool/serve/cors.h"

namespace corvo::tool {
namespace {

using testing::Contains;
using testing::Key;
using testing::Not;
using testing::Pair;

HttpResponse ok(const HttpRequest&) { return {}; }

HttpRequest get(const std::string& path, const std::string& name = "",
                const std::string& value = "") {
  HttpRequest request{.method = "GET", .rawPath = path, .path = path};
  if (!name.empty()) request.headers.emplace(name, value);
  return request;
}

TEST(ApiKeys, AdmitThoseWhoHaveOne) {
  const HttpRoute route = ApiKeys({"secret", "other-key"}).around(ok);
  const struct {
    const char* path;
    const char* header;
    const char* value;
    int status;
  } cases[] = {
      {"/", "x-api-key", "secret", 200},
      {"/", "X-API-Key", "other-key", 200},
      {"/metrics", "Authorization", "Bearer secret", 200},
      {"/metrics", "authorization", "bEARER   secret", 200},
      {"/config.json", "token", "secret", 200},
      {"/healthz", "", "", 200},
      {"/", "", "", 401},
      {"/", "X-API-Key", "", 401},
      {"/", "X-API-Key", "secre", 401},
      {"/", "X-API-Key", "secrets", 401},
      {"/", "X-API-Key", "secretsecret", 401},
      {"/", "X-API-Key", "secreT", 401},
      {"/", "X-API-Key", "secret,other-key", 401},
      {"/", "Authorization", "secret", 401},
      {"/", "Authorization", "Basic secret", 401},
      {"/", "Authorization", "Bearer", 401},
      {"/", "Authorization", "Bearer ", 401},
      {"/", "Cookie", "secret", 401},
      {"/healthz/", "", "", 401},
      {"/ofrep/v1/events", "", "", 401},
  };
  for (const auto& [path, header, value, status] : cases) {
    const HttpResponse response = route(get(path, header, value));
    EXPECT_EQ(response.status, status) << path << " " << header << ": " << value;
    if (status != 401) continue;
    EXPECT_THAT(response.headers, Contains(Pair("WWW-Authenticate", "Bearer")));
  }
}

TEST(ApiKeys, AreVisibleTexts) {
  for (const char* key : {"", " ", "a b", "a\n", "\x80", "a\x7F"}) {
    EXPECT_THROW(ApiKeys({"good", key}), std::invalid_argument) << key;
  }
}

// The digests are those of `printf 'corvo: this opens the event stream' | openssl md5 -hmac KEY`.
TEST(ApiKeys, GiveBrowsersATicketForTheEventStreamOnly) {
  constexpr const char* kShort = "7bf5b837028045ee48cd7ff96ebef92f";
  constexpr const char* kLong = "0bd8c04c0d107853eb4166927a908ef9";
  const ApiKeys keys({"secret", std::string(70, 'k')});
  EXPECT_EQ(ApiKeys({}).addressOfEvents(), "/ofrep/v1/events");
  EXPECT_EQ(keys.addressOfEvents(), "/ofrep/v1/events?ticket=" + std::string(kShort));
  const HttpRoute route = keys.around(ok);
  const struct {
    const char* path;
    const char* ticket;
    int status;
  } cases[] = {
      {"/ofrep/v1/events", kShort, 200},
      {"/ofrep/v1/events", kLong, 200},
      {"/ofrep/v1/events", "secret", 401},
      {"/ofrep/v1/events", "", 401},
      {"/", kShort, 401},
      {"/ofrep/v1/evaluate/flags", kShort, 401},
  };
  for (const auto& [address, ticket, status] : cases) {
    HttpRequest request = get(address);
    request.query.emplace("ticket", ticket);
    EXPECT_EQ(route(request).status, status) << address << " " << ticket;
  }
}

TEST(LocalNames, KeepOtherSitesOut) {
  const HttpRoute route = onlyForLocalNames({"https://shop.example"}, ok);
  const struct {
    const char* host;
    int documents;
    int questions;         // without an origin, and
    int foreignQuestions;  // with one
  } cases[] = {
      {"localhost", 200, 200, 200},     {"localhost:8080", 200, 200, 200},
      {"127.0.0.1:1", 200, 200, 200},   {"10.0.2.2:1", 200, 200, 200},
      {"[::1]:8080", 200, 200, 200},    {"", 200, 200, 200},
      {"evil.example", 403, 200, 403},  {"evil.example:80", 403, 200, 403},
      {"evil.example.", 403, 200, 403}, {"localhost.evil.example", 403, 200, 403},
      {"[::1", 403, 200, 403},          {"127.0.0.1.evil.example", 403, 200, 403},
      {"upstream", 403, 200, 403},
  };
  for (const auto& [host, documents, questions, foreignQuestions] : cases) {
    for (const char* path : {"/", "/config.json", "/geo", "/elsewhere"}) {
      EXPECT_EQ(route(get(path, "Host", host)).status, documents) << host << path;
    }
    for (const char* path : {"/ofrep/v1/evaluate/flags", "/metrics", "/healthz"}) {
      HttpRequest request = get(path, "Host", host);
      EXPECT_EQ(route(request).status, questions) << host << path;
      const auto origin = request.headers.emplace("Origin", "https://shop.example");
      EXPECT_EQ(route(request).status, questions) << host << path;
      origin->second = "http://evil.example:80";
      EXPECT_EQ(route(request).status, foreignQuestions) << host << path;
    }
  }
}

HttpRequest from(const std::string& origin, const std::string& method, const std::string& asks) {
  HttpRequest request = get("/x", "Origin", origin);
  request.method = method;
  if (!asks.empty()) request.headers.emplace("Access-Control-Request-Method", asks);
  return request;
}

TEST(Origins, AreAnsweredAsBrowsersNeed) {
  const HttpRoute refusing = [](const HttpRequest&) { return HttpResponse{.status = 401}; };
  const HttpRoute some = withOrigins({"https://a.example", "http://localhost:3000"}, refusing);
  const HttpRoute all = withOrigins({"*"}, refusing);
  const HttpRoute none = withOrigins({}, refusing);
  const struct {
    const HttpRoute& route;
    HttpRequest request;
    int status;
    std::string allowed;  // "" for no header
  } cases[] = {
      {some, from("https://a.example", "POST", ""), 401, "https://a.example"},
      {some, from("http://localhost:3000", "POST", ""), 401, "http://localhost:3000"},
      {some, from("https://a.example", "OPTIONS", "POST"), 204, "https://a.example"},
      {some, from("https://b.example", "OPTIONS", "POST"), 204, ""},
      {some, from("https://b.example", "POST", ""), 401, ""},
      {some, from("https://a.example.b.example", "POST", ""), 401, ""},
      {some, from("", "POST", ""), 401, ""},
      {some, from("https://a.example", "OPTIONS", ""), 401, "https://a.example"},
      {all, from("https://b.example", "OPTIONS", "POST"), 204, "*"},
      {all, from("null", "GET", ""), 401, "*"},
      {none, from("https://a.example", "OPTIONS", "POST"), 401, ""},
  };
  for (const auto& [route, request, status, allowed] : cases) {
    SCOPED_TRACE(request.method + " from " + std::string(request.header("Origin")));
    const HttpResponse response = route(request);
    EXPECT_EQ(response.status, status);
    if (allowed.empty()) {
      EXPECT_THAT(response.headers, Not(Contains(Key("Access-Control-Allow-Origin"))));
    } else {
      EXPECT_THAT(response.headers, Contains(Pair("Access-Control-Allow-Origin", allowed)));
      EXPECT_THAT(response.headers,
                  Contains(Pair("Access-Control-Expose-Headers", "ETag, Retry-After")));
    }
    const bool varies = &route == &some;  // a cache must keep the answers apart
    EXPECT_EQ(testing::Value(response.headers, Contains(Pair("Vary", "Origin"))), varies);
  }
}

TEST(Origins, AreWrittenAsBrowsersSendThem) {
  const std::pair<const char*, bool> cases[] = {
      {"*", true},
      {"https://shop.example", true},
      {"http://localhost:3000", true},
      {"http://[::1]:3000", true},
      {"capacitor://localhost", true},
      {"https://shop.example/", false},
      {"https://Shop.example", false},
      {"https://*.shop.example", false},
      {"shop.example", false},
      {"https://", false},
      {"null", false},
      {"https://a.example,https://b.example", false},
      {"", false},
  };
  for (const auto& [text, isValid] : cases) {
    EXPECT_EQ(complainAboutOrigin(text).empty(), isValid) << text;
  }
}

TEST(ListenAddress, SaysWhoCanConnect) {
  const struct {
    const char* text;
    const char* url;  // null: refused
    bool isLoopback;
  } cases[] = {
      {"127.0.0.1:8080", "http://127.0.0.1:8080", true},
      {"127.9.9.9:1", "http://127.9.9.9:1", true},
      {"localhost:0", "http://127.0.0.1:0", true},
      {"[::1]:8080", "http://[::1]:8080", true},
      {"0.0.0.0:80", "http://0.0.0.0:80", false},
      {"[::]:80", "http://[::]:80", false},
      {"10.0.0.1:65535", "http://10.0.0.1:65535", false},
      {"[::ffff:10.0.0.1]:80", "http://[::ffff:10.0.0.1]:80", false},
      {":8080", nullptr, false},
      {"8080", nullptr, false},
      {"::1:8080", nullptr, false},
      {"[127.0.0.1]:80", nullptr, false},
      {"127.0.0.1:", nullptr, false},
      {"127.0.0.1:65536", nullptr, false},
      {"127.0.0.1:-1", nullptr, false},
      {"127.0.0.1:80x", nullptr, false},
      {"127.1:80", nullptr, false},
      {"shop.example:80", nullptr, false},
      {"", nullptr, false},
  };
  for (const auto& [text, url, isLoopback] : cases) {
    if (url == nullptr) {
      EXPECT_THROW(static_cast<void>(ListenAddress::parse(text)), std::invalid_argument) << text;
      continue;
    }
    const ListenAddress address = ListenAddress::parse(text);
    EXPECT_EQ(address.urlWith(address.port), url);
    EXPECT_EQ(address.isLoopback(), isLoopback) << text;
  }
}

}  // namespace
}  // namespace corvo::tool
