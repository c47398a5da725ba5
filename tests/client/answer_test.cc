// SPDX-License-Identifier: Apache-2.0

#include <corvo/answer.h>

#include <optional>
#include <thread>
#include <vector>

#include "tests/client/client_fixture.h"
#include "tests/client/coroutine.h"

namespace corvo {
namespace {

using tests::FireAndForget;
using tests::Owned;

class AnswerTest : public ClientTest {
 protected:
  FireAndForget record(std::vector<std::string>& seen) {
    seen.emplace_back(*co_await client->checkFlag<bool>("on") ? "on" : "off");
    try {
      co_await client->checkFlag<bool>("nothing");
    } catch (const CorvoError& error) {
      seen.push_back(error.description());
    }
  }
  Owned touch(bool& resumed) {
    co_await client->checkFlag<bool>("on");
    resumed = true;
  }

  std::shared_ptr<CorvoClient> client = makeClient();
};

TEST_F(AnswerTest, IsTakenOnce) {
  for (const bool fresh : {false, true}) {
    Answer<std::optional<bool>> answer = client->checkFlag<bool>("on");
    EXPECT_EQ(answer.get(), true) << fresh;
    EXPECT_THROW(answer.get(), QuestionDropped) << fresh;
  }
}

TEST_F(AnswerTest, SuspendsForAFetchAndResumesWhereTheCallbackWouldRun) {
  std::vector<std::string> seen;
  const std::vector<std::string> all{"on", "Corvo warn: Feature flag \"nothing\" not found"};
  record(seen);
  EXPECT_TRUE(seen.empty());
  fake.time->run();
  EXPECT_EQ(seen, all);
  seen.clear();
  record(seen);
  EXPECT_EQ(seen, all) << "from fresh copies it does not suspend";
}

TEST_F(AnswerTest, DoesNotGrowTheStackInALoop) {
  client->checkFlag<bool>("on").get();
  int count = 0;
  const auto loop = [](CorvoClient& asked, int& answers) -> FireAndForget {
    for (int i = 0; i < 100'000; ++i) answers += *co_await asked.checkFlag<bool>("on") ? 1 : 0;
  };
  loop(*client, count);
  EXPECT_EQ(count, 100'000);
}

TEST_F(AnswerTest, NeverResumesACoroutineThatItsOwnerDestroyed) {
  bool resumed = false;
  const Owned coroutine = touch(resumed);
  coroutine.handle.destroy();
  fake.time->run();
  EXPECT_FALSE(resumed);
}

TEST_F(AnswerTest, LeavesADroppedCoroutineToItsOwner) {
  bool resumed = false;
  const Owned coroutine = touch(resumed);
  auto answer = client->checkFlag<bool>("on");
  registry.removeClient("tag");
  client.reset();
  EXPECT_THROW(answer.get(), QuestionDropped);
  fake.time->run();
  EXPECT_FALSE(resumed);
  coroutine.handle.destroy();
}

TEST_F(AnswerTest, NotifiesAnAdapterHoweverItEnds) {
  using corvo_internal::AnswerEnd;
  std::string ended;
  const auto note = [&](char which) { return [&ended, which] { ended += which; }; };
  auto answered = client->checkFlag<bool>("on");
  AnswerEnd::notify(answered, note('a'));
  {
    auto destroyed = client->checkFlag<bool>("on");
    AnswerEnd::notify(destroyed, note('x'));
  }
  fake.time->run();
  AnswerEnd::notify(answered, note('b'));
  EXPECT_EQ(ended, "ab") << "and at once afterwards";
  fake.time->advance(11);
  auto dropped = client->checkFlag<bool>("on");
  AnswerEnd::notify(dropped, note('c'));
  registry.removeClient("tag");
  client.reset();
  fake.time->run();
  EXPECT_EQ(ended, "abc");
}

TEST_F(AnswerTest, GetsItsAnswerByRunningTheQueueAndItsTime) {
  fake.session->next("config.json", fakes::after(5, fakes::ok(project)));
  const double start = fake.time->now();
  EXPECT_EQ(client->checkFlag<bool>("on").get(), true);
  EXPECT_EQ(fake.time->now(), start + 5);
}

TEST_F(AnswerTest, GetDoesNotHangWhenNothingCanAnswer) {
  fake.session->next("config.json", fakes::silence());
  EXPECT_THROW(client->checkFlag<bool>("on").get(), QuestionDropped);
}

TEST_F(AnswerTest, IsReadyWhenItNeedNotWait) {
  fake.session->next("config.json", fakes::after(5, fakes::ok(project)));
  auto pending = client->checkFlag<bool>("on");
  EXPECT_FALSE(pending.ready());
  fake.time->advance(5);
  EXPECT_TRUE(pending.ready());
  EXPECT_TRUE(client->checkFlag<bool>("on").ready());
  fake.time->advance(10);
  auto dropped = client->checkFlag<bool>("on");
  registry.removeClient("tag");
  client.reset();
  EXPECT_FALSE(dropped.ready());
  fake.time->run();
  EXPECT_TRUE(dropped.ready()) << "there is nothing to wait for";
}

template <class T, class... Defaults>
constexpr bool takesAll = (corvo_internal::DefaultFor<Defaults, T> && ...);
template <class T, class... Defaults>
constexpr bool takesNone = (!corvo_internal::DefaultFor<Defaults, T> && ...);
using Text = const char (&)[5];
using Handle = CorvoExperimentPointer;

static_assert(takesAll<std::optional<bool>, bool, const bool&> && takesAll<bool, bool>);
static_assert(takesNone<std::optional<bool>, int, double, char, Text, std::nullptr_t, bool*>);
static_assert(takesAll<std::optional<std::int64_t>, int, short, std::size_t, const long long&>);
static_assert(takesNone<std::optional<std::int64_t>, bool, char, char32_t, double, Text>);
static_assert(takesAll<std::optional<double>, double, float, int, std::uint64_t>);
static_assert(takesNone<std::optional<double>, bool, char, Text, std::nullptr_t>);
static_assert(
    takesAll<std::optional<std::string>, Text, const char*, std::string_view, std::string>);
static_assert(takesNone<std::optional<std::string>, std::nullptr_t, char, int, JsonObject>);
static_assert(takesAll<std::optional<JsonObject>, JsonObject> && takesAll<Handle, std::nullptr_t>);
static_assert(takesNone<std::optional<JsonObject>, Text, int, JsonValue> && takesNone<Handle, int>);
static_assert(takesNone<void, int, bool> && takesNone<std::optional<float>, double, int>);

TEST_F(AnswerTest, ReturnsTheDefaultIfAbsentFailedOrDropped) {
  EXPECT_TRUE(client->checkFlag<bool>("on").valueOr(false));
  EXPECT_EQ(client->checkFlag<std::int64_t>("on").valueOr(7), 7) << "no integer";
  EXPECT_EQ(client->checkFlag<std::int64_t>("on").valueOr(UINT64_MAX), INT64_MAX);
  EXPECT_EQ(client->checkFlag<double>("on").valueOr(2), 2.0);
  EXPECT_EQ(client->checkFlag<std::string>("nothing").valueOr("none"), "none");
  EXPECT_TRUE(client->getHoldout("nothing").valueOr(true));
  auto taken = client->checkFlag<bool>("on");
  EXPECT_TRUE(taken.valueOr(false));
  EXPECT_FALSE(taken.valueOr(false)) << "it was taken";
  fake.time->advance(10);
  fake.session->next("config.json", fakes::silence());
  EXPECT_FALSE(client->checkFlag<bool>("on").valueOr(false));
}

TEST_F(AnswerTest, MovesBeforeAndAfterItIsSettled) {
  auto answer = client->checkFlag<bool>("on");
  auto moved = std::move(answer);
  fake.time->run();
  auto again = std::move(moved);
  EXPECT_EQ(again.get(), true);
  EXPECT_THROW(again.get(), QuestionDropped);
  auto ready = client->checkFlag<bool>("on");
  auto taken = std::move(ready);
  EXPECT_THROW(ready.get(), QuestionDropped);
}

TEST_F(AnswerTest, MayBeAwaitedOnAnyThread) {
  fake.session->next("config.json", fakes::after(1, fakes::ok(project)));
  auto answer = client->checkFlag<bool>("on");
  std::optional<bool> seen;
  const auto wait = [](Answer<std::optional<bool>>& awaited,
                       std::optional<bool>& result) -> FireAndForget { result = co_await awaited; };
  std::thread waiter([&] { wait(answer, seen); });
  waiter.join();
  fake.time->advance(1);
  EXPECT_EQ(seen, true);
}

}  // namespace
}  // namespace corvo
