// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/host.h>

#include <QCoreApplication>
#include <QMetaObject>
#include <QObject>
#include <QTimer>
#include <memory>
#include <mutex>
#include <utility>

namespace corvo::qt {

/// Runs a `HostLoop` from Qt's event loop, so that answers arrive in a Qt program. While nothing is
/// under way, no timer runs and the event loop is not woken. While a transfer is under way, the
/// loop is ticked every 5 milliseconds.
///
/// Callbacks run on the thread of the context object, which is then the thread that runs the loop:
/// create clients and ask questions there. A callback may run an event loop, as a dialog does;
/// answers keep arriving. A callback must not let an exception escape: Qt's event loop does not
/// support exceptions, so `std::terminate` ends the process.
///
/// A loop has one adapter at a time. Create and destroy it on the thread of the context object; a
/// callback may do so, too. Transfers and tasks under way survive its destruction, and continue
/// with the next adapter or with `run`, `tick` or `runUntil`. For Qt 6; also compiles with Qt 5.15.
/// Needs Qt Core.
class LoopDriver {
 public:
  /// The loop must not be null; it is shared. The context object must outlive the adapter.
  explicit LoopDriver(std::shared_ptr<HostLoop> loop,
                      QObject* context = QCoreApplication::instance())
      : state_(std::make_shared<State>(std::move(loop), context)) {
    QObject::connect(state_->timer, &QTimer::timeout, state_->timer,
                     [weak = std::weak_ptr(state_)] {
                       if (const auto state = weak.lock()) state->step();
                     });
    state_->loop->onWork([state = state_] { state->wake(); });
    if (state_->loop->busy()) state_->wake();
  }
  LoopDriver(const LoopDriver&) = delete;
  LoopDriver& operator=(const LoopDriver&) = delete;
  ~LoopDriver() {
    state_->loop->onWork(nullptr);
    state_->end();
  }

 private:
  // Outlives the adapter if a step destroys it, or while another thread is calling `wake`.
  struct State {
    State(std::shared_ptr<HostLoop> shared, QObject* context)
        : loop(std::move(shared)), timer(new QTimer(context)) {}

    /// Any thread.
    void wake() {
      const std::lock_guard lock(mutex);
      if (timer == nullptr) return;
      QMetaObject::invokeMethod(timer, "start", Qt::QueuedConnection, Q_ARG(int, 0));
    }

    void step() noexcept {
      timer->start(kIntervalMilliseconds);  // before the tick, which may run event loops
      loop->tick();
      if (timer != nullptr && !loop->busy()) timer->stop();
    }

    // Deletes the timer later, because it may be the caller.
    void end() {
      const std::lock_guard lock(mutex);
      timer->stop();
      timer->disconnect();
      QCoreApplication::removePostedEvents(timer);
      std::exchange(timer, nullptr)->deleteLater();
    }

    const std::shared_ptr<HostLoop> loop;
    std::mutex mutex;
    QTimer* timer;  // changed under the mutex; null once the adapter is gone
  };
  static constexpr int kIntervalMilliseconds = 5;

  std::shared_ptr<State> state_;
};

}  // namespace corvo::qt
