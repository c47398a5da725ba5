// SPDX-License-Identifier: Apache-2.0

#include "storage/storage_client.h"

#include <utility>

namespace corvo::corvo_internal::storage {
namespace {

std::shared_ptr<StorageProtocol> openStorage(std::shared_ptr<PreferencesStore> store,
                                             std::string_view tag, std::string_view projectToken,
                                             double now) {
  std::string suiteName = "storage";
  suiteName.append(tag).append(projectToken);
  return std::make_shared<StorageProtocol>(std::move(store), std::move(suiteName), now);
}

}  // namespace

StorageClient::StorageClient(std::shared_ptr<PreferencesStore> store, std::string_view tag,
                             std::string_view projectToken, std::uint64_t cacheTTL, double now)
    : StorageClient(openStorage(std::move(store), tag, projectToken, now), cacheTTL) {}

StorageClient::StorageClient(std::shared_ptr<StorageProtocol> storage, std::uint64_t cacheTTL)
    : config("config", storage, cacheTTL),
      location("location", storage, cacheTTL),
      user("user", storage),
      corvoPrivateId("corvoPrivateId", storage),
      corvoForcedExperiments("corvoForcedExperiments", storage),
      storage_(std::move(storage)) {}

bool StorageClient::tryAgain() {
  const StorageProtocol::Reopened reopened = storage_->reopen();
  if (reopened == StorageProtocol::Reopened::no) return false;
  const bool isAnother = reopened == StorageProtocol::Reopened::anotherSuite;
  const auto settleEach = [isAnother](auto&... slots) {
    if (isAnother) (slots.forgetStored(), ...);
    (slots.settle(), ...);
  };
  if (isAnother) config.forgetStored();
  settleEach(location, user, corvoPrivateId, corvoForcedExperiments);
  return true;
}

bool StorageClient::isPending() const noexcept {
  const auto any = [](const auto&... slots) { return (slots.isPending() || ...); };
  return any(config, location, user, corvoPrivateId, corvoForcedExperiments);
}

}  // namespace corvo::corvo_internal::storage
