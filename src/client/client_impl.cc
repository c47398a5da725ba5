#include "client/client_impl.h"

#include <utility>
#include <variant>

#include "base/text.h"
#include "client/experiment_questions.h"
#include "client/flag_question.h"
#include "experiments/details.h"
#include "targeting/expiry.h"

namespace corvo::client {

using experiments::Scope;

namespace {

Scope scopeWith(ExactBool estimateHoldouts) {
  return estimateHoldouts.value ? Scope::all : Scope::withoutHoldouts;
}

PropertyMap wellFormed(const PropertyMap& properties) {
  PropertyMap result;
  for (const auto& [name, value] : properties) {
    result.emplace(base::wellFormed(name), base::wellFormed(value));
  }
  return result;
}

CorvoUser wellFormed(const CorvoUser& user) {
  CorvoUser result{wellFormed(user.properties), std::nullopt};
  if (user.corvoExpiration) result.corvoExpiration = wellFormed(*user.corvoExpiration);
  return result;
}

}  // namespace

CorvoClientImpl::CorvoClientImpl(Parts parts)
    : storage_(std::move(parts.storage)),
      contexts_(std::move(parts.contexts)),
      forced_(std::move(parts.forced)),
      synchronisation_(std::move(parts.synchronisation)),
      clock_(std::move(parts.clock)),
      timeZone_(std::move(parts.timeZone)),
      mainQueue_(std::move(parts.mainQueue)) {}

void CorvoClientImpl::settleUser(std::optional<CorvoUser> initialUser) {
  if (initialUser) {
    storeUser(*initialUser);
    return;
  }
  const std::shared_ptr<const CorvoUser> stored = storage_->user.read();
  if (!stored || stored->corvoExpiration) return;
  CorvoUser stamped{stored->properties, PropertyMap()};
  const std::string expiry = targeting::expiryText(clock_->now(), *timeZone_);
  for (const auto& property : stamped.properties) {
    stamped.corvoExpiration->emplace(property.first, expiry);
  }
  storeUser(stamped);
}

void CorvoClientImpl::setUser(CorvoUser user) { storeUser(user); }

void CorvoClientImpl::setUserProperties(EditUser edit) {
  if (!edit) return;
  CorvoUser::Builder builder(clock_, timeZone_);
  storeEdited(builder, std::move(edit));
}

void CorvoClientImpl::editUserProperties(EditUser edit) {
  if (!edit) return;
  const CorvoUser& user = *contexts_->currentUser();
  CorvoUser::Builder builder(clock_, timeZone_);
  builder.properties = user.properties;
  builder.corvoExpiration = user.corvoExpiration.value_or(PropertyMap());
  storeEdited(builder, std::move(edit));
}

void CorvoClientImpl::clearUserProperties() { storeUser({PropertyMap(), PropertyMap()}); }

void CorvoClientImpl::storeEdited(CorvoUser::Builder& builder, EditUser edit) {
  const auto self = shared_from_this();  // the callback may release the client
  edit(builder);
  storeUser(builder.build());
}

void CorvoClientImpl::storeUser(const CorvoUser& user) {
  storage_->user.write(std::make_shared<const CorvoUser>(wellFormed(user)), clock_->now());
}

void CorvoClientImpl::checkFlagText(std::string_view flagName, FlagSink& sink) {
  const base::WellFormed name(flagName);
  FlagQuestion question(Name(name), sink);
  ask(question);
}

void CorvoClientImpl::getUserFeatureFlagsDetails(Callback<void(FlagReport)> onSuccess,
                                                 OnError onError) {
  CallbackQuestion question(aboutUser([](const Evidence& evidence) -> Decision<FlagReport> {
                              return reportFlags(evidence);
                            }),
                            onSuccess, onError);
  ask(question);
}

void CorvoClientImpl::getAllUserExperiments(
    Callback<void(std::vector<CorvoExperimentPointer>)> onSuccess, OnError onError) {
  CallbackQuestion question(
      aboutUser([](const Evidence& evidence) -> Decision<std::vector<CorvoExperimentPointer>> {
        return experiments::experimentHandles(
            evidence.project,
            experiments::eligibleExperiments(*evidence.project, Scope::all, evidence.context),
            evidence.context);
      }),
      onSuccess, onError);
  ask(question);
}

void CorvoClientImpl::getAllUserExperimentsText(
    ExactBool estimateHoldouts, Callback<void(std::optional<std::string>)> onSuccess,
    OnError onError) {
  askMemberships(scopeWith(estimateHoldouts), onSuccess, onError);
}

void CorvoClientImpl::getAllUserExperimentsText(
    Callback<void(std::optional<std::string>)> onSuccess, OnError onError) {
  askMemberships(Scope::all, onSuccess, onError);
}

void CorvoClientImpl::getAllUserHoldouts(Callback<void(std::optional<std::string>)> onSuccess,
                                         OnError onError) {
  askMemberships(Scope::onlyHoldouts, onSuccess, onError);
}

void CorvoClientImpl::askMemberships(Scope scope,
                                     Callback<void(std::optional<std::string>)>& onSuccess,
                                     OnError& onError) {
  CallbackQuestion question(
      aboutUser([scope](const Evidence& evidence) -> Decision<std::optional<std::string>> {
        return experiments::membershipText(
            experiments::eligibleExperiments(*evidence.project, scope, evidence.context));
      }),
      onSuccess, onError);
  ask(question);
}

void CorvoClientImpl::getExperiment(std::string_view name,
                                    Callback<void(CorvoExperimentPointer)> onSuccess,
                                    OnError onError) {
  const base::WellFormed wellFormedName(name);
  CallbackQuestion question(DecidingExperiment{Name(wellFormedName)}, onSuccess, onError);
  ask(question);
}

void CorvoClientImpl::getHoldout(std::string_view name, Callback<void(bool)> onSuccess,
                                 OnError onError) {
  const base::WellFormed wellFormedName(name);
  CallbackQuestion question(DecidingHoldout{Name(wellFormedName)}, onSuccess, onError);
  ask(question);
}

void CorvoClientImpl::getUserExperimentsDetails(
    ExactBool estimateHoldouts, Callback<void(std::vector<CorvoExperimentDetail>)> onSuccess,
    OnError onError) {
  askDetails(scopeWith(estimateHoldouts), onSuccess, onError);
}

void CorvoClientImpl::getUserExperimentsDetails(
    Callback<void(std::vector<CorvoExperimentDetail>)> onSuccess, OnError onError) {
  askDetails(Scope::all, onSuccess, onError);
}

void CorvoClientImpl::askDetails(Scope scope,
                                 Callback<void(std::vector<CorvoExperimentDetail>)>& onSuccess,
                                 OnError& onError) {
  CallbackQuestion question(
      aboutUser([scope](const Evidence& evidence) -> Decision<std::vector<CorvoExperimentDetail>> {
        return experiments::experimentDetails(
            experiments::eligibleExperiments(*evidence.project, scope, evidence.context),
            evidence.context);
      }),
      onSuccess, onError);
  ask(question);
}

void CorvoClientImpl::includeForce(std::string_view experimentName, OptionalIndex groupIndex,
                                   Callback<void()> onSuccess, OnError onError) {
  askInclusion(experimentName, groupIndex.value, onSuccess, onError);
}

void CorvoClientImpl::includeForce(std::string_view experimentName, Callback<void()> onSuccess,
                                   OnError onError) {
  askInclusion(experimentName, std::nullopt, onSuccess, onError);
}

// About the project alone: the user is looked at only once the experiment is found, the location
// not at all.
void CorvoClientImpl::askInclusion(std::string_view experimentName,
                                   std::optional<std::int64_t> groupIndex,
                                   Callback<void()>& onSuccess, OnError& onError) {
  CallbackQuestion question(aboutProject([this, name = base::wellFormed(experimentName),
                                          groupIndex](const Evidence& evidence) -> Decision<void> {
                              auto error =
                                  forced_->include(evidence.project->config(), name, groupIndex);
                              if (error) return *std::move(error);
                              return {};
                            }),
                            onSuccess, onError);
  ask(question);
}

void CorvoClientImpl::excludeForce(std::string_view experimentName, Callback<void()> onSuccess,
                                   OnError onError) {
  if (const auto error = forced_->forget(base::WellFormed(experimentName))) return onError(*error);
  refresh(onSuccess, onError);
}

void CorvoClientImpl::excludeForceAll(Callback<void()> onSuccess, OnError onError) {
  const std::variant<bool, CorvoError> forgotten = forced_->forgetAll();
  if (const auto* error = std::get_if<CorvoError>(&forgotten)) return onError(*error);
  if (!std::get<bool>(forgotten)) return onSuccess();
  refresh(onSuccess, onError);
}

// Done as soon as a new configuration is in hand.
void CorvoClientImpl::refresh(Callback<void()>& onSuccess, OnError& onError) {
  CallbackQuestion question(aboutProject([](const Evidence&) -> Decision<void> { return {}; }),
                            onSuccess, onError);
  askAnew(question);
}

template <class Fetched, class Step>
auto CorvoClientImpl::whenFetched(std::shared_ptr<Question> waiting, Step step) {
  return [weak = weak_from_this(), waiting = std::move(waiting), step](const Fetched& fetched) {
    if (const auto self = weak.lock()) step(*self, *waiting, fetched, self->clock_->now());
  };
}

template <class Failure>
auto CorvoClientImpl::whenFailed(std::shared_ptr<Question> waiting) {
  return [weak = weak_from_this(), waiting = std::move(waiting)](const CorvoNetworkError& error) {
    if (const auto self = weak.lock()) waiting->fail(CorvoError(Failure{error}));
  };
}

void CorvoClientImpl::ask(Question& question) {
  const double now = clock_->now();
  if (const ConfigPointer& config = storage_->config.read(now)) {
    return locate(question, projectOf(config), now);
  }
  askAnew(question);
}

void CorvoClientImpl::askAnew(Question& question) {
  const std::shared_ptr<Question> waiting = question.detach();
  synchronisation_->fetchConfiguration(
      whenFetched<ConfigPointer>(
          waiting, [](CorvoClientImpl& self, Question& asked, const ConfigPointer& config,
                      double now) { self.locate(asked, self.projectOf(config), now); }),
      whenFailed<CorvoError::RequestConfigFailed>(waiting));
}

void CorvoClientImpl::locate(Question& question, const ProjectPointer& project, double now) {
  if (question.about(*project) == Question::About::project) {
    return question.answer({project, contexts_->bare(now)});
  }
  if (const LocationPointer& location = storage_->location.read(now)) {
    return decide(question, project, location, now);
  }
  contexts_->currentUser();  // an empty user is stored before the location is asked for
  const std::shared_ptr<Question> waiting = question.detach();
  synchronisation_->fetchLocation(
      whenFetched<LocationPointer>(
          waiting,
          [project](CorvoClientImpl& self, Question& asked, const LocationPointer& location,
                    double later) { self.decide(asked, project, location, later); }),
      whenFailed<CorvoError::RequestLocationFailed>(waiting));
}

void CorvoClientImpl::decide(Question& question, const ProjectPointer& project,
                             const LocationPointer& location, double now) {
  question.answer({project, contexts_->at(now, project, location)});
}

const CorvoClientImpl::ProjectPointer& CorvoClientImpl::projectOf(const ConfigPointer& config) {
  if (config != config_) {
    project_ = std::make_shared<const experiments::Project>(config);
    config_ = config;
  }
  return project_;
}

}  // namespace corvo::client
