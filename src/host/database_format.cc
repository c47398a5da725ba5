// SPDX-License-Identifier: Apache-2.0

#include "host/database_format.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <system_error>

namespace corvo::corvo_internal::host {
namespace {

namespace fs = std::filesystem;

// At offset 68 of the file, big-endian. No text contains these bytes.
constexpr std::uint32_t kApplicationId = 0x0C02B0DB;
constexpr std::uint32_t kSchemaVersion = 1;
constexpr std::uint32_t kPageSize = 8192;

// A table with a row identifier. Without one, a large value would be stored in the index itself,
// and looking up a small value would read past it. Names are blobs, because they may be any bytes.
constexpr const char* kTables =
    "CREATE TABLE preference (suite BLOB NOT NULL, key BLOB NOT NULL, value BLOB NOT NULL,"
    " PRIMARY KEY (suite, key));"
    "CREATE TABLE installation (id INTEGER PRIMARY KEY CHECK (id = 1), identifier TEXT NOT NULL)";

bool hasContents(const fs::path& file) {
  std::error_code missing;
  const std::uintmax_t size = fs::file_size(file, missing);
  return !missing && size > 0;
}

/// The header of a database file: its first 100 bytes, or fewer if the file is shorter (SQLite's
/// "Database File Format", 1.3).
class Header {
 public:
  /// Reads it without a lock, but through SQLite, so that SQLite's locks on the file elsewhere in
  /// this process survive.
  explicit Header(const Connection& connection) {
    sqlite3_file& file = connection.file();
    sqlite3_int64 size = 0;
    int code = file.pMethods->xFileSize(&file, &size);
    if (code == SQLITE_OK) code = file.pMethods->xRead(&file, bytes_.data(), int{kSize}, 0);
    if (code != SQLITE_OK && code != SQLITE_IOERR_SHORT_READ) throw SqliteError(code);
    size_ = size;
  }

  [[nodiscard]] std::uint32_t applicationId() const { return number(68, 4); }
  [[nodiscard]] std::uint32_t version() const { return number(60, 4); }
  [[nodiscard]] bool isLogged() const { return number(18, 2) == 0x0202; }
  [[nodiscard]] std::uint32_t pageSize() const { return number(16, 2); }
  /// Damage that SQLite does not report: it reads the missing rest of a page as zeros, and never
  /// writes to a file of an unknown format.
  [[nodiscard]] bool isCut() const {
    const bool isCounted = number(24, 4) == number(92, 4);
    return isCounted && size_ < std::int64_t{pageSize()} * number(28, 4);
  }
  [[nodiscard]] bool isReadOnly() const { return number(18, 1) > 2; }

 private:
  static constexpr int kSize = 100;

  [[nodiscard]] std::uint32_t number(std::size_t offset, std::size_t length) const {
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < length; ++i) value = value << 8 | bytes_[offset + i];
    return value;
  }

  std::array<unsigned char, kSize> bytes_{};
  std::int64_t size_ = 0;
};

/// The identity of a database apart from its tables: its application and the version of its tables.
std::string stamp(std::uint32_t applicationId, std::uint32_t version) {
  return std::to_string(applicationId) + ' ' + std::to_string(version) + ' ';
}

std::string newIdentity() { return stamp(0, 0); }

/// The identity of files written before the application identifier was introduced.
std::string formerIdentity() { return stamp(0, kSchemaVersion) + kTables; }

/// Tables that were added after ours do no harm.
bool isOurs(std::string_view identity) {
  return identity.starts_with(stamp(kApplicationId, kSchemaVersion) + kTables);
}

std::string identityOf(const Connection& connection) try {
  const auto ask = [&](const char* sql) { return connection.prepare(sql).first().value_or(""); };
  return ask("PRAGMA application_id") + ' ' + ask("PRAGMA user_version") + ' ' +
         ask("SELECT group_concat(sql, ';') FROM sqlite_master");
} catch (const SqliteError& error) {
  // The queries are correct, so the file has a format that SQLite does not know.
  throw error.code() == SQLITE_ERROR ? SqliteError(SQLITE_CORRUPT) : error;
}

/// Whether a file without our identifier is ours: written before the identifier was introduced, or
/// incomplete because the process ended while creating it.
bool isAdoptable(const fs::path& file, const Header& header) {
  if (header.applicationId() != 0 || header.version() > kSchemaVersion) return false;
  // Neither way of reading creates or changes a file. The second one ignores the log.
  const bool hasLog = hasContents(companion(file, "-wal"));
  Connection reader(sqliteUri(file) + (hasLog ? "?readonly_shm=1" : "?immutable=1"),
                    SQLITE_OPEN_READONLY | SQLITE_OPEN_URI);
  reader.tidyOnClose(false);
  reader.execute("BEGIN");  // another process may be adopting it
  const std::string identity = identityOf(reader);
  if (identity == formerIdentity()) return true;
  return identity == newIdentity() && header.isLogged() && header.pageSize() == kPageSize;
}

/// For optional settings: if one fails, SQLite continues as before.
void attempt(Connection& connection, const char* sql) {
  try {
    connection.execute(sql);
  } catch (const SqliteError&) {
    return;
  }
}

/// Creates the identifier, the version and the tables in one transaction, if they are missing. Of
/// two processes that arrive here at once, the second finds them created.
void adopt(Connection& connection) {
  // Larger pages than the default halve the time of the first read, which is that of a whole
  // configuration.
  connection.execute(("PRAGMA page_size = " + std::to_string(kPageSize)).c_str());
  connection.execute("PRAGMA synchronous = NORMAL");
  // Keeps the file empty until the transaction ends, even if memory is short.
  connection.execute("PRAGMA cache_spill = OFF");
  TransactionStatements statements(connection);
  Transaction transaction(statements);
  const std::string identity = identityOf(connection);
  if (isOurs(identity)) return;
  if (identity == newIdentity()) {
    connection.execute(kTables);
  } else if (identity != formerIdentity()) {
    const bool hasStamp = identity.starts_with(stamp(kApplicationId, kSchemaVersion));
    throw SqliteError(hasStamp ? SQLITE_CORRUPT : SQLITE_CANTOPEN);
  }
  connection.execute(("PRAGMA application_id = " + std::to_string(kApplicationId) +
                      "; PRAGMA user_version = " + std::to_string(kSchemaVersion))
                         .c_str());
  transaction.commit();
  attempt(connection, "PRAGMA wal_checkpoint");  // the next check reads the file without its log
}

}  // namespace

Find lookAt(const fs::path& file, const Connection& connection) {
  if (fs::is_empty(file)) return Find::kOurs;
  const Header header(connection);
  if (header.applicationId() != kApplicationId) {
    return isAdoptable(file, header) ? Find::kOurs : Find::kForeign;
  }
  if (header.version() != kSchemaVersion) return Find::kForeign;  // written by a later version
  const bool isBeingWritten =
      hasContents(companion(file, "-wal")) || hasContents(companion(file, "-journal"));
  if (header.isReadOnly() || (header.isCut() && !isBeingWritten)) return Find::kDamaged;
  return Find::kOurs;
}

bool isStamped(const Connection& connection) {
  return Header(connection).applicationId() == kApplicationId;
}

void prepare(Connection& connection) {
  const std::string identity = identityOf(connection);
  if (!isOurs(identity)) {
    adopt(connection);
    connection.execute("PRAGMA cache_spill = ON");
  }
  // If write-ahead logging is unavailable, as on some network drives, SQLite continues without it.
  attempt(connection, "PRAGMA journal_mode = WAL");
}

fs::path companion(const fs::path& file, std::string_view ending) {
  fs::path path = file;
  return path += ending;
}

}  // namespace corvo::corvo_internal::host
