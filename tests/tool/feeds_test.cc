// SPDX-License-Identifier: Apache-2.0

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/tool/served_folder.h"
#include "tool/serve/file_watch.h"
#include "tool/serve/publisher.h"
#include "tool/serve/relay.h"

namespace corvo::tool {
namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;
using Time = Publication::Clock::time_point;

/// A project with one flag of that name.
std::string withFlag(const std::string& name) {
  return R"({"feature_flags": [{"name": ")" + name + R"(", "type": "string", "rules": []}]})";
}

const std::string kInvertedBounds =
    R"({"experiments": [{"name": "x", "salt": "", "allocation": 100,)"
    R"("layer_bounds": [{"lower_bound": 2, "upper_bound": 1}]}]})";

/// What questions would be answered from: the name of the flag, or "!" and the reason.
std::string answering(const Publication& publication) {
  const Publication::Current now = publication.now();
  if (!now.edition) return "!" + now.refusal;
  const auto flags = now.edition->project.flags();
  return flags.empty() ? "" : flags.front().name;
}

/// Counts the events for listeners.
class Events {
 public:
  explicit Events(EventStream& stream) {
    stream.open({.method = "GET"}).stream(HttpStream([this](const std::string& text) {
      if (text.find("data: ") != std::string::npos) ++count;
      return true;
    }));
  }
  int count = 0;
};

class Watch : public ServedFolder {
 protected:
  void edit(const std::string& content) const { write("config.json", content); }
  void lookAt(Time now) { watch_.look(now); }

  Publication publication_;
  EventStream stream_;
  Events events_{stream_};
  Publisher publisher_{publication_, stream_};
  ServedFile configuration_{folder_ + "config.json", Document::Kind::configuration};
  ServedFile location_{folder_ + "geo.json", Document::Kind::location};
  ServedProject project_{configuration_, location_};
  FileWatch watch_{project_, publisher_};
};

TEST_F(Watch, PublishesEachEditOnce) {
  const Time start = Publication::Clock::now();
  edit(withFlag("a"));
  for (const auto time : {0s, 1s, 5s, 9s}) lookAt(start + time);
  EXPECT_EQ(answering(publication_), "a");
  EXPECT_EQ(events_.count, 1);
  EXPECT_EQ(publication_.now().edition->location.at("city"), "Porto");
  EXPECT_EQ(publication_.now().confirmed, start + 9s);
  const std::string version = publication_.now().edition->version;
  write("geo.json", R"({"city": "Faro"})");
  lookAt(start + 10s);
  EXPECT_EQ(publication_.now().edition->location.at("city"), "Faro");
  EXPECT_NE(publication_.now().edition->version, version);
  EXPECT_EQ(events_.count, 2);
}

TEST_F(Watch, SeesTwoEditsWithinATickOfTheFilesClock) {
  const Time start = Publication::Clock::now();
  edit(withFlag("a"));
  const auto written = std::filesystem::last_write_time(configuration_.path());
  lookAt(start);
  edit(withFlag("b"));  // the same size, in the same inode
  std::filesystem::last_write_time(configuration_.path(), written);
  lookAt(start + 100ms);
  EXPECT_EQ(answering(publication_), "b");
}

TEST_F(Watch, KeepsAnsweringWhileAFileIsHalfWritten) {
  const Time start = Publication::Clock::now();
  edit(withFlag("a"));
  lookAt(start);
  for (int i = 1; i <= 9; ++i) {
    edit(std::string(static_cast<std::size_t>(i), '{'));  // each of them is new
    lookAt(start + i * 200ms);
    EXPECT_EQ(answering(publication_), "a") << "it is given time";
    if (i % 4 != 0) continue;
    edit(withFlag("a"));
    lookAt(start + i * 200ms + 100ms);
  }
  edit(withFlag("b"));
  lookAt(start + 2s);
  EXPECT_EQ(answering(publication_), "b");
  EXPECT_EQ(events_.count, 2) << "the same project again is no change";
}

TEST_F(Watch, WithdrawsWhatMayNotBeEvaluatedWithTheReason) {
  const std::pair<std::string, const char*> cases[] = {
      {"[]", "config.json:1:1: expected object, found array"},
      {kInvertedBounds, "inverted-bounds"},
  };
  Time now = Publication::Clock::now();
  testing::internal::CaptureStderr();
  for (const auto& [broken, reason] : cases) {
    edit(withFlag("a"));
    lookAt(now += 100ms);
    ASSERT_EQ(answering(publication_), "a");
    edit(broken);
    for (int i = 0; i < 6; ++i) lookAt(now += 100ms);
    EXPECT_THAT(answering(publication_), HasSubstr(reason));
  }
  edit(withFlag("a"));
  lookAt(now += 100ms);
  std::filesystem::remove(configuration_.path());
  lookAt(now += 100ms);
  EXPECT_EQ(answering(publication_), "a");
  lookAt(now += FileWatch::kPatience);
  EXPECT_THAT(answering(publication_), HasSubstr("cannot read "));
  EXPECT_EQ(events_.count, 1) << "the same project again is no change";
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            folder_ + "config.json:1:1: expected object, found array\n");
}

TEST(Version, IsThatOfBothTextsInEveryProcess) {
  const auto versionOf = [](const char* configuration, const char* location) {
    return snapshotOf({"a", configuration}, {"b", location})->version;
  };
  // printf '%s-%s' $(printf '{}' | md5sum | cut -c-32) $(printf '{}' | md5sum | cut -c-32) | md5sum
  EXPECT_EQ(versionOf("{}", "{}"), "0b2b5fb12c9bea1417c2f339c6165a56");
  EXPECT_NE(versionOf("{}", "{} "), versionOf("{} ", "{}"));
}

/// A relay of a scripted backend.
class Relayed : public testing::Test {
 protected:
  /// The backend answers with this text; "!" and a text is a failure.
  std::chrono::milliseconds answer(const std::string& script) {
    script_ = script;
    return relay_.step();
  }
  std::string said() { return testing::internal::GetCapturedStderr(); }

  std::string script_;
  Publication publication_;
  EventStream stream_;
  Events events_{stream_};
  Publisher publisher_{publication_, stream_};
  Relay relay_{[this] {
                 if (script_.starts_with('!')) throw std::runtime_error(script_.substr(1));
                 return script_;
               },
               "http://b", 60s, publisher_};
};

TEST_F(Relayed, AsksAgainBeforeTheCopyExpires) {
  const Time before = Publication::Clock::now();
  EXPECT_EQ(answer(withFlag("a")), 30s);
  EXPECT_EQ(answering(publication_), "a");
  EXPECT_GE(publication_.now().confirmed, before);
  EXPECT_TRUE(publication_.now().edition->location.empty());
  answer(withFlag("a"));
  EXPECT_EQ(events_.count, 1);
  answer(withFlag("b"));
  EXPECT_EQ(answering(publication_), "b");
  EXPECT_EQ(events_.count, 2);
}

TEST_F(Relayed, HasTheVersionOfAServerOfTheSameDocument) {
  answer(withFlag("a"));
  EXPECT_EQ(publication_.now().edition->version,
            snapshotOf({"x", withFlag("a")}, {"y", "{}"})->version);
}

TEST_F(Relayed, UsesItsCopyWhileTheBackendFails) {
  testing::internal::CaptureStderr();
  EXPECT_EQ(answer("!down"), 1s);
  EXPECT_EQ(answering(publication_), "!down");
  answer(withFlag("a"));
  for (const char* script : {"!down", "!down", "!lost\x1b", "!lost\x1b", "!down"}) {
    EXPECT_EQ(answer(script), 1s);
    EXPECT_EQ(answering(publication_), "a");
  }
  answer(withFlag("a"));
  answer(withFlag("a"));
  EXPECT_EQ(said(),
            "http://b: down\nhttp://b: fetched again\n"
            "http://b: down\nhttp://b: lost\\u001b\nhttp://b: down\nhttp://b: fetched again\n");
  EXPECT_EQ(events_.count, 1);
}

TEST_F(Relayed, RefusesAProjectThatWouldAbortAClient) {
  testing::internal::CaptureStderr();
  answer(withFlag("a"));
  EXPECT_EQ(answer(kInvertedBounds), 1s);
  EXPECT_THAT(answering(publication_), HasSubstr("inverted-bounds"));
  EXPECT_THAT(said(), HasSubstr("inverted-bounds"));
}

TEST(Publication, UsesNoExpiredCopy) {
  Publication publication;
  EventStream events;
  Publisher publisher(publication, events);
  const auto snapshot = snapshotOf({"x", withFlag("a")}, {"y", "{}"});
  const Time now = Publication::Clock::now();
  publisher.offer(*snapshot, now, now + 1h);
  EXPECT_EQ(answering(publication), "a");
  publisher.offer(*snapshot, now - 1h, now);
  EXPECT_THAT(answering(publication), HasSubstr("expired"));
  publisher.complain("down");
  EXPECT_EQ(answering(publication), "!down") << "the reason is worth more";
}

}  // namespace
}  // namespace corvo::tool
