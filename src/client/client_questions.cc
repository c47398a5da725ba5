// SPDX-License-Identifier: Apache-2.0

#include "client/client_impl.h"

// The frequent questions: about one flag, experiment or holdout. Releases compile them for speed,
// and the rest of the client for size.

namespace corvo::corvo_internal::client {

void CorvoClientImpl::ask(Question& question) {
  Turn turn(access_);
  const double now = clock_->now();
  const EvidenceCache::Surroundings around = surroundings();
  if (evidence_.isValid(now, around)) return question.answer(evidence_.at(now), turn);
  begin(turn, now);
  askWithoutEvidence(question, {now, around}, turn);
}

EvidenceCache::Surroundings CorvoClientImpl::surroundings() const {
  return {storage_->revision(), contexts_->zone()};
}

template <class Decider, class T>
void CorvoClientImpl::askAbout(std::string_view name, AnswerSink<T>& sink) {
  SinkQuestion<T, Decider> question(name, sink);
  ask(question);
}

void CorvoClientImpl::askFlag(std::string_view flagName, AnswerSink<std::string_view>& sink) {
  askAbout<DecidingFlag>(flagName, sink);
}

void CorvoClientImpl::askExperiment(std::string_view name,
                                    AnswerSink<CorvoExperimentPointer>& sink) {
  askAbout<DecidingExperiment>(name, sink);
}

void CorvoClientImpl::askHoldout(std::string_view name, AnswerSink<bool>& sink) {
  askAbout<DecidingHoldout>(name, sink);
}

void CorvoClientImpl::askWhyFlag(std::string_view flagName, AnswerSink<Explanation>& sink) {
  askAbout<ExplainingFlag>(flagName, sink);
}

void CorvoClientImpl::askWhyExperiment(std::string_view name, AnswerSink<Explanation>& sink) {
  askAbout<ExplainingExperiment>(name, sink);
}

}  // namespace corvo::corvo_internal::client
