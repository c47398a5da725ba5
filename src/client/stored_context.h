// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/platform/clock.h>
#include <corvo/platform/time_zone.h>
#include <corvo/user.h>

#include <cstdint>
#include <memory>

#include "client/cached_device.h"
#include "project/prepared_project.h"
#include "storage/storage_client.h"
#include "targeting/context.h"
#include "targeting/context_source.h"

namespace corvo::corvo_internal::client {

/// Creates the contexts of one client's questions from its stored user. Every context is valid
/// until the next one is created. Not thread-safe.
class StoredContext {
 public:
  struct Parts {
    std::shared_ptr<storage::StorageClient> storage;
    std::shared_ptr<const Clock> clock;
    std::shared_ptr<const TimeZone> timeZone;
    std::shared_ptr<CachedDevice> device;
  };
  explicit StoredContext(Parts parts);

  /// The stored user. If there is none, an empty one is stored and returned. Valid until the next
  /// call or write.
  const std::shared_ptr<const CorvoUser>& currentUser();

  /// Whether everything about the device is known.
  [[nodiscard]] bool isComplete() const noexcept { return knowsIdentifier_; }

  /// Identifies the current time zone.
  [[nodiscard]] std::uint64_t zone() const { return parts_.timeZone->identifier(); }

  /// A context without user and properties.
  [[nodiscard]] targeting::Context bare(double now) const { return source_.bare(now); }

  /// The context of the stored user on this device, without properties.
  [[nodiscard]] targeting::Context ofUser(double now);

  /// The full context, for the conditions of that project.
  [[nodiscard]] targeting::Context at(
      double now, const std::shared_ptr<const project::PreparedProject>& project,
      const std::shared_ptr<const PropertyMap>& location);

 private:
  void settleUser(double now);

  Parts parts_;
  // The records that the source refers to. An equal pointer means the same record.
  std::shared_ptr<const CorvoUser> user_;
  std::shared_ptr<const PropertyMap> location_;
  std::shared_ptr<const project::PreparedProject> project_;
  bool knowsFacts_ = false;
  bool knowsIdentifier_ = false;
  targeting::ContextSource source_;
};

}  // namespace corvo::corvo_internal::client
