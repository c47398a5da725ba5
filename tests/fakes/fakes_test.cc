#include <corvo/fakes.h>
#include <gmock/gmock.h>

#include <array>
#include <cmath>
#include <limits>
#include <stdexcept>

namespace corvo::fakes {
namespace {

using testing::ElementsAre;
using testing::Pair;

class VirtualTimeTest : public testing::Test {
 protected:
  /// A task that records its name and the time at which it ran.
  Callback<void()> note(std::string name) {
    return [this, name = std::move(name)] { log.push_back(name + "@" + at()); };
  }
  std::string at() const { return std::to_string(static_cast<int>(time.now())); }

  VirtualTime time{100};
  std::vector<std::string> log;
};

TEST_F(VirtualTimeTest, AdvanceStopsAtEachMomentInOrder) {
  time.postAfter(3, note("late"));
  time.postAfter(1, [this] {
    note("early")();
    time.postAfter(1, note("nested"));
    time.post(note("at once"));
  });
  time.postAfter(1, note("early too"));
  time.post(note("now"));
  time.run();
  EXPECT_THAT(log, ElementsAre("now@100")) << "no time passes";
  time.advance(2.5);
  EXPECT_THAT(log,
              ElementsAre("now@100", "early@101", "early too@101", "at once@101", "nested@102"));
  EXPECT_DOUBLE_EQ(time.now(), 102.5);
  time.advance(0.5);
  EXPECT_EQ(log.back(), "late@103");
}

TEST_F(VirtualTimeTest, RunUntilSkipsToWhatIsDueAndGivesUpWhenNothingIs) {
  time.postAfter(5, note("skipped to"));
  time.postAfter(9, note("not needed"));
  time.postAfter(std::numeric_limits<double>::infinity(), note("never"));
  EXPECT_TRUE(time.runUntil([this] { return !log.empty(); }));
  EXPECT_DOUBLE_EQ(time.now(), 105);
  EXPECT_FALSE(time.runUntil([] { return false; }));
  EXPECT_THAT(log, ElementsAre("skipped to@105", "not needed@109"));
}

TEST_F(VirtualTimeTest, SettingTheClockLeavesDelaysAlone) {
  time.postAfter(10, note("due"));
  for (const double moment : {1e9, -5.0, std::nan("")}) {
    time.set(moment);
    time.run();
    time.advance(1);
    EXPECT_THAT(time.now(), testing::NanSensitiveDoubleEq(moment + 1));
  }
  EXPECT_THAT(log, ElementsAre());
  time.set(0);
  time.advance(7);
  EXPECT_THAT(log, ElementsAre("due@7"));
}

TEST_F(VirtualTimeTest, RunsMayNestAndThrow) {
  time.post([this] {
    time.advance(10);
    throw std::runtime_error("thrown by a task");
  });
  time.postAfter(4, note("inner"));
  time.postAfter(11, note("kept"));
  EXPECT_THROW(time.advance(1), std::runtime_error);
  EXPECT_DOUBLE_EQ(time.now(), 110) << "time never falls back";
  time.advance(1);
  EXPECT_THAT(log, ElementsAre("inner@104", "kept@111"));
}

class ScriptedSessionTest : public testing::Test {
 protected:
  void ask(const std::string& url) {
    session->start({.method = "GET", .url = url, .headers = {}}, [this](const UrlResponse& got) {
      bodies.push_back(got.failure ? "failed" : got.body);
    });
  }

  std::shared_ptr<VirtualTime> time = std::make_shared<VirtualTime>(0);
  std::unique_ptr<ScriptedSession> session = std::make_unique<ScriptedSession>(time);
  std::vector<std::string> bodies;
};

TEST_F(ScriptedSessionTest, AnswersInsideTheCallByRoute) {
  session->always("geo", ok("always"));
  session->next("geo", ok("once"));
  session->next("geo", status(500, "twice"));
  for (const char* url : {"http:/h/geo", "http:/h/geo?a=/b", "geo#/x", "http:/h/a/geo", "geo/x"}) {
    ask(url);
  }
  EXPECT_THAT(bodies, ElementsAre("once", "twice", "always", "always", "failed"));
  EXPECT_EQ(session->requestCount("geo"), 4U);
  EXPECT_EQ(session->requests()[1].url, "http:/h/geo?a=/b");
}

TEST(MemoryPreferencesStoreTest, FailsOnCueAndLeavesEverythingAsItWas) {
  MemoryPreferencesStore store;
  const auto suite = store.open("s");
  const std::array kept{PreferencesChange{"a", "1"}, PreferencesChange{"b", "2"}};
  const std::array refused{PreferencesChange{"a", std::nullopt}, PreferencesChange{"c", "3"}};
  ASSERT_TRUE(suite->apply(kept));
  store.failWriting(true);
  EXPECT_FALSE(suite->apply(refused));
  EXPECT_EQ(suite->revision(), 1U);
  EXPECT_THAT(store.contents("s"), ElementsAre(Pair("a", "1"), Pair("b", "2")));
  store.failWriting(false);
  EXPECT_TRUE(suite->apply(refused));

  store.failOpening(true);
  EXPECT_EQ(store.open("s"), nullptr);
  EXPECT_EQ(store.open("t"), nullptr);
  EXPECT_THAT(store.suiteNames(), ElementsAre("s"));
  MemoryPreferencesStore another(store);  // as another process sees it
  EXPECT_TRUE(another.open("s")->apply(kept));
  EXPECT_EQ(store.contents("s").count("a"), 0U);
}

}  // namespace
}  // namespace corvo::fakes
