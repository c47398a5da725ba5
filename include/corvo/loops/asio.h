// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/answer.h>
#include <corvo/host.h>

#include <asio/any_io_executor.hpp>
#include <asio/async_result.hpp>
#include <asio/awaitable.hpp>
#include <asio/error_code.hpp>
#include <asio/execution_context.hpp>
#include <asio/post.hpp>
#include <asio/redirect_error.hpp>
#include <asio/steady_timer.hpp>
#include <asio/system_error.hpp>
#include <asio/this_coro.hpp>
#include <asio/use_awaitable.hpp>
#include <chrono>
#include <concepts>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>

/// For standalone Asio, 1.18 or newer. After `using namespace corvo;`, write Asio's own namespace
/// with a leading `::`, because `asio` alone is ambiguous then.
namespace corvo::asio {

/// Runs a `HostLoop` on an executor, so that answers arrive in a program that runs an `io_context`.
/// While nothing is under way, there is no timer and no outstanding work: `io_context::run`
/// returns. While a transfer is under way, the loop is ticked every 5 milliseconds.
///
/// Callbacks run on the executor, which must run one handler at a time: the executor of
/// an `io_context` that one thread runs, or a strand. Create clients and ask questions there. A
/// handler may run the `io_context` itself; answers keep arriving, except through a strand. An
/// exception that a callback throws propagates out of `io_context::run`, which may be called again;
/// nothing else is lost.
///
/// A loop has one adapter at a time. Any thread may create and destroy it, even in a callback.
/// Transfers and tasks under way survive its destruction, and continue with the next adapter or
/// with `run`, `tick` or `runUntil`.
class LoopDriver {
 public:
  /// The loop must not be null; it is shared. The executor's context must outlive the adapter.
  LoopDriver(std::shared_ptr<HostLoop> loop, const ::asio::any_io_executor& executor)
      : state_(std::make_shared<State>(std::move(loop), executor)) {
    state_->loop->onWork([state = state_] { state->wake(); });
    if (state_->loop->busy()) state_->wake();
  }
  template <std::derived_from<::asio::execution_context> Context>
  LoopDriver(std::shared_ptr<HostLoop> loop, Context& context)
      : LoopDriver(std::move(loop), context.get_executor()) {}
  LoopDriver(const LoopDriver&) = delete;
  LoopDriver& operator=(const LoopDriver&) = delete;
  ~LoopDriver() {
    state_->loop->onWork(nullptr);
    state_->end();
  }

 private:
  // Outlives the adapter if a step destroys it, or while another thread is calling `wake`.
  struct State : std::enable_shared_from_this<State> {
    State(std::shared_ptr<HostLoop> shared, const ::asio::any_io_executor& executor)
        : loop(std::move(shared)), timer(std::in_place, executor) {}

    /// Any thread.
    void wake() {
      const std::lock_guard lock(mutex);
      if (!timer) return;
      ::asio::post(timer->get_executor(), [weak = weak_from_this()] {
        if (const auto state = weak.lock()) state->step();
      });
    }

    // Starts the timer before the tick, because the tick may throw, or run handlers.
    void step() {
      if (!startTimer()) return;
      loop->tick();
      const std::lock_guard lock(mutex);
      if (timer && !loop->busy()) timer->cancel();
    }

    bool startTimer() {
      const std::lock_guard lock(mutex);
      if (!timer) return false;
      timer->expires_after(kInterval);
      timer->async_wait([weak = weak_from_this()](const ::asio::error_code& error) {
        const auto state = error ? nullptr : weak.lock();
        if (state) state->step();
      });
      return true;
    }

    void end() {
      const std::lock_guard lock(mutex);
      timer.reset();
    }

    const std::shared_ptr<HostLoop> loop;
    std::mutex mutex;
    std::optional<::asio::steady_timer> timer;  // guarded; empty once the adapter is gone
  };
  static constexpr std::chrono::milliseconds kInterval{5};

  std::shared_ptr<State> state_;
};

}  // namespace corvo::asio

#ifdef ASIO_HAS_CO_AWAIT

namespace corvo::corvo_internal {

/// A coroutine's wait for an answer: a timer that expires when the question ends, on any thread.
/// This makes the wait an operation like Asio's own: it is outstanding work, can be cancelled,
/// completes on the coroutine's executor, and is freed with its context.
class AsioWait {
 public:
  explicit AsioWait(const ::asio::any_io_executor& executor)
      : state_(std::make_shared<State>(executor)) {}
  AsioWait(const AsioWait&) = delete;
  AsioWait& operator=(const AsioWait&) = delete;
  ~AsioWait() {
    const std::lock_guard lock(state_->mutex);
    state_->timer.reset();
  }

  /// Returns a function that ends the current or the next wait. It may outlive this object.
  [[nodiscard]] auto ender() const {
    return [state = state_] {
      const std::lock_guard lock(state->mutex);
      state->hasEnded = true;
      if (state->timer) state->timer->expires_after({});
    };
  }

  template <class Token>
  auto wait(Token&& token) {
    return ::asio::async_initiate<Token, void(::asio::error_code)>(
        [state = state_](auto handler) {
          const std::lock_guard lock(state->mutex);
          state->timer->async_wait(std::move(handler));
        },
        token);
  }

  /// Whether the question has ended. If it has not, a wait that is over was cancelled.
  [[nodiscard]] bool hasEnded() const {
    const std::lock_guard lock(state_->mutex);
    return state_->hasEnded;
  }

 private:
  struct State {
    explicit State(const ::asio::any_io_executor& executor)
        : timer(std::in_place, executor, ::asio::steady_timer::time_point::max()) {}

    std::mutex mutex;
    std::optional<::asio::steady_timer> timer;  // guarded; empty once nobody can wait any more
    bool hasEnded = false;                      // guarded
  };

  std::shared_ptr<State> state_;
};

}  // namespace corvo::corvo_internal

namespace corvo::asio {

/// The answer, for a coroutine of type `asio::awaitable`:
///
///     std::optional<bool> on = co_await corvo::asio::await(client->checkFlag<bool>("on"));
///
/// The coroutine continues on its own executor, whichever thread brings the answer. If the answer
/// is already there, the coroutine does not suspend. Throws the question's `CorvoError`;
/// `QuestionDropped` if no answer will come because the client or its session was released, or if
/// the answer was already taken; and `asio::system_error` with `operation_aborted` if the wait is
/// cancelled. The question itself cannot be cancelled; its answer is then discarded.
///
/// While the coroutine waits, `io_context::run` does not return, so keep the adapter alive that
/// long. A context that is destroyed first frees the waiting coroutine, as usual.
template <class T>
[[nodiscard]] ::asio::awaitable<T> await(Answer<T> answer) {
  if (!answer.await_ready()) {
    corvo_internal::AsioWait waiting(co_await ::asio::this_coro::executor);
    corvo_internal::AnswerEnd::notify(answer, waiting.ender());
    ::asio::error_code cancelled;
    co_await waiting.wait(::asio::redirect_error(::asio::use_awaitable, cancelled));
    if (!waiting.hasEnded()) throw ::asio::system_error(cancelled);
  }
  co_return answer.await_resume();
}

}  // namespace corvo::asio

#endif
