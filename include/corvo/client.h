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
class CORVO_EXPORT CorvoClient {
 public:
  CorvoClient() = default;
  CorvoClient(const CorvoClient&) = delete;
  CorvoClient& operator=(const CorvoClient&) = delete;
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

  /// The values of all flags of the configuration that have one for the user, each typed by its
  /// text: a JSON object, a boolean, an integer, a double, else text.
  void getUserFeatureFlagsDetails(Callback<void(FlagReport)> onSuccess, OnError onError = nullptr);
  Answer<FlagReport> getUserFeatureFlagsDetails();

  /// The experiments that the user takes part in, holdouts included, in the configuration's order.
  void getAllUserExperiments(Callback<void(std::vector<CorvoExperimentPointer>)> onSuccess,
                             OnError onError = nullptr);
  Answer<std::vector<CorvoExperimentPointer>> getAllUserExperiments();

  /// The same as one text: for each experiment its name, "." and the index of the user's group,
  /// joined by "|"; absent when there are none. `estimateHoldouts` tells whether holdouts count.
  void getAllUserExperimentsText(ExactBool estimateHoldouts,
                                 Callback<void(std::optional<std::string>)> onSuccess,
                                 OnError onError = nullptr);
  Answer<std::optional<std::string>> getAllUserExperimentsText(ExactBool estimateHoldouts);

  /// The same with holdouts.
  void getAllUserExperimentsText(Callback<void(std::optional<std::string>)> onSuccess,
                                 OnError onError = nullptr);
  Answer<std::optional<std::string>> getAllUserExperimentsText();

  /// The first experiment of that name that the user takes part in; null when he is in none. Fails
  /// with `experimentNotFound`, without asking for the location.
  void getExperiment(std::string_view name, Callback<void(CorvoExperimentPointer)> onSuccess,
                     OnError onError = nullptr);
  Answer<CorvoExperimentPointer> getExperiment(std::string_view name);

  /// Whether the user is in the first holdout of that name. The holdouts that this one itself names
  /// play no part. Fails with `holdoutNotFound`, without asking for the location.
  void getHoldout(std::string_view name, Callback<void(bool)> onSuccess, OnError onError = nullptr);
  Answer<bool> getHoldout(std::string_view name);

  /// The holdouts that the user is in and that none of those they name keeps him out of, as one
  /// text like that of `getAllUserExperimentsText`; absent when there are none.
  void getAllUserHoldouts(Callback<void(std::optional<std::string>)> onSuccess,
                          OnError onError = nullptr);
  Answer<std::optional<std::string>> getAllUserHoldouts();

  /// The experiments that the user takes part in, each with the values that they get from it, in
  /// the configuration's order. `estimateHoldouts` tells whether holdouts are among them. Where the
  /// values of repeated names would take more than 64 MiB, the error is `requestConfigFailed` with
  /// a `decodingError`.
  void getUserExperimentsDetails(ExactBool estimateHoldouts,
                                 Callback<void(std::vector<CorvoExperimentDetail>)> onSuccess,
                                 OnError onError = nullptr);
  Answer<std::vector<CorvoExperimentDetail>> getUserExperimentsDetails(ExactBool estimateHoldouts);

  /// The same with holdouts.
  void getUserExperimentsDetails(Callback<void(std::vector<CorvoExperimentDetail>)> onSuccess,
                                 OnError onError = nullptr);
  Answer<std::vector<CorvoExperimentDetail>> getUserExperimentsDetails();

  /// Why a flag has its value for the user, and why the user is in an experiment of that name, or
  /// is not: the answer of `checkFlag` and `getExperiment`, or their error, with the steps that led
  /// to it. Fetches as those do. Fails only where a fetch does.
  void explainFlag(std::string_view flagName, Callback<void(Explanation)> onSuccess,
                   OnError onError = nullptr);
  Answer<Explanation> explainFlag(std::string_view flagName);
  void explainExperiment(std::string_view name, Callback<void(Explanation)> onSuccess,
                         OnError onError = nullptr);
  Answer<Explanation> explainExperiment(std::string_view name);

  /// The project in force: that of the cached configuration while it is fresh, else fetched. With
  /// it any number of threads can answer about any users; see <corvo/evaluation.h>.
  void getProject(Callback<void(Project)> onSuccess, OnError onError = nullptr);
  Answer<Project> getProject();

  /// Forces the user of now into the first experiment of that name: into the group of that index,
  /// from 0, or, without an index, into whichever group the weights give him. Allocation, layer and
  /// targets no longer count for him there, holdouts still do. Kept, in place of an earlier choice
  /// for the experiment, until it is excluded. Fails with `experimentsEmpty`, `experimentNotFound`,
  /// `experimentSplitIdNotFound` or `experimentGroupIndexNotFound`, and then forces and keeps
  /// nothing.
  void includeForce(std::string_view experimentName, OptionalIndex groupIndex,
                    Callback<void()> onSuccess, OnError onError = nullptr);
  Answer<void> includeForce(std::string_view experimentName, OptionalIndex groupIndex);

  /// The same without an index. A template, so that `{}` is an index that is absent and never a
  /// callback.
  template <std::convertible_to<Callback<void()>> OnSuccess>
  void includeForce(std::string_view experimentName, OnSuccess&& onSuccess,
                    OnError onError = nullptr) {
    includeForce(experimentName, std::nullopt, std::forward<OnSuccess>(onSuccess),
                 std::move(onError));
  }
  Answer<void> includeForce(std::string_view experimentName);

  /// Takes back what `includeForce` did for that experiment and fetches the configuration anew,
  /// always. Should the fetch fail, the inclusion is forgotten all the same, and the cached
  /// configuration, while it is fresh, still carries it. Fails with `noForceIncludedExperiments`
  /// before the first inclusion and after `excludeForceAll`, else with `experimentNotFound` where
  /// this experiment is not included.
  void excludeForce(std::string_view experimentName, Callback<void()> onSuccess,
                    OnError onError = nullptr);
  Answer<void> excludeForce(std::string_view experimentName);

  /// The same for all experiments. Fails with `noForceIncludedExperiments` before the first
  /// inclusion and after `excludeForceAll`; succeeds without a fetch when the last inclusion was
  /// taken back by `excludeForce`.
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

  /// What the forms above rest on: one operation for each question, which answers to a sink.
  /// Applications use the forms.
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
  /// Fetches nothing and changes no answer. Not const: may read the store, and is for one thread at
  /// a time, as every operation of the client.
  [[nodiscard]] virtual ClientStatus status() = 0;

  /// The queue on which answers come after a fetch; `Answer::get` runs it.
  [[nodiscard]] virtual std::shared_ptr<MainQueue> mainQueue() const = 0;

 private:
  // Makes the suspending form of a question.
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
