#pragma once

#include <corvo/platform/preferences_store.h>

#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace corvo::corvo_internal::host {

/// The one database of an application: its preferences, and the identifier of this installation.
/// Any thread. Whoever uses it shares it.
class Database {
 public:
  Database() = default;
  Database(const Database&) = delete;
  Database& operator=(const Database&) = delete;
  virtual ~Database() = default;

  /// Whether it is open, now if not before.
  virtual bool open() noexcept = 0;

  /// Throws a `std::exception` when that cannot be told just now.
  [[nodiscard]] virtual std::optional<std::string> read(std::string_view suite,
                                                        std::string_view key) = 0;
  /// Makes all the changes, or none of them and answers false.
  virtual bool apply(std::string_view suite,
                     std::span<const PreferencesChange> changes) noexcept = 0;

  /// The identifier of this installation, a UUID: the stored one, else the proposed one, which is
  /// stored. Throws a `std::exception` when it cannot be stored just now.
  [[nodiscard]] virtual std::string installation(std::string_view proposed) = 0;
};

}  // namespace corvo::corvo_internal::host
