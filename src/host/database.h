// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/platform/preferences_store.h>

#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace corvo::corvo_internal::host {

/// The database of an application: its preferences, and the identifier of this installation.
/// Thread-safe. Shared by its users.
class Database {
 public:
  Database() = default;
  Database(const Database&) = delete;
  Database& operator=(const Database&) = delete;
  virtual ~Database() = default;

  /// Opens the database if necessary. Returns whether it is open.
  virtual bool open() noexcept = 0;

  /// Throws a `std::exception` if the value cannot be read at present.
  [[nodiscard]] virtual std::optional<std::string> read(std::string_view suite,
                                                        std::string_view key) = 0;
  /// Applies all changes, or none of them and returns false.
  virtual bool apply(std::string_view suite,
                     std::span<const PreferencesChange> changes) noexcept = 0;

  /// The identifier of this installation, a UUID: the stored one, or else the proposed one, which
  /// is then stored. Throws a `std::exception` if it cannot be stored at present.
  [[nodiscard]] virtual std::string installation(std::string_view proposed) = 0;
};

}  // namespace corvo::corvo_internal::host
