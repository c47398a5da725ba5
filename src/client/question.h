#pragma once

#include <corvo/callback.h>
#include <corvo/client.h>
#include <corvo/error.h>

#include <memory>
#include <utility>
#include <variant>

#include "experiments/project.h"
#include "targeting/context.h"

namespace corvo::client {

/// What a question is decided from. Valid until its callback is called.
struct Evidence {
  const std::shared_ptr<const experiments::Project>& project;
  const targeting::Context& context;
};

/// One question on its way to its answer. Lives on the asker's stack; to wait for a fetch it is
/// detached. Exactly one of `answer` and `fail` is called, last of all: nothing of the client is
/// touched afterwards.
class Question {
 public:
  virtual ~Question() = default;
  virtual void answer(const Evidence& evidence) = 0;
  virtual void fail(const CorvoError& error) = 0;
  /// A question on the heap that takes this one's place.
  [[nodiscard]] virtual std::unique_ptr<Question> detach() = 0;
};

/// A question that a function of the evidence decides, to a value or an error.
template <class Value, class Decide>
class CallbackQuestion final : public Question {
 public:
  using OnSuccess = Callback<void(Value)>;

  CallbackQuestion(Decide decide, Lent<OnSuccess> onSuccess, Lent<OnError> onError)
      : decide_(std::move(decide)),
        onSuccess_(std::move(onSuccess)),
        onError_(std::move(onError)) {}

  void answer(const Evidence& evidence) override {
    std::variant<Value, CorvoError> decision = decide_(evidence);
    if (auto* error = std::get_if<CorvoError>(&decision)) return onError_.get()(*error);
    onSuccess_.get()(std::get<Value>(std::move(decision)));
  }
  void fail(const CorvoError& error) override { onError_.get()(error); }
  std::unique_ptr<Question> detach() override {
    return std::make_unique<CallbackQuestion>(std::move(decide_), onSuccess_.detach(),
                                              onError_.detach());
  }

 private:
  Decide decide_;
  Lent<OnSuccess> onSuccess_;
  Lent<OnError> onError_;
};

template <class Decide, class Value>
CallbackQuestion(Decide, Callback<void(Value)>&, OnError&) -> CallbackQuestion<Value, Decide>;

}  // namespace corvo::client
