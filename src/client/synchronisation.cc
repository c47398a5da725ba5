#include "client/synchronisation.h"

#include <utility>

#include "client/platform_filter.h"
#include "network/private_identifier.h"
#include "network/routes.h"

namespace corvo::client {

void Synchronisation::fetchConfiguration(OnConfig onSuccess, OnFailure onFailure) {
  fetch<network::ConfigRoute>(std::move(onSuccess), std::move(onFailure));
}

void Synchronisation::fetchLocation(OnLocation onSuccess, OnFailure onFailure) {
  fetch<network::LocationRoute>(std::move(onSuccess), std::move(onFailure));
}

template <class Route, class OnSuccess>
void Synchronisation::fetch(OnSuccess onSuccess, OnFailure onFailure) {
  using Response = typename Route::ResponseType;
  parts_.network->request(
      Route(parts_.projectToken, privateIdentifier()),
      [weak = weak_from_this(), onSuccess = std::move(onSuccess)](Response response) mutable {
        if (const auto self = weak.lock()) onSuccess(self->keep(std::move(response)));
      },
      std::move(onFailure));
}

// The identifier is made on first need and then kept for the life of the suite.
std::string Synchronisation::privateIdentifier() {
  auto& slot = parts_.storage->corvoPrivateId;
  if (const auto& stored = slot.read()) return *stored;
  auto made = std::make_shared<const std::string>(network::makePrivateIdentifier(*parts_.random));
  slot.write(made, parts_.clock->now());
  return *made;
}

std::shared_ptr<const model::ConfigResponse> Synchronisation::keep(model::ConfigResponse config) {
  filterByPlatform(config);
  parts_.forced->reapply(config);
  auto kept = std::make_shared<const model::ConfigResponse>(std::move(config));
  parts_.storage->config.write(kept, parts_.clock->now());
  return kept;
}

std::shared_ptr<const PropertyMap> Synchronisation::keep(const PropertyMap& location) {
  PropertyMap prefixed;
  for (const auto& [name, value] : location) prefixed.emplace("geo." + name, value);
  auto kept = std::make_shared<const PropertyMap>(std::move(prefixed));
  parts_.storage->location.write(kept, parts_.clock->now());
  return kept;
}

}  // namespace corvo::client
