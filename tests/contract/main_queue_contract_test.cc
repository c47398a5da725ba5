// SPDX-License-Identifier: Apache-2.0

#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "tests/contract/implementations.h"

namespace corvo {
namespace {

struct FakeQueue {
  static std::shared_ptr<MainQueue> make() { return std::make_shared<fakes::VirtualTime>(); }
};
struct HostQueue {
#ifdef CORVO_TEST_HOST
  static std::shared_ptr<MainQueue> make() { return makeHost({.inMemory = true}).loop; }
#endif
};

template <class Implementation>
class MainQueueContract : public testing::Test {
 protected:
  /// A task that records its name.
  Callback<void()> note(char name) {
    return [this, name] { order_ += name; };
  }
  bool runUntil(const std::string& order) {
    return queue_->runUntil([&] { return order_ == order; });
  }

  const std::shared_ptr<MainQueue> queue_ = Implementation::make();
  std::string order_;
};
using QueueImplementations = tests::Implementations<FakeQueue, HostQueue>;
TYPED_TEST_SUITE(MainQueueContract, QueueImplementations);

TYPED_TEST(MainQueueContract, RunsTasksLaterAndInOrder) {
  this->queue_->post([this] {
    this->queue_->post(this->note('c'));
    this->order_ += 'a';
  });
  this->queue_->post(this->note('b'));
  EXPECT_EQ(this->order_, "");
  EXPECT_TRUE(this->runUntil("abc"));
}

TYPED_TEST(MainQueueContract, TestsTheConditionBeforeEachTask) {
  for (const char name : {'a', 'b', 'c'}) this->queue_->post(this->note(name));
  EXPECT_TRUE(this->runUntil(""));
  EXPECT_TRUE(this->runUntil("ab"));
  EXPECT_EQ(this->order_, "ab");
}

TYPED_TEST(MainQueueContract, AnswersFalseWhenNothingCanComeAnyMore) {
  EXPECT_FALSE(this->runUntil("a"));
  this->queue_->post(nullptr);
  this->queue_->post(this->note('b'));
  EXPECT_FALSE(this->runUntil("a"));
  EXPECT_EQ(this->order_, "b");
}

TYPED_TEST(MainQueueContract, RunsNest) {
  this->queue_->post([this] {
    EXPECT_TRUE(this->runUntil("b"));
    EXPECT_FALSE(this->runUntil("never"));
    this->order_ += 'a';
  });
  this->queue_->post(this->note('b'));
  this->queue_->post(this->note('c'));
  EXPECT_TRUE(this->runUntil("bca"));
}

TYPED_TEST(MainQueueContract, AnExceptionLeavesAndTheOtherTasksStay) {
  this->queue_->post([] { throw std::runtime_error("the task's own"); });
  this->queue_->post(this->note('a'));
  EXPECT_THROW(this->runUntil("a"), std::runtime_error);
  EXPECT_EQ(this->order_, "");
  EXPECT_TRUE(this->runUntil("a"));
}

TYPED_TEST(MainQueueContract, TakesTasksFromAnyThread) {
  int done = 0;
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      for (int j = 0; j < 100; ++j) this->queue_->post([&done] { ++done; });
    });
  }
  this->queue_->runUntil([&] { return done > 50; });
  for (std::thread& thread : threads) thread.join();
  EXPECT_FALSE(this->queue_->runUntil([] { return false; }));
  EXPECT_EQ(done, 400);
}

TYPED_TEST(MainQueueContract, TasksThatNeverRunAreFreed) {
  const auto held = std::make_shared<int>();
  {
    const std::shared_ptr<MainQueue> queue = TypeParam::make();
    queue->post([held] {});
    EXPECT_EQ(held.use_count(), 2);
  }
  EXPECT_EQ(held.use_count(), 1);
}

}  // namespace
}  // namespace corvo
