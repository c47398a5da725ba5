// SPDX-License-Identifier: Apache-2.0

#include "tests/contract/implementations.h"

#ifdef CORVO_TEST_HOST
#include "tests/host/loopback_server.h"
#endif

#include <initializer_list>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace corvo {
namespace {

/// All backends offer the same routes: "ok" (200, "{}"), "empty" (204), "gone" (404, "x"), "broken"
/// (the transfer fails) and "silent" (never answers).
struct FakeBackend {
  FakeBackend() {
    session->always("ok", fakes::after(0.5, fakes::ok("{}")));
    session->always("empty", fakes::status(204));
    session->always("gone", fakes::status(404, "x"));
    session->always("broken", fakes::failure());
    session->always("silent", fakes::silence());
  }
  static std::string url(const std::string& route) { return "https:/flags.example/" + route; }

  std::shared_ptr<fakes::VirtualTime> queue = std::make_shared<fakes::VirtualTime>();
  std::shared_ptr<fakes::ScriptedSession> session = std::make_shared<fakes::ScriptedSession>(
      queue, std::initializer_list<std::string>{"ok", "empty", "gone", "broken", "silent"});
};

struct HostBackend {
#ifdef CORVO_TEST_HOST
  static tests::RawReply reply(const std::string& head) {
    const std::string route = head.substr(5, head.find(' ', 5) - 5);  // "GET /" + route + " HTTP"
    if (route == "ok") return tests::answer(200, "{}");
    if (route == "empty") return {{"HTTP/1.1 204 No Content\r\n\r\n"}};
    if (route == "gone") return tests::answer(404, "x");
    if (route == "broken") return {{}, tests::RawReply::Then::reset};
    return {};
  }
  [[nodiscard]] std::string url(const std::string& route) const { return server.url("/" + route); }

  tests::LoopbackServer server{&reply};
  Host host = makeHost({.inMemory = true});
  std::shared_ptr<MainQueue> queue = host.loop;
  std::shared_ptr<UrlSession> session = std::move(host.platform.urlSession);
#endif
};

template <class Implementation>
class UrlSessionContract : public testing::Test {
 protected:
  /// Requests a route and records the result. The completion keeps `held` alive.
  void ask(const std::string& route, std::shared_ptr<int> held = nullptr) {
    session_->start({"GET", backend_.url(route), {}},
                    [this, held = std::move(held)](UrlResponse came) {
                      responses_.push_back(std::move(came));
                    });
  }
  bool runUntilCame(std::size_t count) {
    return queue_->runUntil([&] { return responses_.size() >= count; });
  }

  Implementation backend_;
  const std::shared_ptr<MainQueue> queue_ = backend_.queue;
  std::shared_ptr<UrlSession> session_ = std::move(backend_.session);
  std::vector<UrlResponse> responses_;
};
using SessionImplementations = tests::Implementations<FakeBackend, HostBackend>;
TYPED_TEST_SUITE(UrlSessionContract, SessionImplementations);

TYPED_TEST(UrlSessionContract, AnswersOnceWithStatusAndBodyOrWithAFailure) {
  const struct {
    std::string route;
    std::optional<int> status;
    std::string body;
  } cases[] = {{"ok", 200, "{}"}, {"empty", 204, ""}, {"gone", 404, "x"}, {"broken", {}, ""}};
  for (const auto& each : cases) {
    this->responses_.clear();
    this->ask(each.route);
    ASSERT_TRUE(this->runUntilCame(1)) << each.route;
    const UrlResponse& response = this->responses_[0];
    EXPECT_EQ(response.failure.has_value(), !each.status.has_value()) << each.route;
    if (each.status) {
      EXPECT_EQ(response.status, each.status);
      EXPECT_EQ(response.body, each.body);
    }
    EXPECT_FALSE(this->runUntilCame(2)) << "nothing more is under way";
  }
}

TYPED_TEST(UrlSessionContract, ACompletionMayBeNullOrAskAgain) {
  this->session_->start({"GET", this->backend_.url("ok"), {}}, nullptr);
  this->session_->start({"GET", this->backend_.url("gone"), {}},
                        [this](const UrlResponse&) { this->ask("ok"); });
  EXPECT_TRUE(this->runUntilCame(1));
}

TYPED_TEST(UrlSessionContract, ASessionDestroyedByACompletionDropsWhatIsUnderWay) {
  const auto held = std::make_shared<int>();
  this->session_->start({"GET", this->backend_.url("ok"), {}},
                        [this, held](const UrlResponse&) { this->session_.reset(); });
  this->ask("ok", held);
  this->ask("silent", held);
  EXPECT_FALSE(this->runUntilCame(1));
  EXPECT_EQ(this->session_, nullptr);
  EXPECT_EQ(held.use_count(), 1) << "a completion that is dropped or done frees what it holds";
}

}  // namespace
}  // namespace corvo
