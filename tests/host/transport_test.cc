// SPDX-License-Identifier: Apache-2.0

#include <corvo/host.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <utility>

#include "host/url_rules.h"
#include "tests/base/case_table.h"
#include "tests/base/environment.h"
#include "tests/host/loopback_server.h"

namespace corvo {

using namespace corvo_internal;

namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;
using tests::answer;
using tests::LoopbackServer;
using tests::RawReply;

constexpr std::size_t kMaxBody = 1000;
constexpr std::size_t kMiB = std::size_t{1} << 20;

template <std::size_t Size>
std::string bytes(const char (&text)[Size]) {
  return {text, Size - 1};
}

const std::string kHelloGzip = bytes(
    "\x1f\x8b\x08\x00\x00\x00\x00\x00\x02\xff\xcb\x48\xcd\xc9\xc9\x07\x00\x86\xa6\x10\x36\x05\x00"
    "\x00\x00");
const std::string kGzip = "Content-Encoding: gzip\r\n";

auto hasLine(const std::string& line) { return HasSubstr("\r\n" + line + "\r\n"); }

class TransportTest : public testing::Test {
 protected:
  UrlResponse ask(UrlRequest request, double timeoutSeconds = 30) {
    request.timeoutSeconds = timeoutSeconds;
    std::optional<UrlResponse> response;
    host_.platform.urlSession->start(std::move(request),
                                     [&](UrlResponse came) { response = std::move(came); });
    EXPECT_TRUE(host_.loop->runUntil([&] { return response.has_value(); }));
    return response.value_or(UrlResponse{{}, {}, "never answered"});
  }
  UrlResponse get(const std::string& url, double timeoutSeconds = 30) {
    return ask({"GET", url, {}}, timeoutSeconds);
  }

  Host host_ = makeHost({.inMemory = true, .maxBodyBytes = kMaxBody});
};

TEST_F(TransportTest, AnAnswerIsItsStatusAndDecodedBodyOrAFailure) {
  LoopbackServer server;
  for (const auto& [what, head, body, then, status, expected] :
       tests::caseTable<6>(CORVO_HOST_CASES "replies.txt")) {
#ifdef _WIN32
    if (what == "reset halfway") continue;  // Wine reports it as an orderly end
#endif
    SCOPED_TRACE(what);
    server.say(tests::rawReply(head, body, then));
    const UrlResponse response = get(server.url("/config.json"));
    EXPECT_EQ(response.failure.has_value(), status == "-");
    EXPECT_EQ(response.status ? std::to_string(*response.status) : "-", status);
    EXPECT_EQ(response.body, tests::unfolded(expected));
  }
}

TEST_F(TransportTest, AcceptsSixteenMebibytesByDefault) {
  host_ = makeHost({.inMemory = true});
  LoopbackServer server;
  for (const std::size_t more : {0U, 1U}) {
    server.say(answer(200, std::string(16 * kMiB + more, 'a')));
    EXPECT_EQ(get(server.url("/")).failure.has_value(), more == 1);
  }
}

TEST_F(TransportTest, SendsOnlyTheGivenRequest) {
  LoopbackServer server;
  server.say(answer(200, "{}"));
  const UrlRequest get{"GET",
                       server.url("/a/config.json?q=1"),
                       {{"token", "t\xC3\xBC"}, {"none", ""}, {"blank", "  "}, {"x", " y "}}};
  EXPECT_EQ(ask(get).status, 200);
  EXPECT_EQ(ask({"POST", server.url("/p"), {}}).status, 200);
  EXPECT_EQ(ask({"POST", server.url("/p"), {{"Content-Type", "application/json"}}}).status, 200);

  const auto requests = server.requests();
  ASSERT_EQ(requests.size(), 3U);
  EXPECT_THAT(requests[0].head,
              AllOf(StartsWith("GET /a/config.json?q=1 HTTP/1.1\r\n"),
                    hasLine("Host: 127.0.0.1:" + server.port()), hasLine("token: t\xC3\xBC"),
                    hasLine("none:"), hasLine("blank:"), hasLine("x:  y "), HasSubstr("gzip"),
                    Not(HasSubstr("Content-"))));
  EXPECT_THAT(requests[1].head,
              AllOf(StartsWith("POST /p HTTP/1.1\r\n"), hasLine("Content-Length: 0"),
                    Not(HasSubstr("Content-Type"))));
  EXPECT_THAT(requests[2].head, hasLine("Content-Type: application/json"));
  EXPECT_EQ(requests[2].connection, 1) << "the connection was not kept";
}

TEST_F(TransportTest, RefusesWhatMustNotBeSent) {
  LoopbackServer server;
  server.say(answer(200, "{}"));
  const std::string authority = "127.0.0.1:" + server.port();
  for (auto [method, url, name, value] : tests::caseTable<4>(CORVO_HOST_CASES "refused.txt")) {
    if (const auto at = url.find('@'); at < url.size()) url.replace(at, 1, authority);
    UrlRequest request{method, url, {}};
    if (!name.empty() || !value.empty()) request.headers = {{name, value}};
    EXPECT_TRUE(ask(request).failure.has_value()) << method << ' ' << url << ' ' << name;
  }
  EXPECT_TRUE(server.requests().empty());
}

TEST_F(TransportTest, FollowsRedirectsWithinTheOrigin) {
  LoopbackServer server([](const std::string& head) {
    if (head.find(" /long") != std::string::npos) {
      return answer(302, "", "Location: /long\r\nX: " + std::string(kMiB / 11, 'x') + "\r\n");
    }
    if (head.find(" /303") != std::string::npos) {
      return answer(303, kHelloGzip, kGzip + "Location: end\r\n");
    }
    if (head.find(" /307") != std::string::npos) return answer(307, "old", "Location: end\r\n");
    return answer(200, kHelloGzip, kGzip);
  });
  for (const char* const path : {"/303", "/307"}) {
    const UrlResponse response = ask({"POST", server.url(path), {{"token", "t"}}});
    EXPECT_EQ(response.status, 200);
    EXPECT_EQ(response.body, "hello");
  }
  const auto requests = server.requests();
  ASSERT_EQ(requests.size(), 4U);
  EXPECT_THAT(requests[1].head, AllOf(StartsWith("GET /end "), hasLine("token: t")));
  EXPECT_THAT(requests[3].head, StartsWith("POST /end "));
  EXPECT_TRUE(get(server.url("/long")).failure.has_value()) << "more than 1 MiB of headers in all";
}

TEST(RedirectTest, StaysWithTheHostAndNeverLeavesHttps) {
  for (const auto& [follows, from, to] : tests::caseTable<3>(CORVO_HOST_CASES "redirects.txt")) {
    EXPECT_EQ(host::mayFollow(from, to), follows == "yes") << from << " to " << to;
  }
}

TEST_F(TransportTest, GivesUpWithoutProgressOnly) {
  LoopbackServer server;
  const std::string head = "HTTP/1.1 200 OK\r\nContent-Length: 25\r\n\r\n";
  for (const auto& stuck : {RawReply{}, RawReply{{head}}, RawReply{{head, "a", "b"}}}) {
    server.say(stuck);
    EXPECT_TRUE(get(server.url("/"), 0.05).failure.has_value());
  }
  RawReply moving{std::deque<std::string>(25, "a")};  // one every 10 ms: exceeds the timeout
  moving.pieces.push_front(head);
  server.say(std::move(moving));
  EXPECT_EQ(get(server.url("/"), 0.2).body, std::string(25, 'a'));
}

TEST_F(TransportTest, UsesTheProxyOfTheEnvironment) {
  LoopbackServer proxy;
  proxy.say(answer(200, "by proxy"));
  tests::setVariable("http_proxy", proxy.url(""));
  EXPECT_EQ(get("http:/flags.example/config.json").body, "by proxy");
  tests::setVariable("http_proxy", std::nullopt);
  EXPECT_THAT(proxy.requests().at(0).head, StartsWith("GET http://flags.example/config.json "));
}

}  // namespace
}  // namespace corvo
