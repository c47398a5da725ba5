// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/client.h>
#include <corvo/platform/clock.h>
#include <corvo/platform/main_queue.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/concurrent_use_guard.h"
#include "client/evidence_cache.h"
#include "client/forced_inclusions.h"
#include "client/question.h"
#include "client/stored_context.h"
#include "client/stored_user.h"
#include "client/synchronisation.h"
#include "evaluation/evaluator.h"
#include "experiments/memberships.h"
#include "model/config.h"
#include "storage/storage_client.h"

namespace corvo::corvo_internal::client {

/// The only implementation of `CorvoClient`. Its state is derived from its stored records, and kept
/// only until they change. Requests under way refer to it weakly.
class CorvoClientImpl final : public CorvoClient,
                              public std::enable_shared_from_this<CorvoClientImpl> {
 public:
  struct Parts {
    std::shared_ptr<storage::StorageClient> storage;
    // These four use the same storage.
    std::shared_ptr<StoredContext> contexts;
    std::shared_ptr<StoredUser> user;
    std::shared_ptr<ForcedInclusions> forced;
    std::shared_ptr<Synchronisation> synchronisation;
    std::shared_ptr<Clock> clock;
    std::shared_ptr<MainQueue> mainQueue;
  };
  explicit CorvoClientImpl(Parts parts);
  CorvoClientImpl(const CorvoClientImpl&) = delete;
  CorvoClientImpl& operator=(const CorvoClientImpl&) = delete;
  /// Tries once more to write pending values to the store.
  ~CorvoClientImpl() override;

  /// Settles the stored user when the client is created.
  void settleUser(std::optional<CorvoUser> initialUser);

  void setUser(CorvoUser user) override;
  void setUserProperties(EditUser edit) override;
  void editUserProperties(EditUser edit) override;
  void clearUserProperties() override;
  void askFlag(std::string_view flagName, AnswerSink<std::string_view>& sink) override;
  void askFlagReport(AnswerSink<FlagReport>& sink) override;
  void askExperiments(AnswerSink<std::vector<CorvoExperimentPointer>>& sink) override;
  void askExperimentsText(bool estimateHoldouts,
                          AnswerSink<std::optional<std::string>>& sink) override;
  void askExperiment(std::string_view name, AnswerSink<CorvoExperimentPointer>& sink) override;
  void askHoldout(std::string_view name, AnswerSink<bool>& sink) override;
  void askHoldoutsText(AnswerSink<std::optional<std::string>>& sink) override;
  void askDetails(bool estimateHoldouts,
                  AnswerSink<std::vector<CorvoExperimentDetail>>& sink) override;
  void askWhyFlag(std::string_view flagName, AnswerSink<Explanation>& sink) override;
  void askWhyExperiment(std::string_view name, AnswerSink<Explanation>& sink) override;
  void askProject(AnswerSink<Project>& sink) override;
  void askToInclude(std::string_view experimentName, std::optional<std::int64_t> groupIndex,
                    AnswerSink<Done>& sink) override;
  void askToExclude(std::string_view experimentName, AnswerSink<Done>& sink) override;
  void askToExcludeAll(AnswerSink<Done>& sink) override;
  [[nodiscard]] ClientStatus status() override;
  [[nodiscard]] std::shared_ptr<MainQueue> mainQueue() const override { return mainQueue_; }

 private:
  using EvaluatorPointer = std::shared_ptr<evaluation::Evaluator>;
  using ConfigPointer = std::shared_ptr<const model::ConfigResponse>;
  using LocationPointer = std::shared_ptr<const PropertyMap>;

  // Every operation takes the client for its thread, and releases it before it calls back.
  using Access = base::ConcurrentUseGuard<>;

  // The time of the operation that begins. Also retries a store that failed, except inside another
  // operation, because records that it has read must not change.
  double begin(const Turn& turn) { return begin(turn, clock_->now()); }
  double begin(const Turn& turn, double now);
  void tryStorageAgain(double now);

  // If the previous question's evidence is still valid, a question is decided immediately.
  // Otherwise it proceeds from configuration to location and context, each step immediately or
  // after a fetch.
  template <class Decider, class T>
  void ask(Decider decider, AnswerSink<T>& sink);
  template <class Decider, class T>
  void askAbout(std::string_view name, AnswerSink<T>& sink);
  void ask(Question& question);
  // A period in which a question is decided without waiting: its time, and a snapshot of external
  // state, taken before anything was read. Empty after a fetch, because records may have changed
  // since the question read them.
  struct UninterruptedPeriod {
    double now = 0;
    std::optional<EvidenceCache::Surroundings> surroundings = {};
  };
  void askWithoutEvidence(Question& question, const UninterruptedPeriod& period, Turn& turn);
  void askAfterFetch(Question& question, Turn& turn);
  void locate(Question& question, const EvaluatorPointer& evaluator,
              const UninterruptedPeriod& period, Turn& turn);
  void decide(Question& question, const EvaluatorPointer& evaluator,
              const LocationPointer& location, const UninterruptedPeriod& period, Turn& turn);

  [[nodiscard]] EvidenceCache::Surroundings surroundings() const;
  // Whether the evidence of a question remains valid until the end of the second.
  [[nodiscard]] bool mayKeep(const UninterruptedPeriod& period, const Turn& turn);
  const EvaluatorPointer& evaluatorOf(const ConfigPointer& config);

  void askMemberships(experiments::Scope scope, AnswerSink<std::optional<std::string>>& sink);
  void refresh(AnswerSink<Done>& sink, Turn& turn);

  // Makes a question wait for a request. It continues with a step of the client, unless the client
  // has been released by then, or with the failure.
  template <class Route, class Failure, class Step>
  void fetch(Question& question, Turn& turn, Step step);
  template <class Failure, class Step>
  void resume(const std::shared_ptr<Question>& waiting, Step step);

  Access access_{"a client was used from two threads at once"};
  std::shared_ptr<storage::StorageClient> storage_;
  std::shared_ptr<StoredContext> contexts_;
  std::shared_ptr<StoredUser> user_;
  std::shared_ptr<ForcedInclusions> forced_;
  std::shared_ptr<Synchronisation> synchronisation_;
  std::shared_ptr<Clock> clock_;
  std::shared_ptr<MainQueue> mainQueue_;
  bool lacksInclusions_ = false;  // the configuration was fetched without reading them
  ConfigPointer config_;          // the configuration of evaluator_
  EvaluatorPointer evaluator_;
  EvidenceCache evidence_;  // refers to evaluator_ and contexts_
};

}  // namespace corvo::corvo_internal::client
