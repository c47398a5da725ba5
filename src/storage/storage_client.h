#pragma once

#include <corvo/platform/preferences_store.h>
#include <corvo/user.h>

#include <cstdint>
#include <string>
#include <string_view>

#include "model/config.h"
#include "storage/storage_property.h"

namespace corvo::storage {

/// All that one client keeps across restarts, in one suite of the preferences store. The suite is
/// named "storage" + tag + token with nothing between, so clients whose tag and token join to the
/// same text share it. For one thread at a time.
struct StorageClient {
  /// The time-to-live is in seconds. Where the suite cannot be opened, everything is kept in memory
  /// only.
  StorageClient(PreferencesStore& store, std::string_view tag, std::string_view projectToken,
                std::uint64_t cacheTTL);

  StorageProperty<model::ConfigResponse> config;
  StorageProperty<PropertyMap> location;
  StorageProperty<CorvoUser> user;
  StorageProperty<std::string> corvoPrivateId;
  StorageProperty<model::ForcedExperiments> corvoForcedExperiments;

 private:
  StorageClient(const std::shared_ptr<StorageProtocol>& storage, std::uint64_t cacheTTL);
};

}  // namespace corvo::storage
