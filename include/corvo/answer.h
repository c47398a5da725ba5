#pragma once

#include <corvo/callback.h>
#include <corvo/error.h>
#include <corvo/export.h>
#include <corvo/platform/main_queue.h>

#include <coroutine>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <type_traits>
#include <utility>
#include <variant>

namespace corvo {

/// Thrown by `Answer::get` when no answer will come: the client was released, nothing that could
/// bring the answer is under way any more, or the answer has been taken already.
class CORVO_TYPE QuestionDropped : public std::logic_error {
 public:
  QuestionDropped() : std::logic_error("the question was dropped: no answer can come any more") {}
};

namespace client {

/// What a question came to: nothing yet, its value, or its error.
template <class T>
using Outcome = std::variant<std::monostate,
                             std::conditional_t<std::is_void_v<T>, std::true_type, T>, CorvoError>;

/// The state that a pending answer shares with the callbacks that will settle it. Synchronised: the
/// answer may be awaited on another thread than the one that brings it.
template <class T>
class PendingOutcome {
 public:
  void settle(Outcome<T> outcome) {
    std::unique_lock lock(mutex_);
    outcome_ = std::move(outcome);
    const std::coroutine_handle<> waiting = std::exchange(waiting_, nullptr);
    lock.unlock();
    if (waiting) waiting.resume();
  }

  /// Lets the coroutine wait; false when the answer is in, so that there is nothing to wait for.
  bool wait(std::coroutine_handle<> coroutine) {
    const std::lock_guard lock(mutex_);
    if (outcome_.index() != 0) return false;
    waiting_ = coroutine;
    return true;
  }

  void stopWaiting() {
    const std::lock_guard lock(mutex_);
    waiting_ = nullptr;
  }

  bool settled() const {
    const std::lock_guard lock(mutex_);
    return outcome_.index() != 0;
  }

  Outcome<T> take() {
    const std::lock_guard lock(mutex_);
    return std::exchange(outcome_, {});
  }

 private:
  mutable std::mutex mutex_;
  Outcome<T> outcome_;
  std::coroutine_handle<> waiting_;
};

template <class T>
class ValueReceiver;
template <class T>
class ErrorReceiver;

/// The callback that takes the value of a question.
template <class T>
struct OnValueOf {
  using Type = Callback<void(T)>;
};
template <>
struct OnValueOf<void> {
  using Type = Callback<void()>;
};

/// Where the two callbacks of a suspending form deliver: this place on the asker's stack, as long
/// as they are not moved. To wait for an answer a client must move them away; that move, or better
/// the preparation for it, makes the shared state. So an answer that comes at once costs no
/// allocation.
template <class T>
struct Mailbox {
  Outcome<T> outcome;
  std::shared_ptr<PendingOutcome<T>> pending;

  /// The callbacks, each to be passed on as it is made.
  typename OnValueOf<T>::Type onValue() { return {std::in_place_type<ValueReceiver<T>>, *this}; }
  OnError onError() { return {std::in_place_type<ErrorReceiver<T>>, *this}; }

  const std::shared_ptr<PendingOutcome<T>>& share() {
    if (!pending) pending = std::make_shared<PendingOutcome<T>>();
    return pending;
  }
};

/// The target of such a callback.
template <class T>
class Receiver {
 public:
  explicit Receiver(Mailbox<T>& mailbox) : mailbox_(&mailbox) {}
  /// Makes the shared state, for which there may be no memory.
  void prepareToMove() {
    if (mailbox_) mailbox_->share();
  }
  Receiver(Receiver&& other) noexcept
      : pending_(other.mailbox_ ? other.mailbox_->share() : std::move(other.pending_)) {
    other.mailbox_ = nullptr;
  }
  Receiver(Receiver&& other, MovedToBeCalled) noexcept
      : mailbox_(other.mailbox_), pending_(std::move(other.pending_)) {}

 protected:
  void deliver(Outcome<T> outcome) {
    if (mailbox_) {
      mailbox_->outcome = std::move(outcome);
    } else if (pending_) {
      pending_->settle(std::move(outcome));
    }
  }

 private:
  Mailbox<T>* mailbox_ = nullptr;
  std::shared_ptr<PendingOutcome<T>> pending_;
};

template <class T>
class ValueReceiver : public Receiver<T> {
 public:
  using Receiver<T>::Receiver;
  void operator()(T value) { this->deliver(Outcome<T>(std::in_place_index<1>, std::move(value))); }
};
template <>
class ValueReceiver<void> : public Receiver<void> {
 public:
  using Receiver<void>::Receiver;
  void operator()() { this->deliver(Outcome<void>(std::in_place_index<1>)); }
};

template <class T>
class ErrorReceiver : public Receiver<T> {
 public:
  using Receiver<T>::Receiver;
  void operator()(const CorvoError& error) {
    this->deliver(Outcome<T>(std::in_place_index<2>, error));
  }
};

}  // namespace client

/// What a suspending form returns. The question has been asked when the answer is made; where fresh
/// copies sufficed, the answer already lies in it, with no allocation, and awaiting it does not
/// suspend. An awaitable for coroutines of any kind: the coroutine goes on where the callback of
/// the other form would have run. Move-only; to be awaited, or got, once: afterwards, and once it
/// has been moved away, it throws `QuestionDropped` at once.
///
/// A question that is dropped never resumes the coroutine, which stays its owner's to destroy.
template <class T>
class [[nodiscard]] Answer {
 public:
  /// Used by clients: whatever is in the mailbox, and the queue on which a pending answer comes.
  Answer(client::Mailbox<T>&& mailbox, std::shared_ptr<MainQueue> queue)
      : outcome_(std::move(mailbox.outcome)),
        pending_(std::move(mailbox.pending)),
        queue_(std::move(queue)) {}
  Answer(Answer&& other) noexcept
      : outcome_(std::exchange(other.outcome_, {})),
        pending_(std::move(other.pending_)),
        queue_(std::move(other.queue_)) {}
  Answer& operator=(Answer&&) = delete;
  ~Answer() {
    if (pending_) pending_->stopWaiting();
  }

  [[nodiscard]] bool await_ready() const { return !pending_ || pending_->settled(); }
  bool await_suspend(std::coroutine_handle<> coroutine) { return pending_->wait(coroutine); }
  T await_resume() { return take(); }

  /// Waits for the answer by running the main queue on this thread. The queue must know of the
  /// session's requests, as the host's and the fakes' do, or it cannot tell that there is something
  /// to wait for. Throws the question's `CorvoError`; `QuestionDropped` when no answer can come any
  /// more; and whatever a task of the queue throws.
  T get() {
    if (pending_ && queue_) {
      queue_->runUntil([this] { return pending_->settled() || pending_.use_count() == 1; });
    }
    return take();
  }

 private:
  T take() {
    // Nothing is left behind: to take it again is to take what was dropped.
    const auto pending = std::move(pending_);
    client::Outcome<T> outcome = pending ? pending->take() : std::exchange(outcome_, {});
    if (auto* error = std::get_if<2>(&outcome)) throw std::move(*error);
    if (outcome.index() == 0) throw QuestionDropped();
    if constexpr (!std::is_void_v<T>) return std::get<1>(std::move(outcome));
  }

  client::Outcome<T> outcome_;
  std::shared_ptr<client::PendingOutcome<T>> pending_;
  std::shared_ptr<MainQueue> queue_;
};

}  // namespace corvo
