// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/error.h>
#include <corvo/platform/clock.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>
#include <variant>

#include "client/stored_context.h"
#include "model/config.h"
#include "storage/storage_client.h"

namespace corvo::corvo_internal::client {

/// The experiments into which the application forced its user: their record in the store, and their
/// effect on the configuration. Not thread-safe.
class ForcedInclusions {
 public:
  struct Parts {
    std::shared_ptr<storage::StorageClient> storage;
    std::shared_ptr<StoredContext> contexts;
    std::shared_ptr<const Clock> clock;
  };
  explicit ForcedInclusions(Parts parts) : parts_(std::move(parts)) {}

  /// Forces the stored user into an experiment of the configuration, caches that configuration and
  /// records the inclusion. If it fails, at most an empty user has been stored.
  std::optional<CorvoError> include(const model::ConfigResponse& config,
                                    std::string_view experimentName,
                                    std::optional<std::int64_t> groupIndex);

  /// Applies all recorded inclusions to the current user. An inclusion that does not fit the
  /// configuration or the user stays recorded.
  void reapply(model::ConfigResponse& config);

  /// Removes one recorded inclusion, or returns the error that there is none.
  std::optional<CorvoError> forget(std::string_view experimentName);

  /// Removes all recorded inclusions. Returns whether there were any, or the error that no record
  /// exists, not even an empty one.
  std::variant<bool, CorvoError> forgetAll();

 private:
  std::variant<model::Experiment, CorvoError> force(const model::Experiment& experiment,
                                                    std::optional<std::int64_t> groupIndex);
  using Slot = storage::StorageProperty<model::ForcedExperiments>;
  void remember(model::ForcedExperiments forced);
  [[nodiscard]] Slot::Prepared prepared(model::ForcedExperiments forced, double now) const;

  Parts parts_;
};

}  // namespace corvo::corvo_internal::client
