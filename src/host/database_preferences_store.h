// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/platform/preferences_store.h>

#include <memory>
#include <string_view>
#include <utility>

#include "host/database.h"

namespace corvo::corvo_internal::host {

/// Keeps suites in an application's database. Thread-safe. Shares the database.
class DatabasePreferencesStore final : public PreferencesStore {
 public:
  /// If the database is null, no suite can be opened.
  explicit DatabasePreferencesStore(std::shared_ptr<Database> database)
      : database_(std::move(database)) {}

  [[nodiscard]] std::shared_ptr<PreferencesSuite> open(
      std::string_view suiteName) noexcept override;

 private:
  std::shared_ptr<Database> database_;
};

}  // namespace corvo::corvo_internal::host
