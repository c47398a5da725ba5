// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/client.h>
#include <corvo/platform/clock.h>
#include <corvo/platform/time_zone.h>
#include <corvo/user.h>

#include <memory>
#include <optional>
#include <utility>

#include "client/stored_context.h"
#include "storage/storage_client.h"

namespace corvo::corvo_internal::client {

/// The stored user of one client, as the application replaces and edits it. Not thread-safe.
class StoredUser {
 public:
  struct Parts {
    std::shared_ptr<storage::StorageClient> storage;
    std::shared_ptr<StoredContext> contexts;  // on the same storage
    std::shared_ptr<Clock> clock;
    std::shared_ptr<TimeZone> timeZone;
  };
  explicit StoredUser(Parts parts) : parts_(std::move(parts)) {}

  /// Settles the user when the client is created. An initial user replaces the stored one. A stored
  /// user without expiry dates, from an older version, gets them: one day from now.
  void settle(std::optional<CorvoUser> initialUser, double now);
  /// Adds the missing expiry dates if the store could not be read at the start.
  void settleLate(double now);

  void replace(CorvoUser user, double now, storage::Origin origin = storage::Origin::replacement);
  /// Passes the callback an empty builder, or one with the stored user, and stores the result. If
  /// the callback throws, nothing is stored.
  void build(EditUser& edit);
  void edit(EditUser& edit);

 private:
  void stamp(double now);

  Parts parts_;
  bool needsStamps_ = false;  // a user of an earlier run that has not been read yet
};

}  // namespace corvo::corvo_internal::client
