// SPDX-License-Identifier: Apache-2.0

#include "tests/loops/driven_loop.h"

#include <algorithm>
#include <string>
#include <thread>

namespace corvo::tests {
namespace {

TEST_F(DrivenLoop, AnswersTwoColdQuestionsAtOnceAndThenRests) {
  const auto client = makeClient();
  const auto broken = makeClient("broken");
  loop->settle();
  EXPECT_EQ(counted->ticks, 0) << "before the first question";
  std::string seen;
  const auto note = [&](std::optional<bool> on) { seen += on == true ? '+' : '-'; };
  client->checkFlag<bool>("on", note);
  client->checkFlag<bool>("on", note);
  broken->checkFlag<bool>("on", note, [&](const CorvoError&) { seen += '!'; });
  runUntil([&] { return seen.size() == 3; });
  EXPECT_EQ(std::count(seen.begin(), seen.end(), '+'), 2) << seen;
  runUntil([&] { return !counted->busy(); });
  loop->settle();
  EXPECT_FALSE(loop->isArmed());
  const int ticks = counted->ticks;
  client->checkFlag<bool>("on", note);
  EXPECT_EQ(seen.size(), 4) << "from fresh copies";
  loop->settle();
  EXPECT_EQ(counted->ticks, ticks);
}

TEST_F(DrivenLoop, IsWokenByAnotherThreadWhileItWaits) {
  for (int i = 0; i < 20; ++i) {
    bool done = false;
    std::thread other([&] { host.loop->post([&] { done = true; }); });
    runUntil([&] { return done; });
    other.join();
  }
  loop->settle();
  EXPECT_FALSE(loop->isArmed());
}

TEST_F(DrivenLoop, AnswersInsideALoopThatACallbackRuns) {
  const auto client = makeClient();
  std::string order;
  client->checkFlag<bool>("on", [&](std::optional<bool>) { order += "answer "; });
  host.loop->post([&] {
    runUntil([&] { return !order.empty(); });
    order += "task";
  });
  runUntil([&] { return order.ends_with("task"); });
  EXPECT_EQ(order, "answer task");
}

TEST_F(DrivenLoop, MayBeDestroyedUnderWayAndLeavesTheRestToTheNext) {
  const auto client = makeClient();
  bool answered = false;
  client->checkFlag<bool>("on", [&](std::optional<bool>) { answered = true; });
  loop->settle();
  adapter.reset();
  host.loop->post([] {});
  const int ticks = counted->ticks;
  loop->settle();
  EXPECT_FALSE(loop->isArmed());
  EXPECT_EQ(counted->ticks, ticks);
  EXPECT_FALSE(answered);
  drive();
  runUntil([&] { return answered; });
}

TEST_F(DrivenLoop, MayBeDestroyedByACallback) {
  for (const bool leavesATask : {true, false}) {
    bool done = false;
    drive();
    host.loop->post([&] {
      adapter.reset();
      if (leavesATask) host.loop->post([&] { done = true; });
    });
    runUntil([&] { return adapter == nullptr; });
    loop->settle();
    EXPECT_FALSE(done);
    EXPECT_FALSE(loop->isArmed());
    drive();
    runUntil([&] { return done == leavesATask; });
  }
}

TEST_F(DrivenLoop, MayBeDestroyedWhileAnotherThreadWakesIt) {
  constexpr int kTasks = 20'000;
  int done = 0;
  std::thread other([&] {
    for (int i = 0; i < kTasks; ++i) host.loop->post([&] { ++done; });
  });
  for (int i = 0; i < 200; ++i) {
    drive();
    loop->settle();
  }
  other.join();
  runUntil([&] { return done == kTasks; });
}

}  // namespace
}  // namespace corvo::tests
