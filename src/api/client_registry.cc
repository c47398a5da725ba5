// SPDX-License-Identifier: Apache-2.0

#include <corvo/client_registry.h>

#include <algorithm>
#include <map>
#include <mutex>
#include <stdexcept>
#include <utility>

#include "base/text.h"
#include "client/cached_device.h"
#include "client/client_impl.h"
#include "client/synchronisation.h"
#include "network/network_client_impl.h"
#include "storage/storage_client.h"

namespace corvo {

using namespace corvo_internal;

namespace corvo_internal::api {
namespace {

constexpr std::uint64_t kShortestCacheTTL = 10;  // seconds

Platform checked(Platform platform) {
  const bool complete = platform.clock && platform.timeZone && platform.mainQueue &&
                        platform.urlSession && platform.preferencesStore && platform.device &&
                        platform.secureRandom;
  if (!complete) throw std::invalid_argument("a service of the platform is null");
  return platform;
}

}  // namespace

/// The clients by tag, and the state they share.
class Clients {
 public:
  explicit Clients(Platform platform)
      : platform_(checked(std::move(platform))),
        device_(std::make_shared<client::CachedDevice>(platform_.device)) {}

  std::shared_ptr<CorvoClient> initialize(ClientOptions options) {
    const std::string tag = base::wellFormed(options.tag.value);
    auto network = std::make_shared<network::NetworkClientImpl>(
        platform_.urlSession, platform_.mainQueue, base::wellFormed(options.apiURL.value),
        options.retryCount.value);
    Place place(*this, tag);
    auto made = makeClient(base::wellFormed(options.projectToken.value), std::move(network),
                           std::max(options.cacheTTL.value, kShortestCacheTTL), tag);
    made->settleUser(std::move(options.initialUser));
    place.fill(made);
    return made;
  }

  std::shared_ptr<CorvoClient> get(const std::string& tag) const {
    const std::lock_guard lock(mutex_);
    const auto found = clients_.find(tag);
    return found == clients_.end() ? nullptr : found->second;
  }

  // If this was the client's last owner, it is destroyed outside the lock. A client under
  // construction is not yet in the map.
  std::shared_ptr<CorvoClient> remove(const std::string& tag) {
    const std::lock_guard lock(mutex_);
    const auto found = clients_.find(tag);
    if (found == clients_.end() || found->second == nullptr) return nullptr;
    std::shared_ptr<CorvoClient> removed = std::move(found->second);
    clients_.erase(found);
    return removed;
  }

 private:
  using Map = std::map<std::string, std::shared_ptr<CorvoClient>>;

  /// Reserves the tag of a client under construction, so that the store is used outside the lock.
  /// Created before the stored user is replaced, because nothing can fail after that.
  class Place {
   public:
    Place(Clients& clients, const std::string& tag) : clients_(clients) {
      const std::lock_guard lock(clients_.mutex_);
      const auto [place, isFree] = clients_.clients_.try_emplace(tag);
      if (!isFree) throw CorvoError(CorvoError::InitializationOfExistingClient{tag});
      place_ = place;
    }
    Place(const Place&) = delete;
    Place& operator=(const Place&) = delete;
    ~Place() {
      if (isFilled_) return;
      const std::lock_guard lock(clients_.mutex_);
      clients_.clients_.erase(place_);
    }

    void fill(std::shared_ptr<CorvoClient> client) {
      const std::lock_guard lock(clients_.mutex_);
      place_->second = std::move(client);
      isFilled_ = true;
    }

   private:
    Clients& clients_;
    Map::iterator place_;
    bool isFilled_ = false;
  };

  [[nodiscard]] std::shared_ptr<client::CorvoClientImpl> makeClient(
      std::string projectToken, std::shared_ptr<network::NetworkClient> network,
      std::uint64_t cacheTTL, const std::string& tag) const {
    auto storage = std::make_shared<storage::StorageClient>(
        platform_.preferencesStore, tag, projectToken, cacheTTL, platform_.clock->now());
    auto contexts = std::make_shared<client::StoredContext>(
        client::StoredContext::Parts{.storage = storage,
                                     .clock = platform_.clock,
                                     .timeZone = platform_.timeZone,
                                     .device = device_});
    auto user = std::make_shared<client::StoredUser>(
        client::StoredUser::Parts{.storage = storage,
                                  .contexts = contexts,
                                  .clock = platform_.clock,
                                  .timeZone = platform_.timeZone});
    auto forced = std::make_shared<client::ForcedInclusions>(client::ForcedInclusions::Parts{
        .storage = storage, .contexts = contexts, .clock = platform_.clock});
    auto synchronisation = std::make_shared<client::Synchronisation>(
        client::Synchronisation::Parts{.projectToken = std::move(projectToken),
                                       .storage = storage,
                                       .network = std::move(network),
                                       .clock = platform_.clock,
                                       .random = platform_.secureRandom,
                                       .forced = forced});
    return std::make_shared<client::CorvoClientImpl>(
        client::CorvoClientImpl::Parts{.storage = std::move(storage),
                                       .contexts = std::move(contexts),
                                       .user = std::move(user),
                                       .forced = std::move(forced),
                                       .synchronisation = std::move(synchronisation),
                                       .clock = platform_.clock,
                                       .mainQueue = platform_.mainQueue});
  }

  Platform platform_;
  std::shared_ptr<client::CachedDevice> device_;
  mutable std::mutex mutex_;
  Map clients_;
};

}  // namespace corvo_internal::api

ClientRegistry::ClientRegistry(Platform platform)
    : clients_(std::make_unique<api::Clients>(std::move(platform))) {}

ClientRegistry::~ClientRegistry() = default;

std::shared_ptr<CorvoClient> ClientRegistry::initializeClient(ClientOptions options) {
  return clients_->initialize(std::move(options));
}

std::shared_ptr<CorvoClient> ClientRegistry::initializeClient(
    std::string_view projectToken, std::optional<CorvoUser> initialUser, std::string_view apiURL,
    NonNegative cacheTTL, NonNegative retryCount, std::string_view tag) {
  return initializeClient({.projectToken = projectToken,
                           .apiURL = apiURL,
                           .initialUser = std::move(initialUser),
                           .cacheTTL = cacheTTL,
                           .retryCount = retryCount,
                           .tag = tag});
}

std::shared_ptr<CorvoClient> ClientRegistry::getClient(std::string_view tag) const {
  return clients_->get(base::wellFormed(tag));
}

void ClientRegistry::removeClient(std::string_view tag) { clients_->remove(base::wellFormed(tag)); }

}  // namespace corvo
