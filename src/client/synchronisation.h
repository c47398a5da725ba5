// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/callback.h>
#include <corvo/error.h>
#include <corvo/platform/clock.h>
#include <corvo/platform/secure_random.h>
#include <corvo/user.h>

#include <memory>
#include <string>

#include "client/forced_inclusions.h"
#include "model/config.h"
#include "network/network_client.h"
#include "storage/storage_client.h"

namespace corvo::corvo_internal::client {

/// Fetches the configuration and the location for a client, and caches them. Every fetch sends its
/// own request. Not thread-safe, except `fetch`.
class Synchronisation {
 public:
  using OnFailure = Callback<void(const CorvoNetworkError&)>;

  struct Parts {
    std::string projectToken;
    std::shared_ptr<storage::StorageClient> storage;
    std::shared_ptr<network::NetworkClient> network;
    std::shared_ptr<const Clock> clock;
    std::shared_ptr<SecureRandom> random;
    std::shared_ptr<ForcedInclusions> forced;  // on the same storage
  };
  explicit Synchronisation(Parts parts) : parts_(std::move(parts)) {}

  /// The route of the configuration or the location. It contains the private identifier, which is
  /// created and stored on first use.
  template <class Route>
  [[nodiscard]] Route route() {
    return Route(parts_.projectToken, privateIdentifier());
  }

  /// Sends a request. It completes on the main queue, but fails before returning if the address is
  /// not a valid URI reference. Does not access any record.
  template <class Route, class OnSuccess>
  void fetch(const Route& route, OnSuccess onSuccess, OnFailure onFailure) {
    parts_.network->request(route, std::move(onSuccess), std::move(onFailure));
  }

  /// Filters a configuration by platform, re-applies the forced inclusions and caches it.
  std::shared_ptr<const model::ConfigResponse> keep(model::ConfigResponse config);
  /// Caches a location; every name is prefixed with "geo.".
  std::shared_ptr<const PropertyMap> keep(const PropertyMap& location);

  /// Re-applies the forced inclusions to the cached configuration, if there is one.
  void forceAgain();

 private:
  std::string privateIdentifier();
  std::shared_ptr<const model::ConfigResponse> keepForced(model::ConfigResponse config,
                                                          double fetched);

  Parts parts_;
};

}  // namespace corvo::corvo_internal::client
