#include "storage/storage_client.h"

#include <memory>
#include <utility>

namespace corvo::storage {
namespace {

std::shared_ptr<StorageProtocol> openStorage(PreferencesStore& store, std::string_view tag,
                                             std::string_view projectToken) {
  std::string suiteName = "storage";
  suiteName.append(tag).append(projectToken);
  std::shared_ptr<PreferencesSuite> suite = store.open(suiteName);
  return suite ? std::make_shared<StorageProtocol>(std::move(suite)) : nullptr;
}

}  // namespace

StorageClient::StorageClient(PreferencesStore& store, std::string_view tag,
                             std::string_view projectToken, std::uint64_t cacheTTL)
    : StorageClient(openStorage(store, tag, projectToken), cacheTTL) {}

StorageClient::StorageClient(const std::shared_ptr<StorageProtocol>& storage,
                             std::uint64_t cacheTTL)
    : config("config", storage, cacheTTL),
      location("location", storage, cacheTTL),
      user("user", storage, std::nullopt),
      corvoPrivateId("corvoPrivateId", storage, std::nullopt),
      corvoForcedExperiments("corvoForcedExperiments", storage, std::nullopt) {}

}  // namespace corvo::storage
