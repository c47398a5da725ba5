// SPDX-License-Identifier: Apache-2.0

#include <gmock/gmock.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "tool/serve/event_log.h"
#include "tool/serve/event_stream.h"

namespace corvo::tool {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

/// The ids of the events in a text, or "(ID)" for an id alone.
std::vector<std::string> idsIn(const std::string& text) {
  std::vector<std::string> ids;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t end = text.find("\n\n", at);
    const std::string block = text.substr(at, end - at);
    const std::size_t id = block.find("id: ");
    if (id != std::string::npos) {
      const std::string name = block.substr(id + 4, block.find('\n', id) - id - 4);
      ids.push_back(block.find("data: ") == std::string::npos ? "(" + name + ")" : name);
    }
    at = end + 2;
  }
  return ids;
}

TEST(EventLog, WritesEventsAsBrowsersReadThem) {
  EventLog log;
  EXPECT_EQ(log.add("abc", 1'700'000'000),
            "event: message\nid: 1-abc\n"
            "data: {\"type\":\"refetchEvaluation\",\"etag\":\"abc\",\"lastModified\":1700000000}"
            "\n\n");
  EXPECT_EQ(log.version(), "abc");
}

TEST(EventLog, ReplaysWhatAListenerHasMissed) {
  EventLog log;
  EXPECT_EQ(log.missed("1-a", "a"), "") << "there is nothing to know yet";
  for (const char* version : {"a", "b", "a", "c"}) log.add(version, 0);
  using Ids = std::vector<std::string>;
  const struct {
    const char* lastId;
    const char* since;
    Ids expected;
  } cases[] = {
      {"", "", {"(4-c)"}},
      {"4-c", "", {"(4-c)"}},
      {"3-a", "", {"4-c"}},
      {"1-a", "", {"2-b", "3-a", "4-c"}},
      {"1-a", "c", {"2-b", "3-a", "4-c"}},  // the id is newer than the address
      {"4-c", "a", {"(4-c)"}},
      {"99-c", "", {"(4-c)"}},  // of another server, which has the same version
      {"99-a", "", {"4-c"}},
      {"2-a", "", {"4-c"}},  // of another server: here it was b
      {"", "c", {"(4-c)"}},
      {"", "a", {"4-c"}},
      {"", "none of these", {"4-c"}},
      {"nonsense", "", {"4-c"}},
      {"-", "", {"(4-c)"}},
      {"1-a\n", "", {"4-c"}},
  };
  for (const auto& [lastId, since, expected] : cases) {
    EXPECT_EQ(idsIn(log.missed(lastId, since)), expected) << lastId << " | " << since;
  }
}

TEST(EventLog, KeepsOnlyTheLatestEvents) {
  EventLog log;
  for (std::size_t i = 1; i <= EventLog::kKept + 1; ++i) log.add("v" + std::to_string(i), 0);
  EXPECT_EQ(idsIn(log.missed("2-v2", "")).size(), EventLog::kKept - 1);
  EXPECT_THAT(idsIn(log.missed("1-v1", "")), ElementsAre("101-v101")) << "it is forgotten";
}

/// A listener who keeps what it is sent, until it is closed.
class Listener {
 public:
  HttpStream stream() const {
    return HttpStream([state = state_](const std::string& text) {
      const std::lock_guard lock(state->mutex);
      if (!state->isClosed) state->text += text;
      return !state->isClosed;
    });
  }
  std::string text() const {
    const std::lock_guard lock(state_->mutex);
    return state_->text;
  }
  void close() const {
    const std::lock_guard lock(state_->mutex);
    state_->isClosed = true;
  }

 private:
  struct State {
    std::mutex mutex;
    std::string text;
    bool isClosed = false;
  };
  std::shared_ptr<State> state_ = std::make_shared<State>();
};

Listener listen(EventStream& events, const std::string& lastId, const std::string& since) {
  HttpRequest request{.method = "GET"};
  if (!lastId.empty()) request.headers.emplace("last-event-id", lastId);
  if (!since.empty()) request.query.emplace("since", since);
  Listener listener;
  events.open(request).stream(listener.stream());
  return listener;
}

void announce(EventStream& events, const std::string& version) {
  events.announce(version, 0, [] {});
}

TEST(EventStream, TellsEveryListenerAndForgetsThoseWhoHaveGone) {
  EventStream events;
  const Listener early = listen(events, "", "");
  announce(events, "a");
  const Listener late = listen(events, "1-a", "");
  const Listener gone = listen(events, "", "z");
  EXPECT_THAT(idsIn(gone.text()), ElementsAre("1-a"));
  EXPECT_EQ(events.listeners(), 3U);
  gone.close();
  announce(events, "b");
  EXPECT_EQ(events.listeners(), 2U);
  EXPECT_THAT(idsIn(early.text()), ElementsAre("1-a", "2-b"));
  EXPECT_THAT(idsIn(late.text()), ElementsAre("(1-a)", "2-b"));
}

TEST(EventStream, IsAStreamThatNothingOnTheWayCollects) {
  EventStream events;
  const HttpResponse response = events.open({.method = "GET"});
  EXPECT_EQ(response.type, "text/event-stream");
  EXPECT_THAT(response.headers, testing::Contains(testing::Pair("X-Accel-Buffering", "no")));
  EXPECT_THAT(response.headers, testing::Contains(testing::Pair("Cache-Control", "no-store")));
}

TEST(EventStream, KeepsQuietConnectionsOpen) {
  EventStream events(std::chrono::milliseconds(1));
  const Listener listener = listen(events, "", "");
  while (listener.text().size() < 6) std::this_thread::yield();
  EXPECT_THAT(idsIn(listener.text()), IsEmpty());
  EXPECT_THAT(listener.text(), HasSubstr(":\n\n:\n\n"));
  listener.close();
  while (events.listeners() > 0) std::this_thread::yield();
}

// A client asks for answers, and then opens the stream with the version of those answers. Whatever
// happens in between, it must be told of each later version exactly once.
TEST(EventStream, LosesAndDoublesNoEventWhileListenersJoin) {
  constexpr int kVersions = 300;
  EventStream events;
  std::atomic<int> published = 0;
  std::vector<std::pair<int, Listener>> all;
  std::atomic<int> joined = 0;
  std::jthread publisher([&] {
    for (int i = 1; i <= kVersions; ++i) {
      while (joined < i - 1) std::this_thread::yield();  // do not overtake the listeners
      events.announce(std::to_string(i), 0, [&] { published = i; });
    }
  });
  while (published < kVersions) {
    const int since = published;
    if (since == 0 ||
        all.size() >= 3 * static_cast<std::size_t>(since)) {  // do not overtake the publisher
      std::this_thread::yield();
    } else {
      all.emplace_back(since, listen(events, "", std::to_string(since)));
      ++joined;
    }
  }
  publisher.join();
  EXPECT_GE(all.size(), std::size_t{kVersions / 2});
  for (const auto& [since, listener] : all) {
    int last = since;
    for (const std::string& id : idsIn(listener.text())) {
      if (id.starts_with('(')) {
        EXPECT_EQ(id, "(" + std::to_string(since) + "-" + std::to_string(since) + ")");
        continue;
      }
      const int number = std::stoi(id);
      // The first event may stand for several; after it, each one counts.
      EXPECT_TRUE(last == since ? number > last : number == last + 1) << id << " after " << last;
      last = number;
    }
    EXPECT_EQ(last, kVersions);
  }
}

}  // namespace
}  // namespace corvo::tool
