// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/answer.h>
#include <corvo/answer_sink.h>
#include <corvo/argument.h>
#include <corvo/callback.h>
#include <corvo/client_status.h>
#include <corvo/error.h>
#include <corvo/experiment.h>
#include <corvo/experiment_detail.h>
#include <corvo/explanation.h>
#include <corvo/export.h>
#include <corvo/flag_report.h>
#include <corvo/internal/sinks.h>
#include <corvo/project.h>
#include <corvo/property.h>
#include <corvo/user_builder.h>

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace corvo {

/// Fills the builder that it is given.
using EditUser = Callback<void(CorvoUser::Builder&)>;

/// Answers questions about one user of one project. `Corvo` and `ClientRegistry` make clients.
///
/// Every question has a callback form and a suspending form. A question that needs no fetch,
/// because the cached configuration and location are fresh, is answered on the caller's thread
/// before the call returns. Otherwise the client fetches what is missing, and the answer comes on
/// the main queue. Only if the address is not a valid URI reference does the error come before the
/// call returns. Exactly one of the two callbacks is called, exactly once. Either may be null; the
/// work is still done. The callback runs last, so it may ask again, release the client, or throw:
/// the exception propagates to the code that invoked the callback. If the client is released before
/// the answer arrives, the question is dropped, and neither callback is called.
///
/// Any question fails with `requestConfigFailed` or `requestLocationFailed` if its fetch fails. A
/// question that must create the client's private identifier throws what `SecureRandom::fill`
/// throws, or a `std::runtime_error` if the random source keeps returning the same bytes. Text is
/// UTF-8; invalid UTF-8 is replaced with U+FFFD.
///
/// Use a client on one thread at a time, usually the one that runs the main queue. The thread may
/// change over time. Concurrent use is detected practically always, and aborts the process. When a
/// callback runs, the client is no longer in use, so the callback may even wait for another thread
/// that uses it. Only the callbacks that fill a builder run while the client is in use.
class CORVO_EXPORT CorvoClient {
 public:
  CorvoClient() = default;
  CorvoClient(const CorvoClient&) = delete;
  CorvoClient& operator=(const CorvoClient&) = delete;
  virtual ~CorvoClient() = default;

  /// Replaces the stored user, including all expiries. A property without an expiry counts as
  /// expired.
  virtual void setUser(CorvoUser user) = 0;

  /// Calls the callback with an empty builder before returning, then replaces the stored user with
  /// the builder's contents. A null callback changes nothing. If the callback throws, nothing is
  /// stored.
  virtual void setUserProperties(EditUser edit) = 0;

  /// The same, but the builder starts with the stored user's properties and expiries. A property
  /// that is not set again keeps its value and its expiry. If no user is stored, an empty one is
  /// stored first.
  virtual void editUserProperties(EditUser edit) = 0;

  /// Replaces the stored user with one that has no properties.
  virtual void clearUserProperties() = 0;

  /// The flag's value for the user, as the requested type; absent if the value's text is not valid
  /// for that type. If the user is in the first experiment that carries the flag, their group
  /// decides; otherwise the flag's own rules do. Fails with `featureFlagNotFound`,
  /// `featureFlagNoRules`, `featureFlagRulesNotSatisfied` or
  /// `experimentGroupNotMatchingFeatureFlagGroup`.
  template <class T>
  void checkFlag(std::string_view flagName, Callback<void(std::optional<T>)> onSuccess,
                 OnError onError = nullptr) {
    corvo_internal::CallbackSink<std::string_view, std::optional<T>> sink(onSuccess, onError);
    askFlag(flagName, sink);
  }
  template <class T>
  Answer<std::optional<T>> checkFlag(std::string_view flagName) {
    return answer<std::optional<T>, std::string_view>([&](auto& sink) { askFlag(flagName, sink); });
  }

  /// The values of all flags in the configuration that have one for the user. The text of each
  /// value determines its type: a JSON object, a boolean, an integer, a double, or otherwise text.
  void getUserFeatureFlagsDetails(Callback<void(FlagReport)> onSuccess, OnError onError = nullptr);
  Answer<FlagReport> getUserFeatureFlagsDetails();

  /// The experiments that the user takes part in, holdouts included, in the configuration's order.
  void getAllUserExperiments(Callback<void(std::vector<CorvoExperimentPointer>)> onSuccess,
                             OnError onError = nullptr);
  Answer<std::vector<CorvoExperimentPointer>> getAllUserExperiments();

  /// The same as one text, "checkout.1|colors.0": for each experiment its name, "." and the index
  /// of the user's group, joined by "|". Absent if there are none. `estimateHoldouts`: whether to
  /// include holdouts.
  void getAllUserExperimentsText(ExactBool estimateHoldouts,
                                 Callback<void(std::optional<std::string>)> onSuccess,
                                 OnError onError = nullptr);
  Answer<std::optional<std::string>> getAllUserExperimentsText(ExactBool estimateHoldouts);

  /// The same with holdouts.
  void getAllUserExperimentsText(Callback<void(std::optional<std::string>)> onSuccess,
                                 OnError onError = nullptr);
  Answer<std::optional<std::string>> getAllUserExperimentsText();

  /// The first experiment of that name that the user takes part in; null if they are in none. Fails
  /// with `experimentNotFound` if the configuration has none; then the location is not fetched.
  void getExperiment(std::string_view name, Callback<void(CorvoExperimentPointer)> onSuccess,
                     OnError onError = nullptr);
  Answer<CorvoExperimentPointer> getExperiment(std::string_view name);

  /// Whether the user is in the first holdout of that name. Holdouts that this holdout itself names
  /// are ignored. Fails with `holdoutNotFound` if the configuration has none; then the location is
  /// not fetched.
  void getHoldout(std::string_view name, Callback<void(bool)> onSuccess, OnError onError = nullptr);
  Answer<bool> getHoldout(std::string_view name);

  /// The holdouts that the user is in, as one text in the form of `getAllUserExperimentsText`;
  /// absent if there are none. Here, holdouts that a holdout names count: if holdout A names
  /// holdout B, a user in both is reported only in B.
  void getAllUserHoldouts(Callback<void(std::optional<std::string>)> onSuccess,
                          OnError onError = nullptr);
  Answer<std::optional<std::string>> getAllUserHoldouts();

  /// The experiments that the user takes part in, each with the values that it gives to the user,
  /// in the configuration's order. `estimateHoldouts`: whether to include holdouts. If the values
  /// of repeated names would take more than 64 MiB, fails with `requestConfigFailed` and a
  /// `decodingError`.
  void getUserExperimentsDetails(ExactBool estimateHoldouts,
                                 Callback<void(std::vector<CorvoExperimentDetail>)> onSuccess,
                                 OnError onError = nullptr);
  Answer<std::vector<CorvoExperimentDetail>> getUserExperimentsDetails(ExactBool estimateHoldouts);

  /// The same with holdouts.
  void getUserExperimentsDetails(Callback<void(std::vector<CorvoExperimentDetail>)> onSuccess,
                                 OnError onError = nullptr);
  Answer<std::vector<CorvoExperimentDetail>> getUserExperimentsDetails();

  /// Why a flag has its value for the user, and why the user is in an experiment of that name or
  /// not: the answer of `checkFlag` or `getExperiment`, or its error, with the steps that led to
  /// it. Fetches what that question would fetch. Fails only if a fetch fails.
  void explainFlag(std::string_view flagName, Callback<void(Explanation)> onSuccess,
                   OnError onError = nullptr);
  Answer<Explanation> explainFlag(std::string_view flagName);
  void explainExperiment(std::string_view name, Callback<void(Explanation)> onSuccess,
                         OnError onError = nullptr);
  Answer<Explanation> explainExperiment(std::string_view name);

  /// The current project: from the cached configuration while it is fresh, otherwise fetched. Any
  /// number of threads can use it to answer questions about any user; see <corvo/evaluation.h>.
  void getProject(Callback<void(Project)> onSuccess, OnError onError = nullptr);
  Answer<Project> getProject();

  /// Forces the current user into the first experiment of that name: into the group with that index
  /// (from 0), or, without an index, into the group that the weights select. This bypasses
  /// allocation, layer and targets, but not holdouts. It replaces an earlier choice for the
  /// experiment, and is kept until `excludeForce` or `excludeForceAll`. The changed configuration
  /// counts as just fetched. Fails with `experimentsEmpty`, `experimentNotFound`,
  /// `experimentSplitIdNotFound` or `experimentGroupIndexNotFound`; then nothing is forced or kept.
  void includeForce(std::string_view experimentName, OptionalIndex groupIndex,
                    Callback<void()> onSuccess, OnError onError = nullptr);
  Answer<void> includeForce(std::string_view experimentName, OptionalIndex groupIndex);

  /// The same without an index. It is a template so that `{}` always means an absent index, never a
  /// callback.
  template <std::convertible_to<Callback<void()>> OnSuccess>
  void includeForce(std::string_view experimentName, OnSuccess&& onSuccess,
                    OnError onError = nullptr) {
    includeForce(experimentName, std::nullopt, std::forward<OnSuccess>(onSuccess),
                 std::move(onError));
  }
  Answer<void> includeForce(std::string_view experimentName);

  /// Undoes `includeForce` for that experiment, and always fetches the configuration again. If that
  /// fetch fails, the inclusion is still forgotten, but the cached configuration contains it until
  /// that copy expires. Fails with `noForceIncludedExperiments` before the first inclusion and
  /// after `excludeForceAll`; otherwise with `experimentNotFound` if this experiment is not
  /// included.
  void excludeForce(std::string_view experimentName, Callback<void()> onSuccess,
                    OnError onError = nullptr);
  Answer<void> excludeForce(std::string_view experimentName);

  /// The same for all experiments. Fails with `noForceIncludedExperiments` before the first
  /// inclusion and after `excludeForceAll`. Succeeds without a fetch if `excludeForce` has undone
  /// the last inclusion.
  void excludeForceAll(Callback<void()> onSuccess, OnError onError = nullptr);
  Answer<void> excludeForceAll();

  /// A null pointer is not a name.
  template <class T, class... More>
  void checkFlag(std::nullptr_t, More&&...) = delete;
  template <class... More>
  void getExperiment(std::nullptr_t, More&&...) = delete;
  template <class... More>
  void getHoldout(std::nullptr_t, More&&...) = delete;
  template <class... More>
  void explainFlag(std::nullptr_t, More&&...) = delete;
  template <class... More>
  void explainExperiment(std::nullptr_t, More&&...) = delete;
  template <class... More>
  void includeForce(std::nullptr_t, More&&...) = delete;
  template <class... More>
  void excludeForce(std::nullptr_t, More&&...) = delete;

  /// The operations behind the forms above: one for each question, which answers to a sink. For
  /// implementations and wrappers of a client; applications use the forms.
  virtual void askFlag(std::string_view flagName, AnswerSink<std::string_view>& sink) = 0;
  virtual void askFlagReport(AnswerSink<FlagReport>& sink) = 0;
  virtual void askExperiments(AnswerSink<std::vector<CorvoExperimentPointer>>& sink) = 0;
  virtual void askExperimentsText(bool estimateHoldouts,
                                  AnswerSink<std::optional<std::string>>& sink) = 0;
  virtual void askExperiment(std::string_view name, AnswerSink<CorvoExperimentPointer>& sink) = 0;
  virtual void askHoldout(std::string_view name, AnswerSink<bool>& sink) = 0;
  virtual void askHoldoutsText(AnswerSink<std::optional<std::string>>& sink) = 0;
  virtual void askDetails(bool estimateHoldouts,
                          AnswerSink<std::vector<CorvoExperimentDetail>>& sink) = 0;
  virtual void askWhyFlag(std::string_view flagName, AnswerSink<Explanation>& sink) = 0;
  virtual void askWhyExperiment(std::string_view name, AnswerSink<Explanation>& sink) = 0;
  virtual void askProject(AnswerSink<Project>& sink) = 0;
  virtual void askToInclude(std::string_view experimentName, std::optional<std::int64_t> groupIndex,
                            AnswerSink<Done>& sink) = 0;
  virtual void askToExclude(std::string_view experimentName, AnswerSink<Done>& sink) = 0;
  virtual void askToExcludeAll(AnswerSink<Done>& sink) = 0;

  /// When the cached configuration and location were stored, and until when they are fresh.
  /// Fetches nothing and changes no answer. Not const, because it may read the store. Like
  /// every operation of the client, it is for one thread at a time.
  [[nodiscard]] virtual ClientStatus status() = 0;

  /// The queue on which answers come after a fetch; `Answer::get` runs it.
  [[nodiscard]] virtual std::shared_ptr<MainQueue> mainQueue() const = 0;

 private:
  // Asks in the suspending form.
  template <class T, class Received = T, class Ask>
  Answer<T> answer(Ask ask) {
    using Value = std::conditional_t<std::is_void_v<T>, Done, T>;
    Answer<T> answer;
    corvo_internal::SuspendingSink<Received, Value> sink(answer.outcome_);
    ask(sink);
    if (auto pending = sink.takePending()) {
      answer.pending_ = std::move(pending);
      answer.queue_ = mainQueue();
    }
    return answer;
  }
};

}  // namespace corvo
