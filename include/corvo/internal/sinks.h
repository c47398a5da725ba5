// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/answer_sink.h>
#include <corvo/callback.h>
#include <corvo/error.h>
#include <corvo/internal/pending_outcome.h>
#include <corvo/property.h>

#include <concepts>
#include <memory>
#include <optional>
#include <utility>

// The sinks behind the two forms of every question. `Received` is the type of the client's answer,
// `Value` the type that the application requested: for example a flag's text, and an optional
// boolean.

namespace corvo::corvo_internal {

/// Converts the client's answer to the requested type.
template <class Value, class Received>
Value valueOf(Received& received) {
  if constexpr (std::same_as<Received, Value>) {
    return std::move(received);
  } else {
    return fromCorvoString<typename Value::value_type>(received);
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

/// The callback form. Refers to the caller's callbacks until it is detached.
template <class Received, class Value = Received>
class CallbackSink : public AnswerSink<Received> {
 public:
  CallbackSink(OnValue<Value>& onSuccess, OnError& onError)
      : onSuccess_(onSuccess), onError_(onError) {}

  void keepValue(Received value) final { value_.emplace(valueOf<Value>(value)); }
  void deliver() final {
    if constexpr (std::same_as<Value, Done>) {
      onSuccess_();
    } else {
      onSuccess_(*std::move(value_));
    }
  }
  void onError(CorvoError&& error) final { onError_(error); }
  std::unique_ptr<AnswerSink<Received>> detach() final { return std::make_unique<Detached>(*this); }

 private:
  struct Callbacks {
    OnValue<Value> onSuccess;
    OnError onError;
  };
  struct Detached;

  OnValue<Value>& onSuccess_;
  OnError& onError_;
  std::optional<Value> value_;
};

// The callbacks come first, because the sink refers to them.
template <class Received, class Value>
struct CallbackSink<Received, Value>::Detached final : private Callbacks, CallbackSink {
  explicit Detached(CallbackSink& asker)
      : Callbacks{std::move(asker.onSuccess_), std::move(asker.onError_)},
        CallbackSink(Callbacks::onSuccess, Callbacks::onError) {}
};

template <class Value>
CallbackSink(Callback<void(Value)>&, OnError&) -> CallbackSink<Value>;
CallbackSink(Callback<void()>&, OnError&)->CallbackSink<Done>;

/// The suspending form while the answer is pending. Shares a state with the `Answer`.
template <class Received, class Value>
class PendingSink final : public AnswerSink<Received> {
 public:
  using Pending = std::shared_ptr<PendingOutcome<Value>>;

  explicit PendingSink(Pending pending) : pending_(std::move(pending)) {}
  ~PendingSink() override {
    if (pending_) pending_->drop();
  }

  void keepValue(Received value) override { outcome_.template emplace<1>(valueOf<Value>(value)); }
  void deliver() override { pending_->settle(std::move(outcome_)); }
  void onError(CorvoError&& error) override {
    pending_->settle(Outcome<Value>(std::in_place_index<2>, std::move(error)));
  }
  std::unique_ptr<AnswerSink<Received>> detach() override {
    return std::make_unique<PendingSink>(std::move(pending_));
  }

 private:
  Pending pending_;
  Outcome<Value> outcome_;
};

/// The suspending form. An answer that comes before the call returns is constructed inside the
/// `Answer`.
template <class Received, class Value = Received>
class SuspendingSink final : public AnswerSink<Received> {
 public:
  explicit SuspendingSink(Outcome<Value>& outcome) : outcome_(outcome) {}

  void keepValue(Received value) override { outcome_.template emplace<1>(valueOf<Value>(value)); }
  void deliver() override {}
  void onError(CorvoError&& error) override { outcome_.template emplace<2>(std::move(error)); }
  std::unique_ptr<AnswerSink<Received>> detach() override {
    pending_ = std::make_shared<PendingOutcome<Value>>();
    return std::make_unique<PendingSink<Received, Value>>(pending_);
  }

  /// The state through which the answer will come; null if the answer is already there.
  std::shared_ptr<PendingOutcome<Value>> takePending() { return std::move(pending_); }

 private:
  Outcome<Value>& outcome_;
  std::shared_ptr<PendingOutcome<Value>> pending_;
};

}  // namespace corvo::corvo_internal
