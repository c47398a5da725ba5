// SPDX-License-Identifier: Apache-2.0

#include <corvo/host.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "tests/host/loopback_server.h"

namespace corvo {
namespace {

using tests::answer;
using tests::LoopbackServer;
using tests::RawReply;

class TransferQueueTest : public testing::Test {
 protected:
  void ask(const std::string& url, double timeoutSeconds = 30) {
    host_.platform.urlSession->start({"GET", url, {}, timeoutSeconds}, [this](UrlResponse came) {
      responses_.push_back(std::move(came));
    });
  }
  bool runUntilCame(std::size_t count) {
    return host_.loop->runUntil([&] { return responses_.size() >= count; });
  }
  std::ptrdiff_t failures() const {
    return std::count_if(responses_.begin(), responses_.end(),
                         [](auto& each) { return !!each.failure; });
  }

  Host host_ = makeHost({.inMemory = true});
  std::vector<UrlResponse> responses_;
};

TEST_F(TransferQueueTest, ThreeHundredQuestionsMakeThreeHundredRequestsOnSixConnections) {
  LoopbackServer server;
  server.say(answer(200, "{}"));
  for (int i = 0; i < 300; ++i) ask(server.url("/"));
  EXPECT_TRUE(runUntilCame(300));
  EXPECT_EQ(failures(), 0);
  EXPECT_EQ(server.requests().size(), 300U);
  EXPECT_LE(server.connections(), 6);
  EXPECT_FALSE(host_.loop->busy());
}

TEST_F(TransferQueueTest, SixOfEachOriginGoFirst) {
  const LoopbackServer silent;
  LoopbackServer other;
  other.say(answer(200, "{}"));
  for (const char* path : {"/1", "/2", "/3", "/4", "/5", "/6", "/7"}) ask(silent.url(path));
  ask(other.url("/"));
  EXPECT_TRUE(runUntilCame(1)) << "one origin does not wait for another";
  EXPECT_TRUE(host_.loop->runUntil([&] { return silent.requests().size() >= 6; }));
  for (int i = 0; i < 3; ++i) host_.loop->tick();
  EXPECT_EQ(silent.connections(), 6);
  for (const auto& request : silent.requests()) EXPECT_NE(request.head.substr(5, 1), "7");

  EXPECT_TRUE(host_.loop->busy());
  host_.platform.urlSession.reset();
  EXPECT_FALSE(runUntilCame(2)) << "waiting requests are dropped, too";
  EXPECT_FALSE(host_.loop->busy());
  host_ = makeHost({.inMemory = true});
  ask(silent.url("/8"));
  EXPECT_TRUE(host_.loop->runUntil([&] { return silent.requests().size() >= 7; }));
  EXPECT_EQ(silent.connections(), 7) << "and never begins";
}

TEST_F(TransferQueueTest, TimeoutAndLimitBeginWithTheTransfer) {
  host_ = makeHost({.inMemory = true, .transferSeconds = 0.75});
  const LoopbackServer silent;
  const auto start = std::chrono::steady_clock::now();
  for (int i = 0; i < 12; ++i) ask(silent.url("/"), 0.4);
  EXPECT_TRUE(runUntilCame(12));
  EXPECT_EQ(failures(), 12);
  EXPECT_EQ(silent.requests().size(), 12U);
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(600));
}

TEST_F(TransferQueueTest, NoTransferAndNoWaitIsLongerThanTheLimit) {
  constexpr double kForever = 1e5;
  host_ = makeHost({.inMemory = true, .timeoutSeconds = kForever, .transferSeconds = 0.3});
  LoopbackServer server;
  RawReply drip{std::deque<std::string>(10'000, "X: y\r\n")};
  drip.pieces.push_front("HTTP/1.1 200 OK\r\n");
  for (const auto& [reply, count] : {std::pair(RawReply{}, 6), std::pair(drip, 13)}) {
    const std::size_t before = server.requests().size();
    responses_.clear();
    server.say(reply);
    for (int i = 0; i < count; ++i) ask(server.url("/"), kForever);
    EXPECT_TRUE(runUntilCame(static_cast<std::size_t>(count)));
    EXPECT_EQ(failures(), count);
    EXPECT_EQ(server.requests().size(), before + 6);
  }
  RawReply slowRedirect{std::deque<std::string>(10, "X: y\r\n")};
  slowRedirect.pieces.push_front("HTTP/1.1 302 Found\r\nLocation: /\r\nContent-Length: 0\r\n");
  slowRedirect.pieces.push_back("\r\n");
  server.say(slowRedirect);
  ask(server.url("/"), kForever);
  EXPECT_TRUE(runUntilCame(14));
  EXPECT_EQ(failures(), 14) << "the limit is for all redirects together";
  server.say(answer(200, "{}"));
  ask(server.url("/"));
  EXPECT_TRUE(runUntilCame(15)) << "the others have freed their slots";
  EXPECT_EQ(responses_.back().status, 200);
}

TEST_F(TransferQueueTest, ARedirectGoesAheadOfWhatCameLater) {
  const LoopbackServer server([](const std::string& head) {
    if (head.find(" /first ") < head.size()) return answer(302, "", "Location: /second\r\n");
    return head.find(" /second ") < head.size() ? answer(200, "{}") : RawReply{};
  });
  ask(server.url("/first"));
  for (int i = 0; i < 12; ++i) ask(server.url("/silent"));
  EXPECT_TRUE(runUntilCame(1));
  EXPECT_EQ(responses_[0].status, 200);
}

TEST_F(TransferQueueTest, ARedirectToAnotherPortWaitsForASlotThere) {
  const LoopbackServer silent;
  LoopbackServer server;
  server.say(answer(302, "", "Location: https://127.0.0.1:" + silent.port() + "/\r\n"));
  for (int i = 0; i < 8; ++i) ask(server.url("/"));
  EXPECT_TRUE(host_.loop->runUntil([&] {
    return server.requests().size() == 8 && silent.connections() >= 6;
  })) << "they have freed their slots at the first port";
  for (int i = 0; i < 3; ++i) host_.loop->tick();
  EXPECT_EQ(silent.connections(), 6);
}

TEST_F(TransferQueueTest, ARedirectToAnotherPortHasItsFullTimeoutThere) {
  const LoopbackServer silent;
  LoopbackServer server;
  server.say(answer(302, "", "Location: https://127.0.0.1:" + silent.port() + "/\r\n"));
  const auto start = std::chrono::steady_clock::now();
  for (int i = 0; i < 6; ++i) ask("https:/127.0.0.1:" + silent.port() + "/", 2.5);
  ask(server.url("/"), 2);  // waits for a slot for longer than its timeout
  EXPECT_TRUE(runUntilCame(7));
  EXPECT_EQ(failures(), 7);
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(3500))
      << "otherwise it would end with the six, after two and a half seconds";
}

}  // namespace
}  // namespace corvo
