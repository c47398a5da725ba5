#pragma once

#include <corvo/answer.h>
#include <corvo/argument.h>
#include <corvo/callback.h>
#include <corvo/error.h>
#include <corvo/experiment.h>
#include <corvo/experiment_detail.h>
#include <corvo/export.h>
#include <corvo/property.h>
#include <corvo/text_hash.h>
#include <corvo/user_builder.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace corvo {

/// Fills the builder that it is given.
using EditUser = Callback<void(CorvoUser::Builder&)>;

/// The typed value of every flag that has one for the user, by the flag's name. Can be asked by
/// `std::string_view`.
using FlagReport = std::unordered_map<std::string, CorvoProperty, TextHash, std::equal_to<>>;

namespace client {

/// Something that a question needs: lent by the asker as long as the question is on his stack,
/// owned from the moment it must wait.
template <class Thing>
class Lent {
 public:
  Lent(Thing& lent) noexcept : lent_(&lent) {}

  [[nodiscard]] Thing& get() noexcept { return owned_ ? *owned_ : *lent_; }
  /// The same, owned. The thing is moved away from here.
  [[nodiscard]] Lent detach() {
    get().prepareToMove();
    return Lent(std::optional<Thing>(std::move(get())));
  }

 private:
  explicit Lent(std::optional<Thing> owned) noexcept : owned_(std::move(owned)) {}

  Thing* lent_ = nullptr;
  std::optional<Thing> owned_;
};

}  // namespace client

/// Receives the text of a flag, or an error: the untyped end of `CorvoClient::checkFlag`. Lives on
/// the asker's stack; a client that must wait for the answer detaches it first.
class CORVO_TYPE FlagSink {
 public:
  virtual ~FlagSink() = default;

  /// Answers the question, as an implementation of `CorvoClient` does that has nothing to do
  /// between keeping the answer and delivering it.
  void onText(std::string_view text) {
    keepText(text);
    deliver();
  }
  void onError(CorvoError error) {
    keepError(std::move(error));
    deliver();
  }

  /// Converts the text, which need not last, and keeps the value; or keeps the error.
  virtual void keepText(std::string_view text) = 0;
  virtual void keepError(CorvoError error) = 0;
  /// Calls the callback for what is kept, once and last.
  virtual void deliver() = 0;
  /// A sink on the heap, never null, that takes this one's place.
  [[nodiscard]] virtual std::unique_ptr<FlagSink> detach() = 0;
};

/// Answers questions about one user of one project. `Corvo` and `ClientRegistry` make clients.
///
/// Every question has a callback form and a suspending form. With a fresh configuration and
/// location at hand it is answered on the caller's thread before the call returns; otherwise what
/// is missing is fetched and the answer comes on the main queue (but the failure of an address that
/// is no URI reference comes before the call returns, too). Exactly one of the two callbacks
/// is called, once; a null one is skipped and the work is done all the same. It is called last, so
/// it may ask again, release the client, or throw: the exception leaves through whoever called. A
/// question whose client is released before the answer came is dropped: neither callback is called.
///
/// Any question fails with `requestConfigFailed` or `requestLocationFailed` where a fetch does, and
/// throws what `SecureRandom::fill` throws, or a `std::runtime_error` where that fills in the same
/// bytes for ever, when the client's private identifier is to be made.
/// Text is UTF-8; what is ill-formed is replaced by U+FFFD.
///
/// For one thread at a time, usually that of the main queue; it may be another one at another time.
/// Use by two threads at once is detected practically always, and aborts the process. A callback
/// runs after the client was given up, so it may also wait for another thread that uses the client;
/// only the callbacks that fill a builder run while the client is in use.
class CORVO_TYPE CorvoClient {
 public:
  virtual ~CorvoClient() = default;

  /// Replaces the stored user.
  virtual void setUser(CorvoUser user) = 0;

  /// Hands an empty builder to the callback, at once, and replaces the stored user by what the
  /// builder then holds. A null callback changes nothing; after one that throws nothing is stored.
  virtual void setUserProperties(EditUser edit) = 0;

  /// The same with a builder that holds the stored user's properties and expiries, so that what is
  /// not set again keeps both. Without a stored user an empty one is stored first.
  virtual void editUserProperties(EditUser edit) = 0;

  /// Replaces the stored user by one without properties.
  virtual void clearUserProperties() = 0;

  /// The value that a flag has for the user, as the type asked for; absent when its text is no
  /// valid form of that type. The group of an experiment that carries the flag decides, else the
  /// flag's own rules. Fails with `featureFlagNotFound`, `featureFlagNoRules`,
  /// `featureFlagRulesNotSatisfied` or `experimentGroupNotMatchingFeatureFlagGroup`.
  template <CorvoPropertyType T>
  void checkFlag(std::string_view flagName, Callback<void(std::optional<T>)> onSuccess,
                 OnError onError = {});
  template <CorvoPropertyType T>
  Answer<std::optional<T>> checkFlag(std::string_view flagName) {
    return answer<std::optional<T>>(
        [&](auto& box) { checkFlag<T>(flagName, box.onValue(), box.onError()); });
  }

  /// The values of all flags of the configuration that have one for the user, each typed by its
  /// text: a JSON object, a boolean, an integer, a double, else text.
  virtual void getUserFeatureFlagsDetails(Callback<void(FlagReport)> onSuccess,
                                          OnError onError = {}) = 0;
  Answer<FlagReport> getUserFeatureFlagsDetails() {
    return answer<FlagReport>(
        [&](auto& box) { getUserFeatureFlagsDetails(box.onValue(), box.onError()); });
  }

  /// The experiments that the user takes part in, holdouts included, in the configuration's order.
  virtual void getAllUserExperiments(Callback<void(std::vector<CorvoExperimentPointer>)> onSuccess,
                                     OnError onError = {}) = 0;
  Answer<std::vector<CorvoExperimentPointer>> getAllUserExperiments() {
    return answer<std::vector<CorvoExperimentPointer>>(
        [&](auto& box) { getAllUserExperiments(box.onValue(), box.onError()); });
  }

  /// The same as one text: for each experiment its name, "." and the index of the user's group,
  /// joined by "|"; absent when there are none. `estimateHoldouts` tells whether holdouts count.
  virtual void getAllUserExperimentsText(ExactBool estimateHoldouts,
                                         Callback<void(std::optional<std::string>)> onSuccess,
                                         OnError onError = {}) = 0;
  Answer<std::optional<std::string>> getAllUserExperimentsText(ExactBool estimateHoldouts) {
    return answer<std::optional<std::string>>([&](auto& box) {
      getAllUserExperimentsText(estimateHoldouts, box.onValue(), box.onError());
    });
  }

  /// The same with holdouts.
  virtual void getAllUserExperimentsText(Callback<void(std::optional<std::string>)> onSuccess,
                                         OnError onError = {}) = 0;
  Answer<std::optional<std::string>> getAllUserExperimentsText() {
    return answer<std::optional<std::string>>(
        [&](auto& box) { getAllUserExperimentsText(box.onValue(), box.onError()); });
  }

  /// The first experiment of that name that the user takes part in; null when he is in none. Fails
  /// with `experimentNotFound`, without asking for the location.
  virtual void getExperiment(std::string_view name,
                             Callback<void(CorvoExperimentPointer)> onSuccess,
                             OnError onError = {}) = 0;
  Answer<CorvoExperimentPointer> getExperiment(std::string_view name) {
    return answer<CorvoExperimentPointer>(
        [&](auto& box) { getExperiment(name, box.onValue(), box.onError()); });
  }

  /// Whether the user is in the first holdout of that name. The holdouts that this one itself names
  /// play no part. Fails with `holdoutNotFound`, without asking for the location.
  virtual void getHoldout(std::string_view name, Callback<void(bool)> onSuccess,
                          OnError onError = {}) = 0;
  Answer<bool> getHoldout(std::string_view name) {
    return answer<bool>([&](auto& box) { getHoldout(name, box.onValue(), box.onError()); });
  }

  /// The holdouts that the user is in and that none of those they name keeps him out of, as one
  /// text like that of `getAllUserExperimentsText`; absent when there are none.
  virtual void getAllUserHoldouts(Callback<void(std::optional<std::string>)> onSuccess,
                                  OnError onError = {}) = 0;
  Answer<std::optional<std::string>> getAllUserHoldouts() {
    return answer<std::optional<std::string>>(
        [&](auto& box) { getAllUserHoldouts(box.onValue(), box.onError()); });
  }

  /// The experiments that the user takes part in, each with the values that they get from it, in
  /// the configuration's order. `estimateHoldouts` tells whether holdouts are among them. Where the
  /// values of repeated names would take more than 64 MiB, the error is `requestConfigFailed` with
  /// a `decodingError`.
  virtual void getUserExperimentsDetails(
      ExactBool estimateHoldouts, Callback<void(std::vector<CorvoExperimentDetail>)> onSuccess,
      OnError onError = {}) = 0;
  Answer<std::vector<CorvoExperimentDetail>> getUserExperimentsDetails(ExactBool estimateHoldouts) {
    return answer<std::vector<CorvoExperimentDetail>>([&](auto& box) {
      getUserExperimentsDetails(estimateHoldouts, box.onValue(), box.onError());
    });
  }

  /// The same with holdouts.
  virtual void getUserExperimentsDetails(
      Callback<void(std::vector<CorvoExperimentDetail>)> onSuccess, OnError onError = {}) = 0;
  Answer<std::vector<CorvoExperimentDetail>> getUserExperimentsDetails() {
    return answer<std::vector<CorvoExperimentDetail>>(
        [&](auto& box) { getUserExperimentsDetails(box.onValue(), box.onError()); });
  }

  /// Forces the user of now into the first experiment of that name: into the group of that index,
  /// from 0, or, without an index, into whichever group the weights give him. Allocation, layer and
  /// targets no longer count for him there, holdouts still do. Kept, in place of an earlier choice
  /// for the experiment, until it is excluded. Fails with `experimentsEmpty`, `experimentNotFound`,
  /// `experimentSplitIdNotFound` or `experimentGroupIndexNotFound`, and then forces and keeps
  /// nothing.
  virtual void includeForce(std::string_view experimentName, OptionalIndex groupIndex,
                            Callback<void()> onSuccess, OnError onError = {}) = 0;
  Answer<void> includeForce(std::string_view experimentName, OptionalIndex groupIndex) {
    return answer<void>(
        [&](auto& box) { includeForce(experimentName, groupIndex, box.onValue(), box.onError()); });
  }

  /// The same without an index.
  virtual void includeForce(std::string_view experimentName, Callback<void()> onSuccess,
                            OnError onError = {}) = 0;
  Answer<void> includeForce(std::string_view experimentName) {
    return answer<void>(
        [&](auto& box) { includeForce(experimentName, box.onValue(), box.onError()); });
  }

  /// Takes back what `includeForce` did for that experiment and fetches the configuration anew,
  /// always. Should the fetch fail, the inclusion is forgotten all the same, and the cached
  /// configuration, while it is fresh, still carries it. Fails with `noForceIncludedExperiments`
  /// before the first inclusion and after `excludeForceAll`, else with `experimentNotFound` where
  /// this experiment is not included.
  virtual void excludeForce(std::string_view experimentName, Callback<void()> onSuccess,
                            OnError onError = {}) = 0;
  Answer<void> excludeForce(std::string_view experimentName) {
    return answer<void>(
        [&](auto& box) { excludeForce(experimentName, box.onValue(), box.onError()); });
  }

  /// The same for all experiments. Fails with `noForceIncludedExperiments` before the first
  /// inclusion and after `excludeForceAll`; succeeds without a fetch when the last inclusion was
  /// taken back by `excludeForce`.
  virtual void excludeForceAll(Callback<void()> onSuccess, OnError onError = {}) = 0;
  Answer<void> excludeForceAll() {
    return answer<void>([&](auto& box) { excludeForceAll(box.onValue(), box.onError()); });
  }

  /// What `checkFlag` rests on: delivers the flag's text to the sink.
  virtual void checkFlagText(std::string_view flagName, FlagSink& sink) = 0;

  /// The queue on which answers come after a fetch; `Answer::get` runs it.
  [[nodiscard]] virtual std::shared_ptr<MainQueue> mainQueue() const = 0;

 private:
  /// The sink of a typed question.
  template <class T>
  class TypedSink;

  /// Makes the suspending form of a question from its callback form.
  template <class T, class Ask>
  Answer<T> answer(Ask&& ask) {
    client::Mailbox<T> mailbox;
    ask(mailbox);
    const bool waits = mailbox.pending != nullptr;
    return Answer<T>(std::move(mailbox), waits ? mainQueue() : nullptr);
  }
};

template <class T>
class CorvoClient::TypedSink final : public FlagSink {
 public:
  TypedSink(client::Lent<Callback<void(std::optional<T>)>> onSuccess, client::Lent<OnError> onError)
      : onSuccess_(std::move(onSuccess)), onError_(std::move(onError)) {}

  void keepText(std::string_view text) override {
    outcome_.template emplace<1>(fromCorvoString<T>(text));
  }
  void keepError(CorvoError error) override { outcome_.template emplace<2>(std::move(error)); }
  void deliver() override {
    if (const CorvoError* error = std::get_if<2>(&outcome_)) return onError_.get()(*error);
    if (outcome_.index() == 1) onSuccess_.get()(std::get<1>(std::move(outcome_)));
  }
  std::unique_ptr<FlagSink> detach() override {
    return std::make_unique<TypedSink>(onSuccess_.detach(), onError_.detach());
  }

 private:
  client::Lent<Callback<void(std::optional<T>)>> onSuccess_;
  client::Lent<OnError> onError_;
  client::Outcome<std::optional<T>> outcome_;
};

template <CorvoPropertyType T>
void CorvoClient::checkFlag(std::string_view flagName, Callback<void(std::optional<T>)> onSuccess,
                            OnError onError) {
  TypedSink<T> sink(onSuccess, onError);
  checkFlagText(flagName, sink);
}

}  // namespace corvo
