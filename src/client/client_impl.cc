// SPDX-License-Identifier: Apache-2.0

#include "client/client_impl.h"

#include <new>
#include <utility>
#include <variant>

#include "base/text.h"
#include "evaluation/project_state.h"
#include "network/routes.h"

namespace corvo::corvo_internal::client {

using experiments::Scope;

CorvoClientImpl::CorvoClientImpl(Parts parts)
    : storage_(std::move(parts.storage)),
      contexts_(std::move(parts.contexts)),
      user_(std::move(parts.user)),
      forced_(std::move(parts.forced)),
      synchronisation_(std::move(parts.synchronisation)),
      clock_(std::move(parts.clock)),
      mainQueue_(std::move(parts.mainQueue)) {}

CorvoClientImpl::~CorvoClientImpl() {
  if (!storage_->isPending()) return;
  try {
    tryStorageAgain(clock_->now());
  } catch (...) {  // then the value is lost
  }
}

// Drops the evidence, because any operation may make it obsolete.
double CorvoClientImpl::begin(const Turn& turn, double now) {
  evidence_.drop();
  if (!turn.isNested() && storage_->isDue(now)) tryStorageAgain(now);
  return now;
}

// Does the work that the start and earlier fetches had to postpone because the store was
// unavailable.
void CorvoClientImpl::tryStorageAgain(double now) try {
  if (storage_->config.isPending() && !storage_->corvoForcedExperiments.isKnown()) {
    lacksInclusions_ = true;
  }
  if (!storage_->tryAgain()) return;
  user_->settleLate(now);
  if (lacksInclusions_) synchronisation_->forceAgain();
  lacksInclusions_ = false;
  storage_->config.settle();
} catch (...) {
  storage_->fail();  // the rest is done next time
  throw;
}

void CorvoClientImpl::settleUser(std::optional<CorvoUser> initialUser) {
  const Turn turn(access_);
  user_->settle(std::move(initialUser), begin(turn));
}

void CorvoClientImpl::setUser(CorvoUser user) {
  const Turn turn(access_);
  user_->replace(std::move(user), begin(turn));
}

void CorvoClientImpl::setUserProperties(EditUser edit) {
  if (!edit) return;
  const auto self = shared_from_this();  // the callback may release the client
  const Turn turn(access_);
  begin(turn);
  user_->build(edit);
}

void CorvoClientImpl::editUserProperties(EditUser edit) {
  if (!edit) return;
  const auto self = shared_from_this();
  const Turn turn(access_);
  begin(turn);
  user_->edit(edit);
}

void CorvoClientImpl::clearUserProperties() {
  const Turn turn(access_);
  user_->replace({PropertyMap(), PropertyMap()}, begin(turn));
}

template <class Decider, class T>
void CorvoClientImpl::ask(Decider decider, AnswerSink<T>& sink) {
  SinkQuestion<T, Decider> question(std::move(decider), sink);
  ask(question);
}

void CorvoClientImpl::askFlagReport(AnswerSink<FlagReport>& sink) {
  ask(aboutUser([](const Evidence& evidence) -> Result<FlagReport> {
        return evidence.evaluator.flags(evidence.context);
      }),
      sink);
}

void CorvoClientImpl::askExperiments(AnswerSink<std::vector<CorvoExperimentPointer>>& sink) {
  ask(aboutUser([](const Evidence& evidence) -> Result<std::vector<CorvoExperimentPointer>> {
        return evidence.evaluator.experiments(evidence.context);
      }),
      sink);
}

void CorvoClientImpl::askExperimentsText(bool estimateHoldouts,
                                         AnswerSink<std::optional<std::string>>& sink) {
  askMemberships(experiments::scopeWith(estimateHoldouts), sink);
}

void CorvoClientImpl::askHoldoutsText(AnswerSink<std::optional<std::string>>& sink) {
  askMemberships(Scope::onlyHoldouts, sink);
}

void CorvoClientImpl::askMemberships(Scope scope, AnswerSink<std::optional<std::string>>& sink) {
  ask(aboutUser([scope](const Evidence& evidence) -> Result<std::optional<std::string>> {
        return evidence.evaluator.experimentsText(scope, evidence.context);
      }),
      sink);
}

void CorvoClientImpl::askDetails(bool estimateHoldouts,
                                 AnswerSink<std::vector<CorvoExperimentDetail>>& sink) {
  const Scope scope = experiments::scopeWith(estimateHoldouts);
  ask(aboutUser([scope](const Evidence& evidence) {
        return evidence.evaluator.details(scope, evidence.context);
      }),
      sink);
}

void CorvoClientImpl::askProject(AnswerSink<Project>& sink) {
  ask(aboutProject([](const Evidence& evidence) -> Result<Project> {
        return ProjectAccess::of(evidence.evaluator.project());
      }),
      sink);
}

// Depends on the project alone: the user is read only after the experiment is found, and the
// location never.
void CorvoClientImpl::askToInclude(std::string_view experimentName,
                                   std::optional<std::int64_t> groupIndex, AnswerSink<Done>& sink) {
  SinkQuestion question(aboutProject([this, name = base::wellFormed(experimentName),
                                      groupIndex](const Evidence& evidence) -> Result<Done> {
                          auto error = forced_->include(evidence.evaluator.project()->config(),
                                                        name, groupIndex);
                          if (error) return *std::move(error);
                          return Done();
                        }),
                        sink);
  Turn turn(access_);
  askWithoutEvidence(question, {begin(turn)}, turn);  // because it changes stored records
}

void CorvoClientImpl::askToExclude(std::string_view experimentName, AnswerSink<Done>& sink) {
  Turn turn(access_);
  begin(turn);
  if (auto error = forced_->forget(base::WellFormed(experimentName))) {
    turn.release();
    return sink.onError(*std::move(error));
  }
  refresh(sink, turn);
}

void CorvoClientImpl::askToExcludeAll(AnswerSink<Done>& sink) {
  Turn turn(access_);
  begin(turn);
  std::variant<bool, CorvoError> forgotten = forced_->forgetAll();
  if (const bool* wereAny = std::get_if<bool>(&forgotten); wereAny != nullptr && *wereAny) {
    return refresh(sink, turn);
  }
  turn.release();
  if (auto* error = std::get_if<CorvoError>(&forgotten)) return sink.onError(std::move(*error));
  sink.onValue({});
}

ClientStatus CorvoClientImpl::status() {
  const auto copy = [](auto& slot) -> std::optional<ClientStatus::Copy> {
    const auto lifetime = slot.lifetime();
    if (!lifetime) return std::nullopt;
    return ClientStatus::Copy{.storedAt = lifetime->from, .freshUntil = lifetime->until};
  };
  const Turn turn(access_);
  return {.configuration = copy(storage_->config), .location = copy(storage_->location)};
}

// Completes as soon as a new configuration has arrived.
void CorvoClientImpl::refresh(AnswerSink<Done>& sink, Turn& turn) {
  SinkQuestion question(aboutProject([](const Evidence&) -> Result<Done> { return Done(); }), sink);
  askAfterFetch(question, turn);
}

// Releases the client before sending the request, because the question fails before this returns if
// the address is invalid.
template <class Route, class Failure, class Step>
void CorvoClientImpl::fetch(Question& question, Turn& turn, Step step) {
  const auto route = synchronisation_->route<Route>();
  const std::shared_ptr<Question> waiting = question.toHeap();
  turn.release();
  synchronisation_->fetch(
      route,
      [weak = weak_from_this(), waiting, step](typename Route::ResponseType fetched) {
        if (const auto self = weak.lock()) {
          self->resume<Failure>(waiting, [&](Turn& mine) { step(*self, *waiting, fetched, mine); });
        }
      },
      [weak = weak_from_this(), waiting](const CorvoNetworkError& error) {
        if (const auto self = weak.lock()) {
          self->resume<Failure>(
              waiting, [&](Turn& mine) { waiting->fail(CorvoError(Failure{error}), mine); });
        }
      });
}

// Running out of memory before the callback is called counts as a document that could not be
// decoded.
template <class Failure, class Step>
void CorvoClientImpl::resume(const std::shared_ptr<Question>& waiting, Step step) {
  Turn turn(access_);
  try {
    step(turn);
    return;
  } catch (const std::bad_alloc&) {
    if (waiting->isDelivered()) throw;
  }
  waiting->fail(
      CorvoError(Failure{CorvoNetworkError(CorvoNetworkError::DecodingError{"out of memory"})}),
      turn);
}

void CorvoClientImpl::askWithoutEvidence(Question& question, const UninterruptedPeriod& period,
                                         Turn& turn) {
  if (const ConfigPointer& config = storage_->config.read(period.now)) {
    return locate(question, evaluatorOf(config), period, turn);
  }
  askAfterFetch(question, turn);
}

void CorvoClientImpl::askAfterFetch(Question& question, Turn& turn) {
  fetch<network::ConfigRoute, CorvoError::RequestConfigFailed>(
      question, turn,
      [](CorvoClientImpl& self, Question& asked, model::ConfigResponse& fetched, Turn& mine) {
        const double now = self.begin(mine);
        const ConfigPointer config = self.synchronisation_->keep(std::move(fetched));
        self.locate(asked, self.evaluatorOf(config), {now}, mine);
      });
}

void CorvoClientImpl::locate(Question& question, const EvaluatorPointer& evaluator,
                             const UninterruptedPeriod& period, Turn& turn) {
  if (question.about(*evaluator->project()) == Question::About::project) {
    return question.answer({*evaluator, contexts_->bare(period.now)}, turn);
  }
  if (const LocationPointer& location = storage_->location.read(period.now)) {
    return decide(question, evaluator, location, period, turn);
  }
  contexts_->currentUser();  // an empty user is stored before the location is requested
  fetch<network::LocationRoute, CorvoError::RequestLocationFailed>(
      question, turn,
      [evaluator](CorvoClientImpl& self, Question& asked, const PropertyMap& fetched, Turn& mine) {
        const double later = self.begin(mine);
        self.decide(asked, evaluator, self.synchronisation_->keep(fetched), {later}, mine);
      });
}

void CorvoClientImpl::decide(Question& question, const EvaluatorPointer& evaluator,
                             const LocationPointer& location, const UninterruptedPeriod& period,
                             Turn& turn) {
  const targeting::Context context = contexts_->at(period.now, evaluator->project(), location);
  const Evidence evidence{*evaluator, context};
  if (mayKeep(period, turn)) evidence_.keep(evidence, period.now, *period.surroundings);
  question.answer(evidence, turn);
}

// An operation under way may change the records from which a nested question was decided.
bool CorvoClientImpl::mayKeep(const UninterruptedPeriod& period, const Turn& turn) {
  const double end = EvidenceCache::endOfSecond(period.now);
  return period.surroundings && !turn.isNested() && storage_->isReached() &&
         contexts_->isComplete() && storage_->config.isValid(end) &&
         storage_->location.isValid(end);
}

const CorvoClientImpl::EvaluatorPointer& CorvoClientImpl::evaluatorOf(const ConfigPointer& config) {
  if (config != config_) {
    evaluator_ = std::make_shared<evaluation::Evaluator>(
        std::make_shared<const project::PreparedProject>(config));
    config_ = config;
  }
  return evaluator_;
}

}  // namespace corvo::corvo_internal::client
