#pragma once

#include <corvo/platform/clock.h>
#include <corvo/platform/time_zone.h>
#include <corvo/user.h>

#include <cstdint>
#include <memory>

#include "client/device_once.h"
#include "project/prepared_project.h"
#include "storage/storage_client.h"
#include "targeting/context.h"
#include "targeting/context_source.h"

namespace corvo::corvo_internal::client {

/// Makes the contexts of one client's questions: those of its stored user. Every context is valid
/// until the next one is made. For one thread at a time.
class StoredContext {
 public:
  struct Parts {
    std::shared_ptr<storage::StorageClient> storage;
    std::shared_ptr<const Clock> clock;
    std::shared_ptr<const TimeZone> timeZone;
    std::shared_ptr<DeviceOnce> device;
  };
  explicit StoredContext(Parts parts);

  /// The stored user. Without one an empty user is stored, and used. Valid until it is asked for
  /// again, or written.
  const std::shared_ptr<const CorvoUser>& currentUser();

  /// Whether nothing about the device is asked for any more.
  [[nodiscard]] bool isComplete() const noexcept { return knowsIdentifier_; }

  /// Identifies the present time zone.
  [[nodiscard]] std::uint64_t zone() const { return parts_.timeZone->identifier(); }

  /// A context of nobody and nothing.
  [[nodiscard]] targeting::Context bare(double now) const { return source_.bare(now); }

  /// That of the stored user on this device, without properties.
  [[nodiscard]] targeting::Context ofUser(double now);

  /// The whole context, for the conditions of that project.
  [[nodiscard]] targeting::Context at(
      double now, const std::shared_ptr<const project::PreparedProject>& project,
      const std::shared_ptr<const PropertyMap>& location);

 private:
  void settleUser(double now);

  Parts parts_;
  // What the source refers to. The same pointer means the same record.
  std::shared_ptr<const CorvoUser> user_;
  std::shared_ptr<const PropertyMap> location_;
  std::shared_ptr<const project::PreparedProject> project_;
  bool knowsFacts_ = false;
  bool knowsIdentifier_ = false;
  targeting::ContextSource source_;
};

}  // namespace corvo::corvo_internal::client
