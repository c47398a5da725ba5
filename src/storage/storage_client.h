// SPDX-License-Identifier: Apache-2.0
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

/// All data that one client keeps across restarts, in one suite of the preferences store. The
/// suite's name is "storage" + tag + token without separators, so clients whose tag and token
/// concatenate to the same text share it. Not thread-safe.
struct StorageClient {
  /// `cacheTtl` is in seconds, `now` in seconds since 1970.
  StorageClient(std::shared_ptr<PreferencesStore> store, std::string_view tag,
                std::string_view projectToken, std::uint64_t cacheTTL, double now);

  /// Sets the time of the operation that begins. Returns whether to try again: the suite could not
  /// be opened, read or written, and the last attempt was at least a second ago. Until an attempt
  /// succeeds, everything is kept in memory.
  [[nodiscard]] bool isDue(double now) noexcept { return storage_->isDue(now); }

  /// Whether the suite is usable, as far as known.
  [[nodiscard]] bool isReached() const noexcept { return !storage_->hasFailed(); }

  /// Changes whenever any client may have written anything.
  [[nodiscard]] std::uint64_t revision() const { return storage_->revision(); }

  /// Tries to reach a failed suite again. Returns whether it was reached. If so, pending values
  /// have been written, and values that the library created only because it could not read stored
  /// ones have given way to those. The configuration is left to `config.settle`, because it may
  /// have to be changed first.
  bool tryAgain();

  /// Marks the last attempt as incomplete, so that another one follows.
  void fail() noexcept { storage_->fail(); }

  /// Whether any value has yet to be written to the store.
  [[nodiscard]] bool isPending() const noexcept;

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
