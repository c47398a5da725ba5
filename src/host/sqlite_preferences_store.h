#pragma once

#include <corvo/platform/preferences_store.h>

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

#include "host/database.h"

namespace corvo::host {

/// Keeps suites in an application's database. Any thread. Shares the database.
class SqlitePreferencesStore final : public PreferencesStore {
 public:
  explicit SqlitePreferencesStore(std::shared_ptr<LazyDatabase> database)
      : database_(std::move(database)) {}

  [[nodiscard]] std::shared_ptr<PreferencesSuite> open(std::string_view suiteName) override;

 private:
  std::shared_ptr<LazyDatabase> database_;
};

}  // namespace corvo::host
