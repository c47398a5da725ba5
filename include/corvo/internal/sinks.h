#pragma once

#include <corvo/answer_sink.h>
#include <corvo/callback.h>
#include <corvo/error.h>
#include <corvo/internal/pending_outcome.h>
#include <corvo/property.h>

#include <concepts>
#include <memory>
#include <type_traits>
#include <utility>
#include <variant>

// The two sinks from which the two forms of every question are made. `Received` is what the client
// answers, `Value` what the application asked for: the text of a flag, and an optional boolean.

namespace corvo::corvo_internal {

/// Puts the value into an optional, converted to the type that the application asked for.
template <class Value, class Received>
void keepIn(std::optional<Value>& kept, Received&& received) {
  if constexpr (std::same_as<Received, Value>) {
    kept.emplace(std::move(received));
  } else {
    kept.emplace(fromCorvoString<typename Value::value_type>(received));
  }
}

/// The callback that takes a value.
template <class Value>
struct OnValueOf {
  using Type = Callback<void(Value)>;
};
template <>
struct OnValueOf<Done> {
  using Type = Callback<void()>;
};
template <class Value>
using OnValue = typename OnValueOf<Value>::Type;

/// The callback form. Refers to the asker's callbacks until it is detached.
template <class Received, class Value = Received>
class CallbackSink : public KeepingSink<Received, Value> {
 public:
  CallbackSink(OnValue<Value>& onSuccess, OnError& onError)
      : onSuccess_(onSuccess), onError_(onError) {}

  void deliver() final {
    if (const CorvoError* error = std::get_if<2>(&this->outcome_)) return onError_(*error);
    if constexpr (std::same_as<Value, Done>) {
      onSuccess_();
    } else {
      onSuccess_(std::get<1>(std::move(this->outcome_)));
    }
  }
  std::unique_ptr<AnswerSink<Received>> detach() final { return std::make_unique<Detached>(*this); }

 private:
  struct Callbacks {
    OnValue<Value> onSuccess;
    OnError onError;
  };
  struct Detached;

  OnValue<Value>& onSuccess_;
  OnError& onError_;
};

// The callbacks come first: the sink refers to them.
template <class Received, class Value>
struct CallbackSink<Received, Value>::Detached final : private Callbacks, CallbackSink {
  explicit Detached(CallbackSink& asker)
      : Callbacks{std::move(asker.onSuccess_), std::move(asker.onError_)},
        CallbackSink(Callbacks::onSuccess, Callbacks::onError) {}
};

template <class Value>
CallbackSink(Callback<void(Value)>&, OnError&) -> CallbackSink<Value>;
CallbackSink(Callback<void()>&, OnError&)->CallbackSink<Done>;

/// The suspending form. An answer that comes at once is kept here, so that it costs no allocation;
/// for a later one the detached sink shares a state with the `Answer`.
template <class Received, class Value = Received>
class SuspendingSink final : public KeepingSink<Received, Value> {
 public:
  SuspendingSink() = default;
  ~SuspendingSink() override {
    if (pending_) pending_->drop();
  }

  void deliver() override {
    if (pending_) pending_->settle(std::move(this->outcome_));
  }
  std::unique_ptr<AnswerSink<Received>> detach() override {
    auto detached = std::make_unique<SuspendingSink>();
    if (!pending_) pending_ = std::make_shared<PendingOutcome<Value>>();
    detached->pending_ = pending_;
    return detached;
  }

  /// What has been kept, or the state through which it will come.
  Outcome<Value> takeOutcome() { return std::move(this->outcome_); }
  std::shared_ptr<PendingOutcome<Value>> takePending() { return std::move(pending_); }

 private:
  std::shared_ptr<PendingOutcome<Value>> pending_;
};

}  // namespace corvo::corvo_internal
