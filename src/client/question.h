#pragma once

#include <corvo/callback.h>
#include <corvo/client.h>
#include <corvo/error.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <variant>

#include "experiments/project.h"
#include "targeting/context.h"

namespace corvo::client {

/// What a question is decided from. Valid until its callback is called.
struct Evidence {
  const std::shared_ptr<const experiments::Project>& project;
  const targeting::Context& context;  ///< Bare for a question that is about the project alone.
};

/// One question on its way to its answer. Lives on the asker's stack; to wait for a fetch it moves
/// to the heap. `answer` or `fail` is called, and then, when the client has been given up,
/// `deliver`, last of all: nothing of the client is touched afterwards.
class Question {
 public:
  enum class About : std::uint8_t { user, project };

  virtual ~Question() = default;
  /// Whether user and location count for the answer. Where not, neither is touched.
  [[nodiscard]] virtual About about(const experiments::Project& project) const = 0;
  /// Decides, and keeps the outcome as the callback takes it.
  virtual void answer(const Evidence& evidence) = 0;
  /// Keeps the error.
  virtual void fail(CorvoError error) = 0;
  /// Calls the callback for what is kept.
  void deliver() {
    isDelivered_ = true;
    callBack();
  }
  [[nodiscard]] bool isDelivered() const { return isDelivered_; }

  /// The question on the heap: itself if it lies there already, else one that takes its place.
  [[nodiscard]] std::shared_ptr<Question> toHeap() { return waiting_ ? *waiting_ : detach(); }
  /// Tells a question on the heap who holds it while it goes on.
  void goesOnAs(const std::shared_ptr<Question>& waiting) { waiting_ = &waiting; }

 protected:
  virtual void callBack() = 0;
  [[nodiscard]] virtual std::unique_ptr<Question> detach() = 0;

 private:
  const std::shared_ptr<Question>* waiting_ = nullptr;
  bool isDelivered_ = false;
};

/// The name that a question is about: lent by the asker, or, where the question waits, owned.
class Name {
 public:
  explicit Name(std::string_view lent) : lent_(lent) {}

  [[nodiscard]] std::string_view get() const { return owned_ ? *owned_ : lent_; }
  [[nodiscard]] Name detach() const {
    Name name({});
    name.owned_ = get();
    return name;
  }

 private:
  std::string_view lent_;
  std::optional<std::string> owned_;
};

/// What a question comes to; for a question without a value, that it is done.
template <class Value>
using Decision =
    std::variant<std::conditional_t<std::is_void_v<Value>, std::monostate, Value>, CorvoError>;

/// What the question with that callback comes to.
template <class OnSuccess>
struct DecisionFor;
template <class Value>
struct DecisionFor<Callback<void(Value)>> {
  using Type = Decision<Value>;
};
template <>
struct DecisionFor<Callback<void()>> {
  using Type = Decision<void>;
};
template <class OnSuccess>
using DecisionOf = typename DecisionFor<OnSuccess>::Type;

/// Hands a decision to the callback that it is for.
template <class Value>
void deliver(Decision<Value> decision, Callback<void(Value)>& onSuccess, OnError& onError) {
  if (const auto* error = std::get_if<CorvoError>(&decision)) return onError(*error);
  onSuccess(std::get<0>(std::move(decision)));
}
inline void deliver(const Decision<void>& decision, Callback<void()>& onSuccess, OnError& onError) {
  if (const auto* error = std::get_if<CorvoError>(&decision)) return onError(*error);
  onSuccess();
}

/// A question with two callbacks. What decides it tells what it is about, decides by the evidence,
/// and can be detached, as the question itself.
template <class OnSuccess, class Decider>
class CallbackQuestion final : public Question {
 public:
  CallbackQuestion(Decider decider, Lent<OnSuccess> onSuccess, Lent<OnError> onError)
      : decider_(std::move(decider)),
        onSuccess_(std::move(onSuccess)),
        onError_(std::move(onError)) {}

  [[nodiscard]] About about(const experiments::Project& project) const override {
    return decider_.about(project);
  }
  void answer(const Evidence& evidence) override { decision_.emplace(decider_.decide(evidence)); }
  void fail(CorvoError error) override { decision_.emplace(std::move(error)); }

 protected:
  void callBack() override {
    client::deliver(*std::move(decision_), onSuccess_.get(), onError_.get());
  }
  std::unique_ptr<Question> detach() override {
    return std::make_unique<CallbackQuestion>(decider_.detach(), onSuccess_.detach(),
                                              onError_.detach());
  }

 private:
  Decider decider_;
  Lent<OnSuccess> onSuccess_;
  Lent<OnError> onError_;
  std::optional<DecisionOf<OnSuccess>> decision_;
};

template <class Decider, class OnSuccess>
CallbackQuestion(Decider, OnSuccess&, OnError&) -> CallbackQuestion<OnSuccess, Decider>;

/// Decides by a function that needs nothing of the asker's.
template <Question::About what, class Function>
struct Deciding {
  Function decide;

  [[nodiscard]] Question::About about(const experiments::Project& /*project*/) const {
    return what;
  }
  [[nodiscard]] Deciding detach() const { return *this; }
};

template <class Function>
Deciding<Question::About::user, Function> aboutUser(Function decide) {
  return {std::move(decide)};
}
template <class Function>
Deciding<Question::About::project, Function> aboutProject(Function decide) {
  return {std::move(decide)};
}

}  // namespace corvo::client
