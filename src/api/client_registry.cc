#include <corvo/client_registry.h>

#include <algorithm>
#include <map>
#include <mutex>
#include <stdexcept>
#include <utility>

#include "base/text.h"
#include "client/client_impl.h"
#include "client/device_once.h"
#include "client/synchronisation.h"
#include "network/network_client_impl.h"
#include "storage/storage_client.h"

namespace corvo {
namespace api {
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

/// The clients by tag and what they share.
class Clients {
 public:
  explicit Clients(Platform platform)
      : platform_(checked(std::move(platform))),
        device_(std::make_shared<client::DeviceOnce>(platform_.device)) {}

  std::shared_ptr<CorvoClient> initialize(std::string projectToken,
                                          std::optional<CorvoUser> initialUser, std::string apiURL,
                                          std::uint64_t cacheTTL, std::uint64_t retryCount,
                                          std::string tag) {
    auto network = std::make_shared<network::NetworkClientImpl>(
        platform_.urlSession, platform_.mainQueue, std::move(apiURL), retryCount);
    const std::lock_guard lock(mutex_);
    if (clients_.contains(tag)) {
      throw CorvoError(CorvoError::InitializationOfExistingClient{std::move(tag)});
    }
    auto storage = std::make_shared<storage::StorageClient>(
        platform_.preferencesStore, tag, projectToken, std::max(cacheTTL, kShortestCacheTTL),
        platform_.clock->now());
    auto contexts = std::make_shared<client::ContextSource>(
        client::ContextSource::Parts{.storage = storage,
                                     .clock = platform_.clock,
                                     .timeZone = platform_.timeZone,
                                     .device = device_});
    auto forced = std::make_shared<client::ForcedInclusions>(client::ForcedInclusions::Parts{
        .storage = storage, .contexts = contexts, .clock = platform_.clock});
    auto synchronisation = std::make_shared<client::Synchronisation>(
        client::Synchronisation::Parts{.projectToken = std::move(projectToken),
                                       .storage = storage,
                                       .network = std::move(network),
                                       .clock = platform_.clock,
                                       .random = platform_.secureRandom,
                                       .forced = forced});
    auto made = std::make_shared<client::CorvoClientImpl>(
        client::CorvoClientImpl::Parts{.storage = std::move(storage),
                                       .contexts = std::move(contexts),
                                       .forced = std::move(forced),
                                       .synchronisation = std::move(synchronisation),
                                       .clock = platform_.clock,
                                       .timeZone = platform_.timeZone,
                                       .mainQueue = platform_.mainQueue});
    // Its place is ready before the stored user is replaced: nothing can fail after that.
    std::map<std::string, std::shared_ptr<CorvoClient>> entry;
    entry.emplace(std::move(tag), std::shared_ptr<CorvoClient>(made));
    made->settleUser(std::move(initialUser));
    clients_.merge(entry);
    return made;
  }

  std::shared_ptr<CorvoClient> get(const std::string& tag) const {
    const std::lock_guard lock(mutex_);
    const auto found = clients_.find(tag);
    return found == clients_.end() ? nullptr : found->second;
  }

  // The client, if this was its last owner, is destroyed outside the lock.
  std::shared_ptr<CorvoClient> remove(const std::string& tag) {
    const std::lock_guard lock(mutex_);
    auto removed = clients_.extract(tag);
    return removed ? std::move(removed.mapped()) : nullptr;
  }

 private:
  Platform platform_;
  std::shared_ptr<client::DeviceOnce> device_;
  mutable std::mutex mutex_;
  std::map<std::string, std::shared_ptr<CorvoClient>> clients_;
};

}  // namespace api

ClientRegistry::ClientRegistry(Platform platform)
    : clients_(std::make_unique<api::Clients>(std::move(platform))) {}

ClientRegistry::~ClientRegistry() = default;

std::shared_ptr<CorvoClient> ClientRegistry::initializeClient(
    std::string_view projectToken, std::optional<CorvoUser> initialUser, std::string_view apiURL,
    std::uint64_t cacheTTL, std::uint64_t retryCount, std::string_view tag) {
  return clients_->initialize(base::wellFormed(projectToken), std::move(initialUser),
                              base::wellFormed(apiURL), cacheTTL, retryCount,
                              base::wellFormed(tag));
}

std::shared_ptr<CorvoClient> ClientRegistry::getClient(std::string_view tag) const {
  return clients_->get(base::wellFormed(tag));
}

void ClientRegistry::removeClient(std::string_view tag) { clients_->remove(base::wellFormed(tag)); }

}  // namespace corvo
