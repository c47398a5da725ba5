// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/answer_sink.h>
#include <corvo/c/client.h>
#include <corvo/error.h>
#include <corvo/experiment.h>
#include <corvo/project.h>

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

// How an answer of a client gets to a callback in C.

namespace corvo::corvo_internal::c {

/// What a question came to.
struct Outcome {
  std::optional<CorvoError> error = std::nullopt;
  corvo_value value{};  // its text, if it has one, is `text`
  std::string text;     // of the value or of the error
  std::optional<Project> project = std::nullopt;
  std::vector<CorvoExperimentPointer> experiments;
};

/// An outcome in C. Whoever receives it owns its handles.
class PresentedAnswer {
 public:
  explicit PresentedAnswer(Outcome outcome);
  PresentedAnswer(const PresentedAnswer&) = delete;
  PresentedAnswer& operator=(const PresentedAnswer&) = delete;

  [[nodiscard]] const corvo_answer& answer() const { return answer_; }

 private:
  Outcome outcome_;
  corvo_error error_{};
  std::vector<corvo_experiment*> experiments_;
  corvo_answer answer_{};
};

/// A callback whose context is the caller's until it has been called or dropped.
class OwnedCallback {
 public:
  /// Throws `Misuse` for the callback of a reply that is invalid or in use.
  explicit OwnedCallback(const corvo_callback& given);
  OwnedCallback(OwnedCallback&& other) noexcept : given_(std::exchange(other.given_, {})) {}
  OwnedCallback& operator=(OwnedCallback&&) = delete;
  ~OwnedCallback();

  /// At most once.
  void operator()(Outcome&& outcome);

 private:
  corvo_callback given_;
};

/// Receives the answer to a question. As long as it lives on the asker's stack, it only keeps the
/// answer, because the client's handle is still in use.
template <class T, class Convert>
class CallbackSink final : public AnswerSink<T> {
 public:
  /// `Convert` makes an outcome of the client's answer.
  CallbackSink(OwnedCallback&& callback, Convert convert, bool isDetached = false)
      : callback_(std::move(callback)), convert_(convert), isDetached_(isDetached) {}

  void keepValue(T value) override { outcome_ = convert_(std::move(value)); }
  void deliver() override {
    isAnswered_ = true;
    if (isDetached_) passOn();
  }
  void onError(CorvoError&& error) override {
    outcome_.error = std::move(error);
    deliver();
  }
  std::unique_ptr<AnswerSink<T>> detach() override {
    return std::make_unique<CallbackSink>(std::move(callback_), convert_, true);
  }

  /// Calls the callback, unless the answer is still to come.
  void passOn() {
    if (isAnswered_) callback_(std::move(outcome_));
  }

 private:
  OwnedCallback callback_;
  Convert convert_;
  Outcome outcome_;
  bool isDetached_;
  bool isAnswered_ = false;
};

/// The function of a reply's callback, whose context is the reply's handle.
void takeAnswer(void* reply, const corvo_answer* answer);
/// Makes a reply belong to a question. Throws `Misuse` if it is invalid or has one already.
void beginReply(const void* reply);

}  // namespace corvo::corvo_internal::c
