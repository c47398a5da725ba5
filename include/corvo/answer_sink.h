#pragma once

#include <corvo/error.h>
#include <corvo/export.h>

#include <memory>
#include <utility>

namespace corvo {

/// The value of a question that only answers that something is done.
struct Done {};

/// Receives the answer to one question: the end of `CorvoClient`'s questions that an implementation
/// sees. Keep the value, then deliver it, last of all; or tell the error, last of all; once. The
/// sink lives on the asker's stack. A client that must wait for the answer detaches it and uses
/// what it gets instead.
///
/// For one thread at a time.
template <class T>
class CORVO_TYPE AnswerSink {
 public:
  AnswerSink() = default;
  AnswerSink(const AnswerSink&) = delete;
  AnswerSink& operator=(const AnswerSink&) = delete;
  virtual ~AnswerSink() = default;

  /// Keeps the value, converted to the type that the application asked for. A view need not last.
  virtual void keepValue(T value) = 0;
  /// Calls the callback for the value that is kept. Throws what that throws.
  virtual void deliver() = 0;
  /// Calls the callback for the error. Throws what that throws.
  virtual void onError(CorvoError&& error) = 0;
  /// A sink on the heap, never null, that takes this one's place.
  [[nodiscard]] virtual std::unique_ptr<AnswerSink> detach() = 0;

  /// Both steps, for implementations that have nothing to do between them.
  void onValue(T value) {
    keepValue(std::move(value));
    deliver();
  }
};

}  // namespace corvo
