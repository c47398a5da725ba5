#include "client/client_impl.h"

#include <utility>
#include <variant>

#include "base/text.h"
#include "client/flag_question.h"
#include "targeting/expiry.h"

namespace corvo::client {
namespace {

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

CorvoUser nobody() { return {PropertyMap(), PropertyMap()}; }

}  // namespace

CorvoClientImpl::CorvoClientImpl(Parts parts)
    : storage_(std::move(parts.storage)),
      synchronisation_(std::move(parts.synchronisation)),
      clock_(std::move(parts.clock)),
      timeZone_(std::move(parts.timeZone)),
      mainQueue_(std::move(parts.mainQueue)),
      contexts_(std::move(parts.device), timeZone_) {}

void CorvoClientImpl::settleUser(std::optional<CorvoUser> initialUser) {
  if (initialUser) {
    storeUser(*initialUser);
    return;
  }
  const UserPointer stored = storage_->user.read();
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
  const CorvoUser& user = *currentUser();
  CorvoUser::Builder builder(clock_, timeZone_);
  builder.properties = user.properties;
  builder.corvoExpiration = user.corvoExpiration.value_or(PropertyMap());
  storeEdited(builder, std::move(edit));
}

void CorvoClientImpl::clearUserProperties() { storeUser(nobody()); }

void CorvoClientImpl::storeEdited(CorvoUser::Builder& builder, EditUser edit) {
  const auto self = shared_from_this();  // the callback may release the client
  edit(builder);
  storeUser(builder.build());
}

void CorvoClientImpl::storeUser(const CorvoUser& user) {
  storage_->user.write(std::make_shared<const CorvoUser>(wellFormed(user)), clock_->now());
}

// Without a stored user an empty one is stored, and used.
const CorvoClientImpl::UserPointer& CorvoClientImpl::currentUser() {
  const UserPointer& stored = storage_->user.read();
  if (stored) return stored;
  storeUser(nobody());
  return storage_->user.read();
}

void CorvoClientImpl::checkFlagText(std::string_view flagName, FlagSink& sink) {
  const base::WellFormed name(flagName);
  FlagQuestion question(name, sink);
  ask(question);
}

void CorvoClientImpl::getUserFeatureFlagsDetails(Callback<void(FlagReport)> onSuccess,
                                                 OnError onError) {
  CallbackQuestion question(
      [](const Evidence& evidence) -> std::variant<FlagReport, CorvoError> {
        return reportFlags(evidence);
      },
      onSuccess, onError);
  ask(question);
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
  const std::shared_ptr<Question> waiting = question.detach();
  synchronisation_->fetchConfiguration(
      whenFetched<ConfigPointer>(
          waiting, [](CorvoClientImpl& self, Question& asked, const ConfigPointer& config,
                      double later) { self.locate(asked, self.projectOf(config), later); }),
      whenFailed<CorvoError::RequestConfigFailed>(waiting));
}

void CorvoClientImpl::locate(Question& question, const ProjectPointer& project, double now) {
  if (const LocationPointer& location = storage_->location.read(now)) {
    return decide(question, project, location, now);
  }
  currentUser();  // an empty user is stored before the location is asked for
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
  const targeting::Context context = contexts_.at(now, currentUser(), location);
  question.answer({project, context});
}

const CorvoClientImpl::ProjectPointer& CorvoClientImpl::projectOf(const ConfigPointer& config) {
  if (config != config_) {
    project_ = std::make_shared<const experiments::Project>(config);
    config_ = config;
  }
  return project_;
}

}  // namespace corvo::client
