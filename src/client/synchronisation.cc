// SPDX-License-Identifier: Apache-2.0

#include "client/synchronisation.h"

#include <utility>

#include "network/private_identifier.h"
#include "project/platform_filter.h"
#include "targeting/location_properties.h"

namespace corvo::corvo_internal::client {

// The identifier is created on first use and kept for the life of the suite.
std::string Synchronisation::privateIdentifier() {
  auto& slot = parts_.storage->corvoPrivateId;
  if (const auto& stored = slot.read()) return *stored;
  auto made = std::make_shared<const std::string>(network::makePrivateIdentifier(*parts_.random));
  slot.write(made, parts_.clock->now(), storage::Origin::placeholder);
  return *made;
}

std::shared_ptr<const model::ConfigResponse> Synchronisation::keep(model::ConfigResponse config) {
  project::filterByPlatform(config);
  return keepForced(std::move(config), parts_.clock->now());
}

// Applies the recorded inclusions to a configuration that was fetched while they could not be read.
// This does not make the configuration newer.
void Synchronisation::forceAgain() {
  auto& slot = parts_.storage->config;
  const std::shared_ptr<const model::ConfigResponse> cached = slot.read(parts_.clock->now());
  const double* fetched = slot.updateTime();
  if (cached && fetched != nullptr) keepForced(*cached, *fetched);
}

std::shared_ptr<const model::ConfigResponse> Synchronisation::keepForced(
    model::ConfigResponse config, double fetched) {
  parts_.forced->reapply(config);
  auto kept = std::make_shared<const model::ConfigResponse>(std::move(config));
  parts_.storage->config.write(kept, fetched);
  return kept;
}

std::shared_ptr<const PropertyMap> Synchronisation::keep(const PropertyMap& location) {
  auto kept = std::make_shared<const PropertyMap>(targeting::locationProperties(location));
  parts_.storage->location.write(kept, parts_.clock->now());
  return kept;
}

}  // namespace corvo::corvo_internal::client
