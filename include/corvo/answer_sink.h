// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/error.h>
#include <corvo/export.h>

#include <memory>
#include <utility>

namespace corvo {

/// The value of a question whose only answer is that something is done.
struct Done {};

/// Receives the answer to one question: how an implementation of `CorvoClient` returns it. Call
/// `keepValue` and then `deliver`, or call `onError`; once, and as the last thing. The sink lives
/// on the caller's stack. A client that must wait for the answer calls `detach` and uses the sink
/// that it returns.
///
/// Use it on one thread at a time.
template <class T>
class CORVO_TYPE AnswerSink {
 public:
  AnswerSink() = default;
  AnswerSink(const AnswerSink&) = delete;
  AnswerSink& operator=(const AnswerSink&) = delete;
  virtual ~AnswerSink() = default;

  /// Keeps the value, converted to the type that the application requested. A view need not outlive
  /// the call.
  virtual void keepValue(T value) = 0;
  /// Calls the success callback with the kept value. Throws what the callback throws.
  virtual void deliver() = 0;
  /// Calls the error callback. Throws what the callback throws.
  virtual void onError(CorvoError&& error) = 0;
  /// A sink on the heap, never null, that takes this one's place.
  [[nodiscard]] virtual std::unique_ptr<AnswerSink> detach() = 0;

  /// Both steps, for implementations that do nothing in between.
  void onValue(T value) {
    keepValue(std::move(value));
    deliver();
  }
};

}  // namespace corvo
