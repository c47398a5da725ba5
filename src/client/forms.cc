// SPDX-License-Identifier: Apache-2.0

#include <corvo/client.h>

#include <utility>

// Both forms of each question without a type parameter. Defined here, so that including the header
// does not compile them.

namespace corvo {

void CorvoClient::getUserFeatureFlagsDetails(Callback<void(FlagReport)> onSuccess,
                                             OnError onError) {
  corvo_internal::CallbackSink sink(onSuccess, onError);
  askFlagReport(sink);
}

Answer<FlagReport> CorvoClient::getUserFeatureFlagsDetails() {
  return answer<FlagReport>([&](auto& sink) { askFlagReport(sink); });
}

void CorvoClient::getAllUserExperiments(
    Callback<void(std::vector<CorvoExperimentPointer>)> onSuccess, OnError onError) {
  corvo_internal::CallbackSink sink(onSuccess, onError);
  askExperiments(sink);
}

Answer<std::vector<CorvoExperimentPointer>> CorvoClient::getAllUserExperiments() {
  return answer<std::vector<CorvoExperimentPointer>>([&](auto& sink) { askExperiments(sink); });
}

void CorvoClient::getAllUserExperimentsText(ExactBool estimateHoldouts,
                                            Callback<void(std::optional<std::string>)> onSuccess,
                                            OnError onError) {
  corvo_internal::CallbackSink sink(onSuccess, onError);
  askExperimentsText(estimateHoldouts.value, sink);
}

Answer<std::optional<std::string>> CorvoClient::getAllUserExperimentsText(
    ExactBool estimateHoldouts) {
  return answer<std::optional<std::string>>(
      [&](auto& sink) { askExperimentsText(estimateHoldouts.value, sink); });
}

void CorvoClient::getAllUserExperimentsText(Callback<void(std::optional<std::string>)> onSuccess,
                                            OnError onError) {
  getAllUserExperimentsText(true, std::move(onSuccess), std::move(onError));
}

Answer<std::optional<std::string>> CorvoClient::getAllUserExperimentsText() {
  return getAllUserExperimentsText(true);
}

void CorvoClient::getExperiment(std::string_view name,
                                Callback<void(CorvoExperimentPointer)> onSuccess, OnError onError) {
  corvo_internal::CallbackSink sink(onSuccess, onError);
  askExperiment(name, sink);
}

Answer<CorvoExperimentPointer> CorvoClient::getExperiment(std::string_view name) {
  return answer<CorvoExperimentPointer>([&](auto& sink) { askExperiment(name, sink); });
}

void CorvoClient::getHoldout(std::string_view name, Callback<void(bool)> onSuccess,
                             OnError onError) {
  corvo_internal::CallbackSink sink(onSuccess, onError);
  askHoldout(name, sink);
}

Answer<bool> CorvoClient::getHoldout(std::string_view name) {
  return answer<bool>([&](auto& sink) { askHoldout(name, sink); });
}

void CorvoClient::getAllUserHoldouts(Callback<void(std::optional<std::string>)> onSuccess,
                                     OnError onError) {
  corvo_internal::CallbackSink sink(onSuccess, onError);
  askHoldoutsText(sink);
}

Answer<std::optional<std::string>> CorvoClient::getAllUserHoldouts() {
  return answer<std::optional<std::string>>([&](auto& sink) { askHoldoutsText(sink); });
}

void CorvoClient::getUserExperimentsDetails(
    ExactBool estimateHoldouts, Callback<void(std::vector<CorvoExperimentDetail>)> onSuccess,
    OnError onError) {
  corvo_internal::CallbackSink sink(onSuccess, onError);
  askDetails(estimateHoldouts.value, sink);
}

Answer<std::vector<CorvoExperimentDetail>> CorvoClient::getUserExperimentsDetails(
    ExactBool estimateHoldouts) {
  return answer<std::vector<CorvoExperimentDetail>>(
      [&](auto& sink) { askDetails(estimateHoldouts.value, sink); });
}

void CorvoClient::getUserExperimentsDetails(
    Callback<void(std::vector<CorvoExperimentDetail>)> onSuccess, OnError onError) {
  getUserExperimentsDetails(true, std::move(onSuccess), std::move(onError));
}

Answer<std::vector<CorvoExperimentDetail>> CorvoClient::getUserExperimentsDetails() {
  return getUserExperimentsDetails(true);
}

void CorvoClient::explainFlag(std::string_view flagName, Callback<void(Explanation)> onSuccess,
                              OnError onError) {
  corvo_internal::CallbackSink sink(onSuccess, onError);
  askWhyFlag(flagName, sink);
}

Answer<Explanation> CorvoClient::explainFlag(std::string_view flagName) {
  return answer<Explanation>([&](auto& sink) { askWhyFlag(flagName, sink); });
}

void CorvoClient::explainExperiment(std::string_view name, Callback<void(Explanation)> onSuccess,
                                    OnError onError) {
  corvo_internal::CallbackSink sink(onSuccess, onError);
  askWhyExperiment(name, sink);
}

Answer<Explanation> CorvoClient::explainExperiment(std::string_view name) {
  return answer<Explanation>([&](auto& sink) { askWhyExperiment(name, sink); });
}

void CorvoClient::getProject(Callback<void(Project)> onSuccess, OnError onError) {
  corvo_internal::CallbackSink sink(onSuccess, onError);
  askProject(sink);
}

Answer<Project> CorvoClient::getProject() {
  return answer<Project>([&](auto& sink) { askProject(sink); });
}

void CorvoClient::includeForce(std::string_view experimentName, OptionalIndex groupIndex,
                               Callback<void()> onSuccess, OnError onError) {
  corvo_internal::CallbackSink sink(onSuccess, onError);
  askToInclude(experimentName, groupIndex.value, sink);
}

Answer<void> CorvoClient::includeForce(std::string_view experimentName, OptionalIndex groupIndex) {
  return answer<void, Done>(
      [&](auto& sink) { askToInclude(experimentName, groupIndex.value, sink); });
}

Answer<void> CorvoClient::includeForce(std::string_view experimentName) {
  return includeForce(experimentName, std::nullopt);
}

void CorvoClient::excludeForce(std::string_view experimentName, Callback<void()> onSuccess,
                               OnError onError) {
  corvo_internal::CallbackSink sink(onSuccess, onError);
  askToExclude(experimentName, sink);
}

Answer<void> CorvoClient::excludeForce(std::string_view experimentName) {
  return answer<void, Done>([&](auto& sink) { askToExclude(experimentName, sink); });
}

void CorvoClient::excludeForceAll(Callback<void()> onSuccess, OnError onError) {
  corvo_internal::CallbackSink sink(onSuccess, onError);
  askToExcludeAll(sink);
}

Answer<void> CorvoClient::excludeForceAll() {
  return answer<void, Done>([&](auto& sink) { askToExcludeAll(sink); });
}

}  // namespace corvo
