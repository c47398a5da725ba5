#include "host/database.h"

#include <exception>
#include <map>
#include <string>
#include <system_error>
#include <utility>

#include "host/database_file.h"
#include "host/uuid.h"

namespace corvo::corvo_internal::host {
namespace {

/// The one spelling of a file that the process uses; empty when there is none. Links that cannot be
/// followed just now stay in it: whether the file can be opened is seen later.
std::filesystem::path spelled(const std::filesystem::path& file) {
  std::error_code error;
  const auto full = std::filesystem::absolute(file, error);
  if (!file.has_filename() || error) return {};
  auto followed = std::filesystem::weakly_canonical(full, error);
  return error ? full.lexically_normal() : followed;
}

}  // namespace

std::shared_ptr<Database> Database::inFile(const std::filesystem::path& file) {
  static std::mutex mutex;
  static std::map<std::filesystem::path, std::weak_ptr<Database>> inUse;

  const std::filesystem::path place = spelled(file);
  if (place.empty()) return nullptr;
  const std::lock_guard lock(mutex);
  std::erase_if(inUse, [](const auto& entry) { return entry.second.expired(); });
  std::weak_ptr<Database>& known = inUse[place];
  std::shared_ptr<Database> database = known.lock();
  if (database == nullptr) {
    database = std::make_shared<Database>(place);
    known = database;
  }
  return database;
}

std::shared_ptr<Database> Database::inMemory() { return std::make_shared<Database>(std::nullopt); }

Database::Opened::Opened(Connection made)
    : connection(std::move(made)),
      read(connection.prepare("SELECT value FROM preference WHERE suite = ?1 AND key = ?2")),
      write(connection.prepare("INSERT INTO preference (suite, key, value) VALUES (?1, ?2, ?3)"
                               " ON CONFLICT DO UPDATE SET value = excluded.value")),
      remove(connection.prepare("DELETE FROM preference WHERE suite = ?1 AND key = ?2")) {}

template <class Work>
auto Database::with(Work work) {
  const std::lock_guard lock(mutex_);
  if (!opened_) {
    opened_.emplace(file_ ? openDatabaseFile(*file_, patience_) : openDatabaseInMemory());
  }
  try {
    return work(*opened_);
  } catch (const SqliteError& error) {
    if (error.isDamage() && file_) {
      Connection damaged = std::move(opened_->connection);
      opened_.reset();
      setAside(std::move(damaged), *file_);
    }
    throw;
  }
}

bool Database::open() noexcept try {
  with([](Opened&) {});
  return true;
} catch (const std::exception&) {
  return false;
}

std::optional<std::string> Database::read(std::string_view suite, std::string_view key) {
  return with([&](Opened& opened) { return opened.read.first({suite, key}); });
}

bool Database::apply(std::string_view suite, std::span<const PreferencesChange> changes) noexcept
    try {
  with([&](Opened& opened) {
    Transaction transaction(opened.connection);
    for (const auto& [key, value] : changes) {
      if (value) {
        opened.write.run({suite, key, *value});
      } else {
        opened.remove.run({suite, key});
      }
    }
    transaction.commit();
  });
  return true;
} catch (const std::exception&) {
  return false;
}

std::string Database::installation(std::string_view proposed) {
  return with([&](Opened& opened) {
    Statement stored = opened.connection.prepare("SELECT identifier FROM installation");
    std::optional<std::string> identifier = stored.first();
    if (identifier && isUuid(*identifier)) return *identifier;
    Transaction transaction(opened.connection);
    identifier = stored.first();  // another process may have been faster
    if (identifier && isUuid(*identifier)) return *identifier;
    opened.connection.prepare("REPLACE INTO installation VALUES (1, CAST(?1 AS TEXT))")
        .run({proposed});
    transaction.commit();
    return std::string(proposed);
  });
}

}  // namespace corvo::corvo_internal::host
