// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/platform/device.h>
#include <corvo/platform/secure_random.h>

#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "host/database.h"

namespace corvo::corvo_internal::host {

/// Describes this computer, and this installation of the application by a random identifier that is
/// kept in the application's database. Thread-safe. Shares the database and the random source.
class HostDevice final : public Device {
 public:
  /// The database may be null; then there is no identifier.
  HostDevice(std::shared_ptr<Database> database, std::shared_ptr<SecureRandom> random,
             std::optional<std::string> applicationVersion)
      : database_(std::move(database)),
        random_(std::move(random)),
        applicationVersion_(std::move(applicationVersion)) {}

  /// Empty if the identifier cannot be stored, because one that changes from run to run would be
  /// worse.
  [[nodiscard]] std::optional<std::string> vendorIdentifier() const override;
  [[nodiscard]] std::optional<std::string> systemName() const override;
  [[nodiscard]] std::optional<std::string> systemVersion() const override;
  [[nodiscard]] std::optional<std::string> applicationVersion() const override {
    return applicationVersion_;
  }

 private:
  std::shared_ptr<Database> database_;
  std::shared_ptr<SecureRandom> random_;
  std::optional<std::string> applicationVersion_;
};

}  // namespace corvo::corvo_internal::host
