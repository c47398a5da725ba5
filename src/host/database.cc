#include "host/database.h"

#include <map>
#include <string>
#include <system_error>
#include <utility>

#ifndef _WIN32
#include <fcntl.h>
#include <unistd.h>
#endif

namespace corvo::host {
namespace {

constexpr std::string_view kSchemaVersion = "1";

// A table with a row identifier: without one, a large value would lie in the index itself, and
// looking up a small one would read past it. Names are bytes, since any text must do as one.
constexpr const char* kSchema =
    "CREATE TABLE preference (suite BLOB NOT NULL, key BLOB NOT NULL, value BLOB NOT NULL,"
    " PRIMARY KEY (suite, key));"
    "CREATE TABLE installation (id INTEGER PRIMARY KEY CHECK (id = 1), identifier TEXT NOT NULL);"
    "PRAGMA user_version = 1;";

/// Makes the file unless it exists, for its owner's eyes only; SQLite would let everybody read it.
/// An existing file is not even opened: closing it again would release the locks that SQLite holds
/// on it elsewhere in this process.
void makeFile([[maybe_unused]] const std::filesystem::path& file) {
#ifdef _WIN32
  std::FILE* const made = _wfopen(file.c_str(), L"wbx");
  if (made != nullptr) std::fclose(made);
#else
  const int made = ::open(file.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
  if (made >= 0) ::close(made);
#endif
}

/// The one spelling of a file that the process uses; empty when there is none.
std::filesystem::path spelled(const std::filesystem::path& file) {
  std::error_code error;
  auto full = std::filesystem::weakly_canonical(std::filesystem::absolute(file, error), error);
  return file.has_filename() && !error ? full : std::filesystem::path();
}

void makeFolder(const std::filesystem::path& folder) {
  std::error_code error;
  std::filesystem::create_directories(folder.parent_path(), error);
  if (std::filesystem::create_directory(folder, error)) {
    std::filesystem::permissions(folder, std::filesystem::perms::owner_all, error);
  }
}

std::string version(const Connection& connection) {
  return connection.prepare("PRAGMA user_version").first().value_or("unreadable");
}

/// Two processes may come here at once: the second finds the tables made.
bool makeTables(Connection& connection) {
  if (!connection.execute("BEGIN IMMEDIATE")) return false;
  const bool made = version(connection) == kSchemaVersion || connection.execute(kSchema);
  if (made && connection.execute("COMMIT")) return true;
  connection.execute("ROLLBACK");
  return false;
}

std::shared_ptr<Database> openDatabase(const std::string& file) {
  Connection connection(file);
  if (!connection) return nullptr;
  const std::string found = version(connection);
  if (found != kSchemaVersion && found != "0") return nullptr;
  // Larger pages than usual halve the time of the first read, which is of a whole configuration.
  if (found == "0") connection.execute("PRAGMA page_size = 8192");
  // Where write-ahead logging is not to be had, as on some network drives, SQLite does without.
  connection.prepare("PRAGMA journal_mode = WAL").first();
  connection.execute("PRAGMA synchronous = NORMAL");
  if (found == "0" && !makeTables(connection)) return nullptr;
  return std::make_shared<Database>(std::move(connection));
}

std::string nativeText(const std::filesystem::path& path) {
  const std::u8string text = path.u8string();
  return {text.begin(), text.end()};
}

}  // namespace

std::shared_ptr<Database> Database::inFile(const std::filesystem::path& file) {
  static std::mutex mutex;
  static std::map<std::filesystem::path, std::weak_ptr<Database>> opened;

  const std::filesystem::path place = spelled(file);
  if (place.empty()) return nullptr;
  const std::lock_guard lock(mutex);
  std::weak_ptr<Database>& known = opened[place];
  std::shared_ptr<Database> database = known.lock();
  if (database == nullptr) {
    makeFolder(place.parent_path());
    makeFile(place);
    database = openDatabase(nativeText(place));
    known = database;
  }
  return database;
}

std::shared_ptr<Database> Database::inMemory() { return openDatabase(":memory:"); }

Database::Database(Connection connection)
    : connection_(std::move(connection)),
      read_(connection_.prepare("SELECT value FROM preference WHERE suite = ?1 AND key = ?2")),
      write_(connection_.prepare("INSERT INTO preference (suite, key, value) VALUES (?1, ?2, ?3)"
                                 " ON CONFLICT DO UPDATE SET value = excluded.value")),
      remove_(connection_.prepare("DELETE FROM preference WHERE suite = ?1 AND key = ?2")) {}

std::optional<std::string> Database::read(std::string_view suite, std::string_view key) {
  const std::lock_guard lock(mutex_);
  return read_.first({suite, key});
}

bool Database::apply(std::string_view suite, std::span<const PreferencesChange> changes) {
  const std::lock_guard lock(mutex_);
  if (!connection_.execute("BEGIN IMMEDIATE")) return false;
  bool applied = true;
  for (const PreferencesChange& change : changes) applied = applied && applyOne(suite, change);
  if (applied && connection_.execute("COMMIT")) return true;
  connection_.execute("ROLLBACK");
  return false;
}

bool Database::applyOne(std::string_view suite, const PreferencesChange& change) {
  return change.value ? write_.run({suite, change.key, *change.value})
                      : remove_.run({suite, change.key});
}

std::optional<std::string> Database::installation(std::string_view proposed) {
  const std::lock_guard lock(mutex_);
  Statement stored = connection_.prepare("SELECT identifier FROM installation");
  std::optional<std::string> identifier = stored.first();
  if (identifier) return identifier;
  connection_
      .prepare("INSERT INTO installation VALUES (1, CAST(?1 AS TEXT)) ON CONFLICT DO NOTHING")
      .run({proposed});
  return stored.first();
}

std::shared_ptr<Database> LazyDatabase::get() {
  const std::lock_guard lock(mutex_);
  if (database_ == nullptr) {
    database_ = file_ ? Database::inFile(*file_) : Database::inMemory();
  }
  return database_;
}

}  // namespace corvo::host
