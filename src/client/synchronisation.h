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

namespace corvo::client {

/// Fetches the configuration and the location for a client, and caches them. Every call makes a
/// request of its own. The outcome comes on the main queue; a success not at all when this object
/// is gone by then. An address that is no URI reference fails before the call returns. For one
/// thread at a time.
class Synchronisation : public std::enable_shared_from_this<Synchronisation> {
 public:
  using OnConfig = Callback<void(std::shared_ptr<const model::ConfigResponse>)>;
  using OnLocation = Callback<void(std::shared_ptr<const PropertyMap>)>;
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

  /// Fetches the configuration, filters it by platform, re-applies the forced inclusions and
  /// caches it.
  void fetchConfiguration(OnConfig onSuccess, OnFailure onFailure);

  /// Fetches the location and caches it, every name prefixed with "geo.".
  void fetchLocation(OnLocation onSuccess, OnFailure onFailure);

 private:
  std::string privateIdentifier();
  std::shared_ptr<const model::ConfigResponse> keep(model::ConfigResponse config);
  std::shared_ptr<const PropertyMap> keep(const PropertyMap& location);

  template <class Route, class OnSuccess>
  void fetch(OnSuccess onSuccess, OnFailure onFailure);

  Parts parts_;
};

}  // namespace corvo::client
