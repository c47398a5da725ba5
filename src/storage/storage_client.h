#pragma once

#include <corvo/platform/preferences_store.h>
#include <corvo/user.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "model/config.h"
#include "storage/storage_property.h"

namespace corvo::corvo_internal::storage {

/// All that one client keeps across restarts, in one suite of the preferences store. The suite is
/// named "storage" + tag + token with nothing between, so clients whose tag and token join to the
/// same text share it. For one thread at a time.
struct StorageClient {
  /// The time-to-live is in seconds, the moment in seconds since 1970.
  StorageClient(std::shared_ptr<PreferencesStore> store, std::string_view tag,
                std::string_view projectToken, std::uint64_t cacheTTL, double now);

  /// Names the moment of an operation that begins, and tells whether it is time to try again: the
  /// suite could not be opened, read or written, and the last attempt was a second ago or more.
  /// Everything is kept in memory until one succeeds.
  [[nodiscard]] bool isDue(double now) noexcept { return storage_->isDue(now); }

  /// Whether the suite can be used, as far as is known.
  [[nodiscard]] bool isReached() const noexcept { return !storage_->hasFailed(); }

  /// A number that changes when anything may have been written, by any client.
  [[nodiscard]] std::uint64_t revision() const { return storage_->revision(); }

  /// Tries to reach a suite again that has failed. True when it was reached: what it lacks has then
  /// been written, and what was only made for want of stored records has given way to these. Only
  /// the configuration, which may have to be changed before, is left to `config.settle`.
  bool tryAgain();

  /// An attempt was not carried through, so there is to be another one.
  void fail() noexcept { storage_->fail(); }

  /// Whether the store lacks anything.
  [[nodiscard]] bool isOwed() const noexcept;

  ExpiringProperty<model::ConfigResponse> config;
  ExpiringProperty<PropertyMap> location;
  StorageProperty<CorvoUser> user;
  StorageProperty<std::string> corvoPrivateId;
  StorageProperty<model::ForcedExperiments> corvoForcedExperiments;

 private:
  StorageClient(std::shared_ptr<StorageProtocol> storage, std::uint64_t cacheTTL);

  std::shared_ptr<StorageProtocol> storage_;
};

}  // namespace corvo::corvo_internal::storage
