// SPDX-License-Identifier: Apache-2.0

#include <corvo/loops/glib.h>

#include <stdexcept>

#include "tests/loops/driven_loop.h"

namespace corvo::tests {
namespace {

/// A main context other than the default one.
class GlibLoop : public AppLoop {
 public:
  GlibLoop() = default;
  GlibLoop(const GlibLoop&) = delete;
  GlibLoop& operator=(const GlibLoop&) = delete;
  ~GlibLoop() override { g_main_context_unref(context_); }

  std::shared_ptr<void> drive(std::shared_ptr<HostLoop> other) override {
    return std::make_shared<glib::LoopSource>(std::move(other), context_);
  }
  void once() override { g_main_context_iteration(context_, TRUE); }
  void settle() override {
    while (g_main_context_iteration(context_, FALSE) != FALSE) continue;
  }
  bool isArmed() override {
    int priority = 0;
    int milliseconds = -1;
    GPollFD polled[8];
    g_main_context_acquire(context_);
    const bool isReady = g_main_context_prepare(context_, &priority) != FALSE;
    g_main_context_query(context_, priority, &milliseconds, polled, 8);
    g_main_context_release(context_);
    return isReady || milliseconds >= 0;
  }

 private:
  GMainContext* const context_ = g_main_context_new();
};

using GlibDeathTest = DrivenLoop;

TEST_F(GlibDeathTest, AnExceptionEndsTheProcess) {
  host.loop->post([] { throw std::runtime_error("the task's own"); });
  EXPECT_DEATH(loop->settle(), "the task's own");
}

TEST(GlibDefaultContextTest, IsUsedIfNoneIsGiven) {
  const Host host = makeHost({.inMemory = true});
  const glib::LoopSource source(host.loop);
  bool done = false;
  host.loop->post([&] { done = true; });
  g_main_context_iteration(nullptr, TRUE);
  EXPECT_TRUE(done);
}

}  // namespace

std::unique_ptr<AppLoop> makeAppLoop() { return std::make_unique<GlibLoop>(); }

}  // namespace corvo::tests
