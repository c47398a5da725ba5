// SPDX-License-Identifier: Apache-2.0

#include <corvo/loops/qt.h>

#include <QEventLoop>
#include <algorithm>
#include <stdexcept>

#include "tests/loops/driven_loop.h"

namespace corvo::tests {
namespace {

/// The event loop of a Qt program.
class QtLoop : public AppLoop {
 public:
  std::shared_ptr<void> drive(std::shared_ptr<HostLoop> other) override {
    return std::make_shared<qt::LoopDriver>(std::move(other));
  }
  void once() override { QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents); }
  void settle() override {
    for (int i = 0; i < 3; ++i) {  // a posted event starts a timer of 0 ms
      QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
      QCoreApplication::processEvents();
    }
  }
  bool isArmed() override {
    QCoreApplication::sendPostedEvents();
    const auto timers = application_.findChildren<QTimer*>();
    return std::any_of(timers.begin(), timers.end(), [](auto* timer) { return timer->isActive(); });
  }

 private:
  static inline char name_[] = "qt_test";
  static inline char* arguments_[] = {name_, nullptr};
  static inline int count_ = 1;
  QCoreApplication application_{count_, arguments_};
};

using QtDeathTest = DrivenLoop;

TEST_F(QtDeathTest, AnExceptionEndsTheProcess) {
  host.loop->post([] { throw std::runtime_error("the task's own"); });
  EXPECT_DEATH(loop->settle(), "the task's own");
}

}  // namespace

std::unique_ptr<AppLoop> makeAppLoop() { return std::make_unique<QtLoop>(); }

}  // namespace corvo::tests
