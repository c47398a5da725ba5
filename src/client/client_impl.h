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

#include "base/exclusive_access.h"
#include "client/forced_inclusions.h"
#include "client/question.h"
#include "client/standing_evidence.h"
#include "client/stored_context.h"
#include "client/stored_user.h"
#include "client/synchronisation.h"
#include "evaluation/evaluator.h"
#include "experiments/memberships.h"
#include "model/config.h"
#include "storage/storage_client.h"

namespace corvo::corvo_internal::client {

/// The one implementation of `CorvoClient`. Keeps no state but what is derived from its stored
/// records, and that only until they change. What waits for the network holds it weakly.
class CorvoClientImpl final : public CorvoClient,
                              public std::enable_shared_from_this<CorvoClientImpl> {
 public:
  struct Parts {
    std::shared_ptr<storage::StorageClient> storage;
    // The next four on the same storage.
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
  /// Tries once more to store what the store lacks.
  ~CorvoClientImpl() override;

  /// Settles the stored user at the start of the client.
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

  // Every operation takes the client for its thread, and gives it up before it calls back.
  using Access = base::ExclusiveAccess<>;

  // The moment of an operation that begins; a store that failed is tried again. Not inside another
  // operation, for what that has read must not change under it.
  double begin(const Turn& turn) { return begin(turn, clock_->now()); }
  double begin(const Turn& turn, double now);
  void tryStorageAgain(double now);

  // A question is decided at once where the evidence of the one before stands. Else it goes its way
  // from configuration to location and context, each step at once or after a fetch.
  template <class Decider, class T>
  void ask(Decider decider, AnswerSink<T>& sink);
  template <class Decider, class T>
  void askAbout(std::string_view name, AnswerSink<T>& sink);
  void ask(Question& question);
  // The stretch in which a question is decided without waiting: its moment, and what others may
  // have changed, looked at before anything was read. None of these after a fetch: records may have
  // changed since the question read them.
  struct Stretch {
    double now = 0;
    std::optional<StandingEvidence::Surroundings> surroundings = {};
  };
  void askAtLength(Question& question, const Stretch& stretch, Turn& turn);
  void askAnew(Question& question, Turn& turn);
  void locate(Question& question, const EvaluatorPointer& evaluator, const Stretch& stretch,
              Turn& turn);
  void decide(Question& question, const EvaluatorPointer& evaluator,
              const LocationPointer& location, const Stretch& stretch, Turn& turn);

  [[nodiscard]] StandingEvidence::Surroundings surroundings() const;
  // Whether the evidence of a question will do to the end of the second.
  [[nodiscard]] bool mayKeep(const Stretch& stretch, const Turn& turn);
  const EvaluatorPointer& evaluatorOf(const ConfigPointer& config);

  void askMemberships(experiments::Scope scope, AnswerSink<std::optional<std::string>>& sink);
  void refresh(AnswerSink<Done>& sink, Turn& turn);

  // Lets a question wait for a route's answer. It goes on with a step of the client, unless that
  // has been released by then, or with the failure.
  template <class Route, class Failure, class Step>
  void fetch(Question& question, Turn& turn, Step step);
  template <class Failure, class Step>
  void goOn(const std::shared_ptr<Question>& waiting, Step step);

  Access access_{"a client was used from two threads at once"};
  std::shared_ptr<storage::StorageClient> storage_;
  std::shared_ptr<StoredContext> contexts_;
  std::shared_ptr<StoredUser> user_;
  std::shared_ptr<ForcedInclusions> forced_;
  std::shared_ptr<Synchronisation> synchronisation_;
  std::shared_ptr<Clock> clock_;
  std::shared_ptr<MainQueue> mainQueue_;
  bool lacksInclusions_ = false;  // a configuration that was fetched while they could not be read
  ConfigPointer config_;          // what evaluator_ is about
  EvaluatorPointer evaluator_;
  StandingEvidence evidence_;  // of evaluator_ and contexts_
};

}  // namespace corvo::corvo_internal::client
