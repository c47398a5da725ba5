#include "host/database_file.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

#ifdef _WIN32
#include <cstdio>
#else
#include <fcntl.h>
#include <unistd.h>
#endif

namespace corvo::host {
namespace {

namespace fs = std::filesystem;

// At offset 68 of the file, big-endian. No text has such bytes.
constexpr std::uint32_t kApplicationId = 0x0C02B0DB;
constexpr std::uint32_t kSchemaVersion = 1;
constexpr std::uint32_t kPageSize = 8192;
constexpr int kMostSetAside = 20;  // a disk that damages every file must not be filled

// A table with a row identifier: without one, a large value would lie in the index itself, and
// looking up a small one would read past it. Names are bytes, since any text must do as one.
constexpr const char* kTables =
    "CREATE TABLE preference (suite BLOB NOT NULL, key BLOB NOT NULL, value BLOB NOT NULL,"
    " PRIMARY KEY (suite, key));"
    "CREATE TABLE installation (id INTEGER PRIMARY KEY CHECK (id = 1), identifier TEXT NOT NULL)";

constexpr std::array<const char*, 4> kEndings{"", "-wal", "-shm", "-journal"};

std::string nativeText(const fs::path& path) {
  const std::u8string text = path.u8string();
  return {text.begin(), text.end()};
}

/// The URI of a file (RFC 8089), as SQLite reads it.
std::string uri(const fs::path& file) {
  const std::u8string text = file.generic_u8string();
  std::string encoded = text.starts_with(u8'/') ? "file://" : "file:///";
  for (const char8_t byte : text) {
    constexpr std::string_view kDigits = "0123456789ABCDEF";
    if (byte == '%' || byte == '?' || byte == '#') {
      encoded.append({'%', kDigits[byte >> 4], kDigits[byte & 0x0F]});
    } else {
      encoded += static_cast<char>(byte);
    }
  }
  return encoded;
}

fs::path companion(const fs::path& file, std::string_view ending) {
  fs::path path = file;
  return path += ending;
}

bool hasContents(const fs::path& file) {
  std::error_code missing;
  const std::uintmax_t size = fs::file_size(file, missing);
  return !missing && size > 0;
}

/// Makes the file unless it exists, for its owner's eyes only; SQLite would let everybody read it.
/// An existing file is not even opened: closing it again would release the locks that SQLite holds
/// on it elsewhere in this process.
void makeFile(const fs::path& file) {
#ifdef _WIN32
  std::FILE* const made = _wfopen(file.c_str(), L"wbx");
  if (made != nullptr) std::fclose(made);
#else
  const int made = ::open(file.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
  if (made >= 0) ::close(made);
#endif
}

void makeFolder(const fs::path& folder) {
  std::error_code error;
  fs::create_directories(folder.parent_path(), error);
  if (fs::create_directory(folder, error)) {
    fs::permissions(folder, fs::perms::owner_all, error);
  }
}

/// The header of a database file: its first 100 bytes, as far as there are (SQLite's "Database File
/// Format", 1.3).
class Header {
 public:
  /// Reads it without a lock, through SQLite, which keeps what it has locked elsewhere in this
  /// process.
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
  /// Damage that SQLite does not call so: it reads the rest of a page as zeros, and never writes
  /// where the format is unknown.
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

/// The identity of a database without the tables: whose it is, and the version of its tables.
std::string stamp(std::uint32_t applicationId, std::uint32_t version) {
  return std::to_string(applicationId) + ' ' + std::to_string(version) + ' ';
}

std::string newIdentity() { return stamp(0, 0); }

/// Files written before they were stamped with an identifier.
std::string formerIdentity() { return stamp(0, kSchemaVersion) + kTables; }

/// Tables that somebody adds after ours do no harm.
bool isOurs(std::string_view identity) {
  return identity.starts_with(stamp(kApplicationId, kSchemaVersion) + kTables);
}

std::string identityOf(const Connection& connection) try {
  constexpr const char* kQuery =
      "SELECT application_id || ' ' || user_version || ' '"
      " || ifnull((SELECT group_concat(sql, ';') FROM sqlite_master), '')"
      " FROM pragma_application_id, pragma_user_version";
  return connection.prepare(kQuery).first().value_or("");
} catch (const SqliteError& error) {
  // The query is sound, so the file is of a format that SQLite does not know.
  throw error.code() == SQLITE_ERROR ? SqliteError(SQLITE_CORRUPT) : error;
}

enum class Find { kForeign, kDamaged, kOurs };

/// A file without our identifier that is ours: written before there was one, in whole or as far as
/// an end of the process let it come.
bool isAdoptable(const fs::path& file, const Header& header) {
  if (header.applicationId() != 0 || header.version() > kSchemaVersion) return false;
  // Neither way of reading makes or changes any file. The second leaves out the log.
  const bool hasLog = hasContents(companion(file, "-wal"));
  Connection reader(uri(file) + (hasLog ? "?readonly_shm=1" : "?immutable=1"),
                    SQLITE_OPEN_READONLY | SQLITE_OPEN_URI);
  reader.tidyOnClose(false);
  const std::string identity = identityOf(reader);
  if (identity == formerIdentity()) return true;
  return identity == newIdentity() && header.isLogged() && header.pageSize() == kPageSize;
}

/// What kind of file it is. Changes nothing, and waits for nobody.
Find lookAt(const fs::path& file) {
  if (!fs::is_regular_file(file)) return Find::kForeign;  // opening a pipe would wait
  if (fs::is_empty(file)) return Find::kOurs;
  const Header header(Connection(nativeText(file), SQLITE_OPEN_READONLY));
  if (header.applicationId() != kApplicationId) {
    return isAdoptable(file, header) ? Find::kOurs : Find::kForeign;
  }
  if (header.version() != kSchemaVersion) return Find::kForeign;  // a later one
  const bool isBeingWritten =
      hasContents(companion(file, "-wal")) || hasContents(companion(file, "-journal"));
  if (header.isReadOnly() || (header.isCut() && !isBeingWritten)) return Find::kDamaged;
  return Find::kOurs;
}

/// For what need not succeed: SQLite then goes on as before.
void attempt(Connection& connection, const char* sql) {
  try {
    connection.execute(sql);
  } catch (const SqliteError&) {
    return;
  }
}

/// Makes the identifier, the version and the tables in one step, as far as they are missing. Two
/// processes may come here at once: the second finds them made.
void adopt(Connection& connection) {
  // Larger pages than usual halve the time of the first read, which is of a whole configuration.
  connection.execute(("PRAGMA page_size = " + std::to_string(kPageSize)).c_str());
  // Until the transaction ends the file stays empty, whatever memory there is.
  connection.execute("PRAGMA cache_spill = OFF");
  Transaction transaction(connection);
  const std::string identity = identityOf(connection);
  if (isOurs(identity)) return;
  if (identity == newIdentity()) {
    connection.execute(kTables);
  } else if (identity != formerIdentity()) {
    const bool isStamped = identity.starts_with(stamp(kApplicationId, kSchemaVersion));
    throw SqliteError(isStamped ? SQLITE_CORRUPT : SQLITE_CANTOPEN);
  }
  connection.execute(("PRAGMA application_id = " + std::to_string(kApplicationId) +
                      "; PRAGMA user_version = " + std::to_string(kSchemaVersion))
                         .c_str());
  transaction.commit();
  attempt(connection, "PRAGMA wal_checkpoint");  // the next look is at the file without its log
}

void prepare(Connection& connection) {
  const std::string identity = identityOf(connection);
  connection.execute("PRAGMA synchronous = NORMAL");
  if (!isOurs(identity)) adopt(connection);
  connection.execute("PRAGMA cache_spill = ON");
  // Where write-ahead logging is not to be had, as on some network drives, SQLite does without.
  attempt(connection, "PRAGMA journal_mode = WAL");
}

/// Locks a file against everybody. SQL could not: it looks into the file first.
bool lock(const Connection& connection) {
  sqlite3_file& file = connection.file();
  return file.pMethods->xLock(&file, SQLITE_LOCK_SHARED) == SQLITE_OK &&
         file.pMethods->xLock(&file, SQLITE_LOCK_EXCLUSIVE) == SQLITE_OK;
}

/// A name under which nothing lies.
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
  std::optional<Connection> holder(nativeText(file));
  if (!lock(*holder) || holder->hasMoved()) return false;
  if (Header(*holder).applicationId() != kApplicationId) return false;
  if (lookAgain && lookAt(file) != Find::kDamaged) return false;
  const std::optional<fs::path> name = nameForDamaged(file);
  if (!name) return false;
#ifdef _WIN32
  holder.reset();  // an open file keeps its name there
#endif
  // The file first: SQLite removes companions that it finds beside an empty one.
  for (const char* const ending : kEndings) {
    std::error_code failed;
    fs::rename(companion(file, ending), companion(*name, ending), failed);
    if (failed && *ending == '\0') return false;
  }
  return true;
} catch (const std::exception&) {
  return false;
}

Connection openDatabaseFile(const fs::path& file, Patience& patience) {
  makeFolder(file.parent_path());
  makeFile(file);
  const Find found = lookAt(file);
  if (found == Find::kForeign) throw SqliteError(SQLITE_CANTOPEN);
  Connection connection(nativeText(file));
  connection.waitWith(patience);
  connection.tidyOnClose(false);  // until it is known to be ours
  try {
    if (found == Find::kDamaged) throw SqliteError(SQLITE_CORRUPT);
    prepare(connection);
  } catch (const SqliteError& error) {
    const bool lookAgain = found == Find::kDamaged;  // somebody may have been writing
    if (!error.isDamage() || !setAside(std::move(connection), file, lookAgain)) throw;
    return openDatabaseFile(file, patience);
  }
  connection.tidyOnClose(true);
  return connection;
}

Connection openDatabaseInMemory() {
  Connection connection(":memory:");
  connection.execute(kTables);
  return connection;
}

}  // namespace corvo::host
