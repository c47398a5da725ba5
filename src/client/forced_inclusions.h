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

/// The experiments that the application forced its user into: what is remembered of them in the
/// store, and what they change in the configuration. For one thread at a time.
class ForcedInclusions {
 public:
  struct Parts {
    std::shared_ptr<storage::StorageClient> storage;
    std::shared_ptr<StoredContext> contexts;
    std::shared_ptr<const Clock> clock;
  };
  explicit ForcedInclusions(Parts parts) : parts_(std::move(parts)) {}

  /// Forces the stored user into an experiment of the configuration, caches that configuration and
  /// remembers the inclusion. On an error only an empty user may have been stored.
  std::optional<CorvoError> include(const model::ConfigResponse& config,
                                    std::string_view experimentName,
                                    std::optional<std::int64_t> groupIndex);

  /// Forces the user of now into all that is remembered. What does not fit the configuration, or
  /// him, stays remembered.
  void reapply(model::ConfigResponse& config);

  /// Forgets one inclusion, or answers the error that it is not remembered.
  std::optional<CorvoError> forget(std::string_view experimentName);

  /// Forgets all inclusions and tells whether there were any; or answers the error that nothing is
  /// remembered, not even that there are none.
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
