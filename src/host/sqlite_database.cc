// SPDX-License-Identifier: Apache-2.0

#include "host/sqlite_database.h"

#include <exception>
#include <map>
#include <string>
#include <system_error>
#include <utility>

#include "host/database_file.h"
#include "host/uuid.h"

namespace corvo::corvo_internal::host {
namespace {

/// The canonical path of a file, so that one process uses one spelling; empty if there is none.
/// Links that cannot be resolved at present stay in it; opening the file later shows whether it
/// exists.
std::filesystem::path spelled(const std::filesystem::path& file) {
  std::error_code error;
  const auto full = std::filesystem::absolute(file, error);
  if (!file.has_filename() || error) return {};
  auto followed = std::filesystem::weakly_canonical(full, error);
  return error ? full.lexically_normal() : followed;
}

/// While it lives, SQLite does not wait for the disk. If this cannot be ended, because memory ran
/// out, the log is not written into the file until it can.
class WithoutDiskSync {
 public:
  explicit WithoutDiskSync(Connection& connection) : connection_(connection) {
    connection_.waitForDisk(false);
  }
  WithoutDiskSync(const WithoutDiskSync&) = delete;
  WithoutDiskSync& operator=(const WithoutDiskSync&) = delete;
  ~WithoutDiskSync() {
    try {
      connection_.waitForDisk(true);
    } catch (const SqliteError&) {
      connection_.tidyOnClose(false);
    }
  }

 private:
  Connection& connection_;
};

}  // namespace

std::shared_ptr<SqliteDatabase> SqliteDatabase::inFile(const std::filesystem::path& file) {
  static std::mutex mutex;
  static std::map<std::filesystem::path, std::weak_ptr<SqliteDatabase>> inUse;

  const std::filesystem::path place = spelled(file);
  if (place.empty()) return nullptr;
  const std::lock_guard lock(mutex);
  std::erase_if(inUse, [](const auto& entry) { return entry.second.expired(); });
  std::weak_ptr<SqliteDatabase>& known = inUse[place];
  std::shared_ptr<SqliteDatabase> database = known.lock();
  if (database == nullptr) {
    database = std::make_shared<SqliteDatabase>(place);
    known = database;
  }
  return database;
}

SqliteDatabase::Opened::Opened(Connection made)
    : connection(std::move(made)),
      transactions(connection),
      read(connection.prepare("SELECT value FROM preference WHERE suite = ?1 AND key = ?2")),
      write(connection.prepare("INSERT INTO preference (suite, key, value) VALUES (?1, ?2, ?3)"
                               " ON CONFLICT DO UPDATE SET value = excluded.value")) {}

// When SQLite begins a log, it waits until the log's header is on the disk. Otherwise a power
// failure could leave the header of a previous log with some of its contents, which would then
// overwrite newer data in the file. If there was no previous log, nothing can come back. Skipping
// the wait then risks only the last changes, as at any other time. Nobody else writes to the log
// before the transaction ends.
template <class Work>
bool SqliteDatabase::Opened::beginLog(Work work) {
  const WithoutDiskSync unsynced(connection);
  Transaction transaction(transactions);
  isLogBegun = !connection.hasEmptyLog();  // an earlier change may have written nothing
  if (isLogBegun) return false;
  work();
  transaction.commit();
  return true;
}

template <class Work>
void SqliteDatabase::Opened::change(Work work) {
  if (!isLogBegun && beginLog(work)) return;
  if (!connection.waitsForDisk()) {
    connection.waitForDisk(true);
    connection.tidyOnClose(true);
  }
  Transaction transaction(transactions);
  work();
  transaction.commit();
}

template <class Work>
auto SqliteDatabase::with(Work work) {
  const std::lock_guard lock(mutex_);
  if (!opened_) opened_.emplace(openDatabaseFile(file_, waitBudget_));
  try {
    return work(*opened_);
  } catch (const SqliteError& error) {
    if (error.isDamage()) {
      Connection damaged = std::move(opened_->connection);
      opened_.reset();
      setAside(std::move(damaged), file_);
    }
    throw;
  }
}

bool SqliteDatabase::open() noexcept try {
  with([](Opened&) {});
  return true;
} catch (const std::exception&) {
  return false;
}

std::optional<std::string> SqliteDatabase::read(std::string_view suite, std::string_view key) {
  return with([&](Opened& opened) { return opened.read.first({suite, key}); });
}

bool SqliteDatabase::apply(std::string_view suite,
                           std::span<const PreferencesChange> changes) noexcept try {
  with([&](Opened& opened) {
    opened.change([&] {
      for (const auto& [key, value] : changes) {
        if (value) {
          opened.write.run({suite, key, *value});
        } else {
          opened.connection.prepare("DELETE FROM preference WHERE suite = ?1 AND key = ?2")
              .run({suite, key});
        }
      }
    });
  });
  return true;
} catch (const std::exception&) {
  return false;
}

std::string SqliteDatabase::installation(std::string_view proposed) {
  return with([&](Opened& opened) {
    Statement stored = opened.connection.prepare("SELECT identifier FROM installation");
    std::optional<std::string> identifier = stored.first();
    if (identifier && isUuid(*identifier)) return *identifier;
    opened.change([&] {
      identifier = stored.first();  // another process may have been faster
      if (identifier && isUuid(*identifier)) return;
      identifier = proposed;
      opened.connection.prepare("REPLACE INTO installation VALUES (1, CAST(?1 AS TEXT))")
          .run({proposed});
    });
    return *identifier;
  });
}

}  // namespace corvo::corvo_internal::host
