#pragma once

#include <sqlite3.h>

#include <exception>
#include <filesystem>
#include <initializer_list>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "host/patience.h"

namespace corvo::corvo_internal::host {

/// Why SQLite did not do what it was asked for.
class SqliteError final : public std::exception {
 public:
  explicit SqliteError(int code) noexcept : code_(code & 0xFF) {}

  /// The primary result code.
  [[nodiscard]] int code() const noexcept { return code_; }
  /// Whether the file is not as SQLite wrote it.
  [[nodiscard]] bool isDamage() const noexcept {
    return code_ == SQLITE_CORRUPT || code_ == SQLITE_NOTADB;
  }
  [[nodiscard]] const char* what() const noexcept override { return sqlite3_errstr(code_); }

 private:
  int code_;
};

/// The name of a file as SQLite takes it, in UTF-8 everywhere.
[[nodiscard]] std::string sqliteName(const std::filesystem::path& file);
/// The URI of a file (RFC 8089), as SQLite reads it.
[[nodiscard]] std::string sqliteUri(const std::filesystem::path& file);

struct CloseSqlite {
  void operator()(sqlite3* database) const noexcept { sqlite3_close_v2(database); }
  void operator()(sqlite3_stmt* statement) const noexcept { sqlite3_finalize(statement); }
};

/// One prepared statement. For one thread at a time; must not outlive its connection's use.
class Statement {
 public:
  /// Throws `SqliteError`, like everything here, when SQLite refuses.
  Statement(sqlite3* database, std::string_view sql);

  /// Runs to the end with the given bytes for its parameters.
  void run(std::initializer_list<std::string_view> values = {});
  /// The bytes of the first column of the first row; none when there is no row.
  std::optional<std::string> first(std::initializer_list<std::string_view> values = {});

 private:
  struct Reset {
    void operator()(sqlite3_stmt* statement) const noexcept;
  };
  using Running = std::unique_ptr<sqlite3_stmt, Reset>;

  [[nodiscard]] Running start(std::initializer_list<std::string_view> values);

  std::unique_ptr<sqlite3_stmt, CloseSqlite> statement_;
};

/// One connection to a database file. For one thread at a time.
class Connection {
 public:
  /// Opens a file that exists, ":memory:", or, when the flags have `SQLITE_OPEN_URI`, what a
  /// "file:" URI names. Throws `SqliteError`, like everything here, when SQLite refuses. SQLite
  /// first looks into the file, and locks it, when the first statement runs.
  explicit Connection(const std::string& name, int flags = SQLITE_OPEN_READWRITE);

  /// How long statements wait for other connections. Must outlive the connection.
  void waitWith(Patience& patience) noexcept;
  /// Whether the last connection to close a file writes its log into it and removes the log. A
  /// change of it has all statements prepared anew, which may fail.
  void tidyOnClose(bool on) noexcept;
  /// Whether SQLite waits for the disk wherever a power failure could damage the file otherwise.
  /// While it does not, it does not write its log into the file either, but on close.
  void waitForDisk(bool on);
  [[nodiscard]] bool waitsForDisk() const noexcept { return waitsForDisk_; }

  void execute(const char* sql);
  [[nodiscard]] Statement prepare(std::string_view sql) const { return {database_.get(), sql}; }

  /// Whether the file has meanwhile got another name, or none. Never, where open files keep theirs.
  [[nodiscard]] bool hasMoved() const noexcept;
  /// Whether there is a write-ahead log with nothing in it.
  [[nodiscard]] bool hasEmptyLog() const;
  /// The open file, for what SQL cannot say.
  [[nodiscard]] sqlite3_file& file() const { return file(SQLITE_FCNTL_FILE_POINTER); }

 private:
  [[nodiscard]] sqlite3_file& file(int which) const;

  std::unique_ptr<sqlite3, CloseSqlite> database_;
  bool waitsForDisk_ = true;
};

/// The statements around changes of a connection.
struct TransactionStatements {
  explicit TransactionStatements(const Connection& connection);

  Statement begin;
  Statement commit;
  Statement rollback;  // prepared ahead, since it must not fail
};

/// Makes the changes until `commit` one, or none when it ends without.
class Transaction {
 public:
  explicit Transaction(TransactionStatements& statements);
  Transaction(const Transaction&) = delete;
  Transaction& operator=(const Transaction&) = delete;
  ~Transaction();

  void commit();

 private:
  TransactionStatements& statements_;
  bool open_ = false;
};

}  // namespace corvo::corvo_internal::host
