// SPDX-License-Identifier: Apache-2.0

#include <corvo/fakes.h>
#include <corvo/version.h>
#include <gmock/gmock.h>

#include <functional>
#include <limits>
#include <thread>

#include "network/network_client_impl.h"
#include "network/routes.h"

namespace corvo::corvo_internal::network {
namespace {

using fakes::failure;
using fakes::ok;
using fakes::Reply;
using fakes::status;
using testing::ElementsAre;

using Completion = Callback<void(UrlResponse)>;

class NetworkClientTest : public testing::Test {
 protected:
  /// A session that completes each request where and as often as configured.
  struct OddSession final : UrlSession {
    void start(UrlRequest, Completion completion) override { handle(std::move(completion)); }
    std::function<void(Completion)> handle;
  };

  void makeClient(std::uint64_t retryCount, std::shared_ptr<UrlSession> over,
                  std::string apiURL = "https://h") {
    client =
        std::make_shared<NetworkClientImpl>(std::move(over), time, std::move(apiURL), retryCount);
  }
  void ask(const LocationRoute& route = {"t", "u"}) {
    client->request(
        route, [this, held = held](const PropertyMap& map) { log.push_back(map.at("city")); },
        [this, held = held](const CorvoNetworkError& error) { log.push_back(error.what()); });
  }

  std::shared_ptr<fakes::VirtualTime> time = std::make_shared<fakes::VirtualTime>();
  std::shared_ptr<fakes::ScriptedSession> session = std::make_shared<fakes::ScriptedSession>(time);
  std::shared_ptr<OddSession> oddSession = std::make_shared<OddSession>();
  std::shared_ptr<NetworkClientImpl> client;
  std::shared_ptr<int> held = std::make_shared<int>();
  std::vector<std::string> log;
};

const std::string kBody = R"({"city":"Oslo"})";
const char* const kNoData = "URL request succeeded, but returned no data";
const char* const kUndecodable = "URL request succeeded, but response decoding failed with error ";

Reply edited(Reply reply, std::optional<int> status, std::optional<std::string> failure = {}) {
  reply.response.status = status;
  reply.response.failure = std::move(failure);
  return reply;
}

TEST_F(NetworkClientTest, RetriesUnusableAnswersAndReportsTheLast) {
  struct Case {
    std::uint64_t retryCount;
    std::vector<Reply> replies;
    std::string outcome;
    std::size_t requests;
  };
  const std::string kStatus = "URL request failed with status code ";
  const Case cases[] = {
      {0, {status(200, kBody)}, "Oslo", 1},
      {0, {status(199, kBody)}, kStatus + "199", 1},
      {0, {edited(ok(kBody), {})}, "Oslo", 1},
      {2, {status(500), status(501), status(502)}, kStatus + "502", 3},
      {2, {status(500), status(200)}, kNoData, 3},
      {1, {edited(ok(kBody), 200, "reset"), edited(ok(kBody), 500, "reset")}, kNoData, 2},
      {5, {ok("{\"city\":")}, kUndecodable, 1},
      {std::numeric_limits<std::uint64_t>::max(), {failure(), status(500), ok(kBody)}, "Oslo", 3},
  };
  for (const Case& row : cases) {
    session = std::make_shared<fakes::ScriptedSession>(time);
    for (const Reply& reply : row.replies) session->next("geo", reply);
    session->always("geo", row.replies.back());
    makeClient(row.retryCount, session);
    log.clear();
    ask();
    EXPECT_THAT(log, ElementsAre()) << "an answer comes from the queue even if it is already there";
    time->run();
    EXPECT_THAT(log, ElementsAre(testing::StartsWith(row.outcome)));
    EXPECT_EQ(session->requests().size(), row.requests) << row.outcome;
    EXPECT_THAT(session->requests(), testing::Each(session->requests().front()));
  }
}

TEST_F(NetworkClientTest, RetriesManyTimesOnTheSameStack) {
  int starts = 0;
  oddSession->handle = [&](Completion done) { ++starts, done({}); };
  makeClient(20'000, oddSession);
  ask();
  time->run();
  EXPECT_THAT(log, ElementsAre(kNoData));
  EXPECT_EQ(starts, 20'001);
}

TEST_F(NetworkClientTest, SendsTheRoutesAsRequests) {
  makeClient(0, session, "https://h//api/");
  client->request(ConfigRoute("t", "u"), nullptr, nullptr);
  ask();
  LocationRoute other("t", "u");
  other.method = Method::post;
  other.headers = {{"Content-Type", "text/plain"}, {"sdk-Name", "x"}};
  other.queryItems = {{"a", "1 2"}, {"b", {}}};
  ask(other);
  time->run();  // skips null callbacks

  const std::map<std::string, std::string> usual{{"Content-Type", "application/json"},
                                                 {"sdk-name", "ios"},
                                                 {"sdk-version", CORVO_VERSION},
                                                 {"token", "t"},
                                                 {"user-id", "u"}};
  const std::map<std::string, std::string> merged{{"Content-Type", "text/plain"},
                                                  {"sdk-Name", "x"},
                                                  {"sdk-name", "ios"},
                                                  {"sdk-version", CORVO_VERSION}};
  EXPECT_THAT(session->requests(),
              ElementsAre(UrlRequest{"GET", "https:/h/api/config.json", usual, 60},
                          UrlRequest{"GET", "https:/h/api/geo", usual, 60},
                          UrlRequest{"POST", "https:/h/api/geo?a=1%202&b", merged, 60}));
}

TEST_F(NetworkClientTest, HandlesCompletionsOfAnyThreadOnTheMainQueue) {
  int code = 500;
  oddSession->handle = [&](Completion done) {
    std::thread([&] {
      done({.status = std::exchange(code, 200), .body = kBody, .failure = {}});
    }).join();
  };
  makeClient(1, oddSession);
  ask();
  EXPECT_THAT(log, ElementsAre());
  time->run();
  EXPECT_THAT(log, ElementsAre("Oslo"));
}

TEST_F(NetworkClientTest, DropsTheAnswerWhenTheClientIsGone) {
  Completion late;
  oddSession->handle = [&](Completion done) { late = std::move(done); };
  for (const bool isPosted : {false, true}) {
    makeClient(1, oddSession);
    ask();
    if (isPosted) late({});
    client.reset();
    late({});
    time->run();
    EXPECT_THAT(log, ElementsAre());
    EXPECT_EQ(held.use_count(), 1) << "the question has freed what it held";
  }
}

}  // namespace
}  // namespace corvo::corvo_internal::network
