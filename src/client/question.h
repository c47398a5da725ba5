// SPDX-License-Identifier: Apache-2.0
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

#include "base/concurrent_use_guard.h"
#include "evaluation/evaluator.h"
#include "project/prepared_project.h"
#include "targeting/context.h"

namespace corvo::corvo_internal::client {

/// The input from which a question is decided. Valid until its callback is called.
struct Evidence {
  evaluation::Evaluator& evaluator;
  const targeting::Context& context;  ///< May be bare if the answer depends on the project alone.
};

/// Holds the client while a question is asked.
using Turn = base::ConcurrentUseGuard<>::Scope;

/// A question on its way to its answer. Created on the caller's stack; moves to the heap to wait
/// for a fetch. Finally `answer` or `fail` is called. The client is not touched afterwards.
class Question : public std::enable_shared_from_this<Question> {
 public:
  enum class About : std::uint8_t { user, project };

  virtual ~Question() = default;
  /// Whether the answer depends on user and location. If not, neither is read.
  [[nodiscard]] virtual About about(const project::PreparedProject& project) const = 0;
  /// Decides, releases the client, and calls the callback.
  virtual void answer(const Evidence& evidence, Turn& turn) = 0;
  /// Releases the client, and calls the error callback.
  virtual void fail(CorvoError&& error, Turn& turn) = 0;
  [[nodiscard]] bool isDelivered() const { return isDelivered_; }

  /// The question on the heap: itself if it is already there, otherwise a replacement.
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

/// The name that a question is about: borrowed from the caller, or owned while the question waits.
class Name {
 public:
  explicit Name(std::string_view borrowed) : borrowed_(borrowed) {}

  [[nodiscard]] std::string_view get() const { return owned_ ? *owned_ : borrowed_; }
  [[nodiscard]] Name detach() const {
    Name name({});
    name.owned_ = get();
    return name;
  }

 private:
  std::string_view borrowed_;
  std::optional<std::string> owned_;
};

/// A question whose answer goes to a sink: the caller's, or its own while it waits. The decider
/// says what the answer depends on, decides from the evidence, and can be detached, like the
/// question itself.
template <class T, class Decider>
class SinkQuestion final : public Question {
 public:
  SinkQuestion(Decider decider, AnswerSink<T>& sink) : decider_(std::move(decider)), sink_(&sink) {}
  /// Constructs the decider from a name in place, because moving one costs a tenth of a question.
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
  // Moves the sink last, because nothing may fail after its callbacks have moved.
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

/// Decides by a function that needs nothing from the caller.
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

/// Decides about the item of that name. Depends on the user; with `find`, only if the project
/// contains the item.
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
