// SPDX-License-Identifier: Apache-2.0

#include <corvo/loops/asio.h>

#include <asio/executor_work_guard.hpp>
#include <asio/io_context.hpp>
#include <stdexcept>

#ifdef ASIO_HAS_CO_AWAIT
#include <asio/bind_cancellation_slot.hpp>
#include <asio/cancellation_signal.hpp>
#include <asio/co_spawn.hpp>
#include <asio/thread_pool.hpp>
#endif

#include "tests/loops/driven_loop.h"

namespace corvo::tests {
namespace {

/// An `io_context` that one thread runs.
class AsioLoop : public AppLoop {
 public:
  std::shared_ptr<void> drive(std::shared_ptr<HostLoop> other) override {
    return std::make_shared<asio::LoopDriver>(std::move(other), context);
  }
  void once() override {
    const auto stays = ::asio::make_work_guard(context);
    context.restart();
    context.run_one();
  }
  void settle() override {
    context.restart();
    context.poll();
  }
  bool isArmed() override {
    settle();
    return !context.stopped();  // it stops as soon as it has nothing to wait for
  }

  ::asio::io_context context;
};

class AsioTest : public DrivenLoop {
 protected:
  ::asio::io_context& context = dynamic_cast<AsioLoop&>(*loop).context;
};

TEST_F(AsioTest, AnExceptionPropagatesOutOfRunWhichMayBeCalledAgain) {
  const auto client = makeClient();
  bool done = false;
  host.loop->post([] { throw std::runtime_error("the task's own"); });
  host.loop->post(
      [&] { client->checkFlag<bool>("on", [&](std::optional<bool>) { done = true; }); });
  EXPECT_THROW(context.run(), std::runtime_error);
  EXPECT_FALSE(done);
  context.run();
  EXPECT_TRUE(done);
}

#ifdef ASIO_HAS_CO_AWAIT

class AsioAwaitTest : public AsioTest {
 protected:
  using On = std::optional<bool>;

  /// Records the result of awaiting the answer, and the thread.
  ::asio::awaitable<void> note(Answer<On> answer) {
    const std::shared_ptr<void> noticed(nullptr, [this](void*) { ++freed; });
    try {
      const On on = co_await asio::await(std::move(answer));
      seen += on == true ? "on" : "off";
    } catch (const CorvoError&) {
      seen += "error";
    } catch (const QuestionDropped&) {
      seen += "dropped";
    } catch (const ::asio::system_error& error) {
      seen += error.code() == ::asio::error::operation_aborted ? "cancelled" : "?";
    }
    thread = std::this_thread::get_id();
  }
  template <class Executor>
  void start(Executor& executor, Answer<On> answer) {
    ::asio::co_spawn(executor, note(std::move(answer)), [](std::exception_ptr) {});
  }

  std::string seen;
  int freed = 0;
  std::thread::id thread;
  std::shared_ptr<CorvoClient> client = makeClient();
};

TEST_F(AsioAwaitTest, GivesTheAnswerOrTheErrorAndThenRunEnds) {
  start(context, client->checkFlag<bool>("on"));
  start(context, makeClient("broken")->checkFlag<bool>("on"));
  context.run();
  EXPECT_TRUE(seen == "onerror" || seen == "erroron") << seen;
  EXPECT_EQ(freed, 2);
}

TEST_F(AsioAwaitTest, DoesNotSuspendForAnAnswerThatIsThere) {
  adapter.reset();
  client->checkFlag<bool>("on").get();
  const auto askThousands = [](CorvoClient& asked, int& count) -> ::asio::awaitable<void> {
    for (int i = 0; i < 10'000; ++i) count += *co_await asio::await(asked.checkFlag<bool>("on"));
    try {
      co_await asio::await(asked.excludeForceAll());
    } catch (const CorvoError&) {
      ++count;
    }
  };
  int count = 0;
  ::asio::co_spawn(context, askThousands(*client, count), [](std::exception_ptr) {});
  EXPECT_LT(context.run(), 5U) << "handlers: those of co_spawn";
  EXPECT_EQ(count, 10'001);
}

// In these tests, the coroutines' context does not drive the loop, so they must wait.
TEST_F(AsioAwaitTest, EndsWithADroppedQuestion) {
  ::asio::io_context other;
  auto answer = client->checkFlag<bool>("on");
  auto early = client->checkFlag<bool>("on");
  start(other, std::move(answer));
  other.poll();
  registry.removeClient("token");
  client.reset();
  context.run();
  start(other, std::move(early));
  start(other, std::move(answer));
  other.run();
  EXPECT_EQ(seen, "droppeddroppeddropped");
  EXPECT_EQ(freed, 3);
}

TEST_F(AsioAwaitTest, CanBeCancelledAndThenTheAnswerIsDiscarded) {
  ::asio::io_context other;
  ::asio::cancellation_signal cancel;
  ::asio::co_spawn(other, note(client->checkFlag<bool>("on")),
                   ::asio::bind_cancellation_slot(cancel.slot(), [](std::exception_ptr) {}));
  other.poll();
  cancel.emit(::asio::cancellation_type::terminal);
  other.run();
  context.run();
  EXPECT_EQ(seen, "cancelled");
  EXPECT_EQ(freed, 1);
}

TEST_F(AsioAwaitTest, IsFreedWithItsContextAndTheAnswerMayStillCome) {
  for (const bool comes : {true, false}) {
    auto other = std::make_unique<::asio::io_context>();
    auto asked = makeClient(comes ? "a" : "b");
    start(*other, asked->checkFlag<bool>("on"));
    other->poll();
    other.reset();
    EXPECT_EQ(freed, comes ? 1 : 2);
    if (!comes) {
      registry.removeClient("b");
      asked.reset();
    }
    context.restart();
    context.run();
  }
  EXPECT_EQ(seen, "");
}

TEST_F(AsioAwaitTest, ContinuesOnItsOwnExecutor) {
  for (int i = 0; i < 5; ++i) {
    ::asio::thread_pool pool(1);
    const auto asked = makeClient(std::to_string(i));
    start(pool, asked->checkFlag<bool>("on"));
    context.restart();
    context.run();
    pool.join();
    EXPECT_NE(thread, std::this_thread::get_id());
    EXPECT_EQ(std::exchange(seen, ""), "on");
  }
}

#endif

}  // namespace

std::unique_ptr<AppLoop> makeAppLoop() { return std::make_unique<AsioLoop>(); }

}  // namespace corvo::tests
