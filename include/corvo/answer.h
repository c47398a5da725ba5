// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/answer_sink.h>
#include <corvo/callback.h>
#include <corvo/error.h>
#include <corvo/export.h>
#include <corvo/internal/pending_outcome.h>
#include <corvo/internal/value_or.h>
#include <corvo/platform/main_queue.h>

#include <coroutine>
#include <cstddef>
#include <memory>
#include <stdexcept>
#include <type_traits>
#include <utility>
#include <variant>

namespace corvo {

namespace corvo_internal {
struct AnswerEnd;
}  // namespace corvo_internal

/// Thrown by `Answer::get` if no answer will come: the client was released, nothing that could
/// bring the answer is under way any more, or the answer has already been taken.
class CORVO_TYPE QuestionDropped : public std::logic_error {
 public:
  QuestionDropped() : std::logic_error("the question was dropped: no answer can come any more") {}
};

/// The result of a suspending form. The question has already been asked. If the cached copies were
/// fresh, the object contains the answer, without an allocation, and awaiting it does not suspend.
/// Any coroutine type that accepts foreign awaitables can await it; the coroutine resumes where the
/// callback of the other form would have run. `asio::awaitable` accepts none; `corvo/loops/asio.h`
/// has an adapter. Move-only. Await it, or call `get`, once: a second time, or after it was moved
/// from, it immediately throws `QuestionDropped`.
///
/// A dropped question never resumes the coroutine; the coroutine's owner must destroy it.
template <class T>
class [[nodiscard]] Answer {
  using Value = std::conditional_t<std::is_void_v<T>, Done, T>;
  using Outcome = corvo_internal::Outcome<Value>;
  using PendingOutcome = corvo_internal::PendingOutcome<Value>;

 public:
  Answer(Answer&& other) noexcept
      : outcome_(std::exchange(other.outcome_, {})),
        pending_(std::move(other.pending_)),
        queue_(std::move(other.queue_)) {}
  Answer& operator=(Answer&&) = delete;
  ~Answer() {
    if (pending_) pending_->stopWaiting();
  }

  /// Whether `get` would return or throw without waiting.
  [[nodiscard]] bool ready() const { return !pending_ || pending_->hasEnded(); }

  /// What `co_await` calls.
  [[nodiscard]] bool await_ready() const { return !pending_ || pending_->isSettled(); }
  bool await_suspend(std::coroutine_handle<> coroutine) { return pending_->wait(coroutine); }
  T await_resume() { return take(); }

  /// Waits for the answer by running the main queue on this thread. The queue must know of the
  /// session's requests, as the host's and the fakes' queues do; otherwise it cannot tell that an
  /// answer is still coming. Throws the question's `CorvoError`, `QuestionDropped` if no answer can
  /// come any more, and whatever a task on the queue throws.
  T get() {
    wait();
    return take();
  }

  /// Waits in the same way. Returns the value, or the default if the value is absent, the question
  /// failed, or no answer can come any more. Throws only what a task on the queue throws.
  template <corvo_internal::DefaultFor<T> Default>
  corvo_internal::Present<T> valueOr(Default&& otherwise) {
    wait();
    settle();
    Outcome outcome = std::exchange(outcome_, {});
    return corvo_internal::valueOr(std::get_if<1>(&outcome), std::forward<Default>(otherwise));
  }

 private:
  friend class CorvoClient;
  friend struct corvo_internal::AnswerEnd;

  Answer() = default;

  void wait() {
    if (!ready() && queue_) queue_->runUntil([this] { return ready(); });
  }

  void settle() {
    if (const auto pending = std::move(pending_)) outcome_ = pending->take();
  }

  T take() {
    settle();
    if (outcome_.index() == 2) throw taken<2>();
    if (outcome_.index() == 0) throw QuestionDropped();
    return static_cast<T>(taken<1>());
  }

  // Leaves nothing behind: taking the answer again throws `QuestionDropped`.
  template <std::size_t which>
  auto taken() {
    auto kept = std::move(*std::get_if<which>(&outcome_));
    outcome_.template emplace<0>();
    return kept;
  }

  Outcome outcome_;
  std::shared_ptr<PendingOutcome> pending_;  // through which a later outcome comes
  std::shared_ptr<MainQueue> queue_;
};

/// For adapters to other kinds of coroutines, which must notice when a question is dropped.
struct corvo_internal::AnswerEnd {
  /// See `PendingOutcome::onEnd`. The answer must be pending: `await_ready` returned false.
  template <class T>
  static void notify(Answer<T>& answer, Callback<void()> onEnd) {
    answer.pending_->onEnd(std::move(onEnd));
  }
};

}  // namespace corvo
