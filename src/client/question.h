#pragma once

#include <corvo/answer_sink.h>
#include <corvo/error.h>
#include <corvo/result.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#include "base/exclusive_access.h"
#include "evaluation/evaluator.h"
#include "project/prepared_project.h"
#include "targeting/context.h"

namespace corvo::corvo_internal::client {

/// What a question is decided from. Valid until its callback is called.
struct Evidence {
  evaluation::Evaluator& evaluator;
  const targeting::Context&
      context;  ///< May be bare where the question is about the project alone.
};

/// Whose the client is while it is asked.
using Turn = base::ExclusiveAccess<>::Scope;

/// One question on its way to its answer. Lives on the asker's stack; to wait for a fetch it moves
/// to the heap. `answer` or `fail` is called, last of all: nothing of the client is touched
/// afterwards.
class Question : public std::enable_shared_from_this<Question> {
 public:
  enum class About : std::uint8_t { user, project };

  virtual ~Question() = default;
  /// Whether user and location count for the answer. Where not, neither is touched.
  [[nodiscard]] virtual About about(const project::PreparedProject& project) const = 0;
  /// Decides, gives the client up, and calls the callback.
  virtual void answer(const Evidence& evidence, Turn& turn) = 0;
  /// Gives the client up, and calls the callback for the error.
  virtual void fail(CorvoError&& error, Turn& turn) = 0;
  [[nodiscard]] bool isDelivered() const { return isDelivered_; }

  /// The question on the heap: itself if it lies there already, else one that takes its place.
  [[nodiscard]] std::shared_ptr<Question> toHeap() {
    std::shared_ptr<Question> self = weak_from_this().lock();
    return self ? self : detach();
  }

 protected:
  void giveUp(Turn& turn) {
    turn.release();
    isDelivered_ = true;
  }
  [[nodiscard]] virtual std::shared_ptr<Question> detach() = 0;

 private:
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

/// The question whose answer goes to a sink: the asker's, or, where it waits, its own. What decides
/// it tells what it is about, decides by the evidence, and can be detached, as the question itself.
template <class T, class Decider>
class SinkQuestion final : public Question {
 public:
  SinkQuestion(Decider decider, AnswerSink<T>& sink) : decider_(std::move(decider)), sink_(&sink) {}
  /// The decider is made in its place of a name: to move one costs a tenth of a question.
  SinkQuestion(std::string_view name, AnswerSink<T>& sink) : decider_{Name(name)}, sink_(&sink) {}

  [[nodiscard]] About about(const project::PreparedProject& project) const override {
    return decider_.about(project);
  }
  void answer(const Evidence& evidence, Turn& turn) override {
    Result<T> result = decider_.decide(evidence);
    if (CorvoError* error = result.error()) return fail(std::move(*error), turn);
    sink_->keepValue(std::move(result.value()));
    giveUp(turn);
    sink_->deliver();
  }
  void fail(CorvoError&& error, Turn& turn) override {
    giveUp(turn);
    sink_->onError(std::move(error));
  }

 protected:
  // The sink comes last: once its callbacks have moved, nothing can fail.
  std::shared_ptr<Question> detach() override {
    auto detached = std::make_shared<SinkQuestion>(decider_.detach(), *sink_);
    detached->ownSink_ = sink_->detach();
    detached->sink_ = detached->ownSink_.get();
    return detached;
  }

 private:
  Decider decider_;
  std::unique_ptr<AnswerSink<T>> ownSink_;
  AnswerSink<T>* sink_;
};

/// Decides by a function that needs nothing of the asker's.
template <Question::About what, class Function>
struct Deciding {
  Function decide;

  [[nodiscard]] Question::About about(const project::PreparedProject& /*project*/) const {
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

/// Decides about what has that name: about the user, but, with a way to find it in the project,
/// only where there is such a thing.
template <auto find, auto decideBy>
struct DecidingByName {
  Name name;

  [[nodiscard]] Question::About about(const project::PreparedProject& project) const {
    if constexpr (!std::is_null_pointer_v<decltype(find)>) {
      if ((project.*find)(name.get()) == nullptr) return Question::About::project;
    }
    return Question::About::user;
  }
  [[nodiscard]] auto decide(const Evidence& evidence) const {
    return (evidence.evaluator.*decideBy)(name.get(), evidence.context);
  }
  [[nodiscard]] DecidingByName detach() const { return {name.detach()}; }
};

using Asked = evaluation::Evaluator;
using In = project::PreparedProject;
using DecidingFlag = DecidingByName<nullptr, &Asked::flag>;
using DecidingExperiment = DecidingByName<&In::findExperiment, &Asked::experiment>;
using DecidingHoldout = DecidingByName<&In::findHoldout, &Asked::holdout>;
using ExplainingFlag = DecidingByName<nullptr, &Asked::explainFlag>;
using ExplainingExperiment = DecidingByName<&In::findExperiment, &Asked::explainExperiment>;

}  // namespace corvo::corvo_internal::client
