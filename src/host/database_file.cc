// SPDX-License-Identifier: Apache-2.0

#include "host/database_file.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

#include "host/database_format.h"
#include "host/system.h"

namespace corvo::corvo_internal::host {
namespace {

namespace fs = std::filesystem;

constexpr int kMostSetAside = 20;  // a disk that damages every file must not fill up

constexpr std::array<const char*, 4> kEndings{"", "-wal", "-shm", "-journal"};

void makeFolder(const fs::path& folder) {
  std::error_code error;
  fs::create_directories(folder.parent_path(), error);
  if (fs::create_directory(folder, error)) {
    fs::permissions(folder, fs::perms::owner_all, error);
  }
}

/// Takes an exclusive lock on the file. SQL cannot do that without reading the file first.
bool lock(const Connection& connection) {
  sqlite3_file& file = connection.file();
  return file.pMethods->xLock(&file, SQLITE_LOCK_SHARED) == SQLITE_OK &&
         file.pMethods->xLock(&file, SQLITE_LOCK_EXCLUSIVE) == SQLITE_OK;
}

/// A file name that is not in use.
std::optional<fs::path> nameForDamaged(const fs::path& file) {
  for (int number = 1; number <= kMostSetAside; ++number) {
    fs::path name = companion(file, ".damaged-" + std::to_string(number));
    const auto exists = [&](std::string_view ending) {
      std::error_code unknown;
      return fs::symlink_status(companion(name, ending), unknown).type() !=
             fs::file_type::not_found;
    };
    if (std::ranges::none_of(kEndings, exists)) return name;
  }
  return std::nullopt;
}

}  // namespace

bool setAside(Connection damaged, const fs::path& file, bool lookAgain) noexcept try {
  damaged.tidyOnClose(false);
  if (damaged.hasMoved()) return false;  // another process was faster
  { const Connection closed = std::move(damaged); }
  std::optional<Connection> holder(sqliteName(file));
  if (!lock(*holder) || holder->hasMoved()) return false;
  if (!isStamped(*holder)) return false;
  if (lookAgain && lookAt(file, *holder) != Find::kDamaged) return false;
  const std::optional<fs::path> name = nameForDamaged(file);
  if (!name) return false;
  if (!canRenameOpenFiles()) holder.reset();
  // Renames the file first, because SQLite deletes companion files that it finds beside an empty
  // one.
  for (const char* const ending : kEndings) {
    std::error_code failed;
    fs::rename(companion(file, ending), companion(*name, ending), failed);
    if (failed && *ending == '\0') return false;
  }
  return true;
} catch (const std::exception&) {
  return false;
}

Connection openDatabaseFile(const fs::path& file, WaitBudget& waitBudget) {
  if (!fs::exists(file)) {
    makeFolder(file.parent_path());
    makePrivateFile(file);  // SQLite would make it readable for everybody
  }
  if (!fs::is_regular_file(file)) throw SqliteError(SQLITE_CANTOPEN);  // opening a pipe would block
  Connection connection(sqliteName(file));
  connection.tidyOnClose(false);  // until it is known to be ours
  const Find found = lookAt(file, connection);
  if (found == Find::kForeign) throw SqliteError(SQLITE_CANTOPEN);
  connection.waitWith(waitBudget);
  try {
    if (found == Find::kDamaged) throw SqliteError(SQLITE_CORRUPT);
    prepare(connection);
  } catch (const SqliteError& error) {
    const bool lookAgain = found == Find::kDamaged;  // another process may have been writing
    if (!error.isDamage() || !setAside(std::move(connection), file, lookAgain)) throw;
    return openDatabaseFile(file, waitBudget);
  }
  connection.tidyOnClose(true);
  return connection;
}

}  // namespace corvo::corvo_internal::host
