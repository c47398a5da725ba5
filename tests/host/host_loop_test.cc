// SPDX-License-Identifier: Apache-2.0

#include <corvo/host.h>
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>

#include "host/curl_transfers.h"
#include "tests/host/loopback_server.h"

namespace corvo {

using namespace corvo_internal;

namespace {

std::shared_ptr<HostLoop> makeLoop() { return makeHost({.inMemory = true}).loop; }

TEST(HostLoopTest, RunsUntilStoppedFromAnotherThread) {
  const auto loop = makeLoop();
  std::string order;
  std::thread other([&] {
    loop->post([&] { order += 'a'; });
    loop->post([&] { order += 'b'; });
    loop->post([&] { loop->stop(); });
    loop->post([&] { order += 'c'; });
  });
  loop->run();
  EXPECT_EQ(order, "ab");
  other.join();
  other = std::thread([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));  // the loop is waiting by then
    loop->stop();
  });
  loop->run();
  other.join();
  EXPECT_TRUE(loop->runUntil([&] { return order == "abc"; }));
}

TEST(HostLoopTest, StopEndsTheInnermostRunOrTheNext) {
  const auto loop = makeLoop();
  std::string order;
  loop->stop();
  loop->run();
  loop->post([&] {
    loop->post([&] { loop->stop(); });
    loop->run();
    order += "inner ";
    loop->stop();
  });
  loop->run();
  EXPECT_EQ(order, "inner ");
}

#ifdef __linux__  // where a process can count its descriptors
TEST(HostLoopTest, OpensNothingBeforeItWaits) {
  const auto opened = [] {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
  };
  const auto before = opened();
  const Host host = makeHost({.inMemory = true});
  host.loop->tick();
  host.loop->stop();
  host.loop->run();
  EXPECT_EQ(opened(), before);
}
#endif

TEST(HostLoopTest, BeingWokenBeforeTheFirstWaitEndsIt) {
  host::CurlTransfers transfers({1, 1, 1});
  transfers.wake();
  transfers.wait();
  EXPECT_EQ(transfers.count(), 0U);
}

TEST(HostLoopTest, ATickRunsQueuedTasksAndNotThoseThatTheyPost) {
  const auto loop = makeLoop();
  std::string order;
  loop->post([&] {
    loop->post([&] { order += 'c'; });
    order += 'a';
  });
  loop->post([&] { order += 'b'; });
  EXPECT_TRUE(loop->busy());
  loop->tick();
  EXPECT_EQ(order, "ab");
  EXPECT_TRUE(loop->busy());
  loop->tick();
  EXPECT_EQ(order, "abc");
  EXPECT_FALSE(loop->busy());
  loop->tick();
}

TEST(HostLoopTest, ATaskMayTickAndThenThrow) {
  const auto loop = makeLoop();
  std::string order;
  loop->post([&] {
    loop->tick();
    throw std::runtime_error("the task's own");
  });
  loop->post([&] { order += 'a'; });
  loop->post([&] { order += 'b'; });
  EXPECT_THROW(loop->tick(), std::runtime_error);
  EXPECT_EQ(order, "ab");
}

TEST(HostLoopTest, NotifiesOfTheFirstTaskAndOfEveryTransfer) {
  const Host host = makeHost({.inMemory = true});
  int notifications = 0;
  host.loop->onWork([&] { ++notifications; });
  host.loop->post([] {});
  host.loop->post([] {});
  EXPECT_EQ(notifications, 1);
  host.loop->tick();
  host.loop->post([] {});
  EXPECT_EQ(notifications, 2);
  host.platform.urlSession->start({"GET", "nowhere", {}}, nullptr);
  EXPECT_EQ(notifications, 3);
  host.loop->onWork(nullptr);
  host.loop->tick();
  host.loop->post([] {});
  EXPECT_EQ(notifications, 3);
}

TEST(HostLoopDeathTest, IsForOneThreadAtATime) {
  const auto loop = makeLoop();
  const auto another = [](const std::function<void()>& does) { std::thread(does).join(); };
  bool done = false;
  const std::function<void()> runs[] = {[&] { loop->run(); }, [&] { loop->tick(); },
                                        [&] { loop->runUntil([&] { return done; }); }};
  for (const auto& run : runs) {
    done = false;
    loop->post([&] {
      loop->tick();
      for (const auto& other : runs) {
        EXPECT_DEATH(another(other), "Corvo: the main queue was run by two threads at once");
      }
      done = true;
      another([&] { loop->stop(); });
    });
    run();
    another([&] { loop->tick(); });
    loop->stop();
    loop->run();
  }
}

TEST(HostLoopTest, OutlivesATaskThatReleasesIt) {
  Host host = makeHost({.inMemory = true});
  const std::weak_ptr<HostLoop> loop = host.loop;
  host.loop->post([&] { host = Host(); });
  host.loop->post([] {});
  loop.lock()->tick();
  EXPECT_TRUE(loop.expired());
}

TEST(HostLoopTest, ATickNeverWaitsForATransfer) {
  const tests::LoopbackServer silent;
  Host host = makeHost({.inMemory = true});
  host.platform.urlSession->start({"GET", silent.url("/"), {}}, [](const UrlResponse&) { FAIL(); });
  for (int i = 0; i < 3; ++i) host.loop->tick();
  EXPECT_TRUE(host.loop->busy());
  host.platform.urlSession.reset();
  EXPECT_TRUE(host.loop->runUntil([&] { return !host.loop->busy(); }));
}

}  // namespace
}  // namespace corvo
