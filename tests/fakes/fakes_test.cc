// SPDX-License-Identifier: Apache-2.0

#include <corvo/fakes.h>
#include <gmock/gmock.h>

#include <array>
#include <cmath>
#include <functional>
#include <limits>
#include <set>
#include <stdexcept>

namespace corvo::fakes {
namespace {

using testing::ElementsAre;
using testing::Pair;

class VirtualTimeTest : public testing::Test {
 protected:
  /// A task that records its name and the time when it ran.
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

TEST_F(ScriptedSessionTest, ForgetsClearedReplies) {
  session->always("geo", ok("always"));
  session->next("geo", ok("once"));
  session->clearNext("geo");
  ask("geo");
  session->always("geo", ok("another"));
  session->next("geo", after(1, ok("under way")));
  session->next("geo", ok("once"));
  ask("geo");
  session->clear("geo");
  ask("geo");
  time->advance(1);
  EXPECT_THAT(bodies, ElementsAre("always", "failed", "under way"));
  EXPECT_EQ(session->requestCount("geo"), 3U);
}

TEST_F(ScriptedSessionTest, RefusesARouteThatNoClientAsks) {
  const std::function<void()> mistakes[] = {
      [&] { session->always("geo.json", ok("")); },
      [&] { session->next("/geo", ok("")); },
      [&] { session->clear("config"); },
      [&] { session->clearNext(""); },
      [&] { static_cast<void>(session->requestCount("Geo")); },
  };
  for (const auto& mistake : mistakes) EXPECT_THROW(mistake(), std::invalid_argument);
}

TEST(FakeTimeZoneTest, MovesBetweenZonesWithAndWithoutAName) {
  FakeTimeZone zone(19'800);
  auto expect = [&zone, identifiers = std::set<std::uint64_t>{}](std::int32_t winter,
                                                                 std::int32_t summer) mutable {
    EXPECT_EQ(zone.offsetAt(1'704'067'200), winter);
    EXPECT_EQ(zone.offsetAt(1'714'564'800), summer);
    EXPECT_TRUE(identifiers.insert(zone.identifier()).second);
  };
  expect(19'800, 19'800);
  zone.change("UTC");
  expect(0, 0);
  zone.change("America/New_York");
  expect(-5 * 3'600, -4 * 3'600);
  EXPECT_THROW(zone.change("New_York"), std::invalid_argument);
  EXPECT_EQ(zone.offsetAt(0), -5 * 3'600) << "does not change";
  zone.change(3'600);
  expect(3'600, 3'600);
}

TEST(ReadyClientTest, AnswersAtOnceUntilItsCopiesExpire) {
  const auto berlin =
      when(where("geo.city", Sign::equal, "Berlin") && where("custom.plan", Sign::equal, "gold"),
           "both");
  ReadyClient app(project().flag("f", berlin),
                  {.user = {{"userId", "ann"}, {"custom.plan", "gold"}},
                   .location = {{"city", "Berlin"}},
                   .cacheTTL = 20,
                   .retryCount = 1});
  std::string seen;
  const auto answer = [&] {
    seen = "pending";
    app->checkFlag<std::string>(
        "f", [&](auto value) { seen = value.value(); },
        [&](const CorvoError& error) { seen = error.name(); });
    return seen;
  };
  EXPECT_EQ(answer(), "both");
  EXPECT_EQ(app.fake.session->requests().size(), 2U);
  app.fake.time->advance(19);
  app.fake.goOffline();
  app.restart();
  EXPECT_EQ(answer(), "both") << "from the earlier copies";
  app.fake.time->advance(1);
  EXPECT_THROW(app.client()->checkFlag<std::string>("f").get(), CorvoError);
  EXPECT_EQ(app.fake.session->requestCount("config.json"), 3U) << "and a retry";
  app.fake.serve(R"({"feature_flags": []})");
  EXPECT_EQ(answer(), "pending");
  app.fake.time->run();
  EXPECT_EQ(seen, "featureFlagNotFound");
  app.fake.serve(project().flag("f", berlin), {{"city", "Berlin"}});
  app.fake.time->advance(86'400);
  EXPECT_THROW((*app).checkFlag<std::string>("f").get(), CorvoError) << "the user has expired";
}

TEST(ReadyClientTest, RefusesAConfigurationThatCannotBeDecoded) {
  EXPECT_THROW(ReadyClient("[]"), CorvoError);
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
