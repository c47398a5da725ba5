// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sqlite3.h>

#include <exception>
#include <filesystem>
#include <initializer_list>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "host/wait_budget.h"

namespace corvo::corvo_internal::host {

/// A failure that SQLite reported.
class SqliteError final : public std::exception {
 public:
  explicit SqliteError(int code) noexcept : code_(code & 0xFF) {}

  /// The primary result code.
  [[nodiscard]] int code() const noexcept { return code_; }
  /// Whether the file is corrupt.
  [[nodiscard]] bool isDamage() const noexcept {
    return code_ == SQLITE_CORRUPT || code_ == SQLITE_NOTADB;
  }
  [[nodiscard]] const char* what() const noexcept override { return sqlite3_errstr(code_); }

 private:
  int code_;
};

/// The name of a file as SQLite expects it: in UTF-8 on all systems.
[[nodiscard]] std::string sqliteName(const std::filesystem::path& file);
/// The URI of a file (RFC 8089), as SQLite parses it.
[[nodiscard]] std::string sqliteUri(const std::filesystem::path& file);

struct CloseSqlite {
  void operator()(sqlite3* database) const noexcept { sqlite3_close_v2(database); }
  void operator()(sqlite3_stmt* statement) const noexcept { sqlite3_finalize(statement); }
};

/// A prepared statement. Not thread-safe; must not outlive its connection.
class Statement {
 public:
  /// Throws `SqliteError`, like everything here, if SQLite fails.
  Statement(sqlite3* database, std::string_view sql);

  /// Runs to completion with the given bytes as its parameters.
  void run(std::initializer_list<std::string_view> values = {});
  /// The bytes of the first column of the first row; empty if there is no row.
  std::optional<std::string> first(std::initializer_list<std::string_view> values = {});

 private:
  struct Reset {
    void operator()(sqlite3_stmt* statement) const noexcept;
  };
  using Running = std::unique_ptr<sqlite3_stmt, Reset>;

  [[nodiscard]] Running start(std::initializer_list<std::string_view> values);

  std::unique_ptr<sqlite3_stmt, CloseSqlite> statement_;
};

/// A connection to a database file. Not thread-safe.
class Connection {
 public:
  /// Opens an existing file, ":memory:", or, if the flags contain `SQLITE_OPEN_URI`, a "file:" URI.
  /// Throws `SqliteError`, like everything here, if SQLite fails. SQLite reads and locks the file
  /// only when the first statement runs.
  explicit Connection(const std::string& name, int flags = SQLITE_OPEN_READWRITE);

  /// Makes statements wait for other connections. `waitBudget` must outlive the connection.
  void waitWith(WaitBudget& waitBudget) noexcept;
  /// Whether the last connection to close a file writes its log into it and deletes the log.
  /// Changing this causes all statements to be prepared again, which may fail.
  void tidyOnClose(bool on) noexcept;
  /// Whether SQLite waits for the disk wherever a power failure could otherwise damage the file.
  /// Without waiting, it also does not write its log into the file before closing.
  void waitForDisk(bool on);
  [[nodiscard]] bool waitsForDisk() const noexcept { return waitsForDisk_; }

  void execute(const char* sql);
  [[nodiscard]] Statement prepare(std::string_view sql) const { return {database_.get(), sql}; }

  /// Whether the file has been renamed or deleted since. Always false on systems that do not permit
  /// that.
  [[nodiscard]] bool hasMoved() const noexcept;
  /// Whether there is an empty write-ahead log.
  [[nodiscard]] bool hasEmptyLog() const;
  /// The open file, for operations that SQL does not offer.
  [[nodiscard]] sqlite3_file& file() const { return file(SQLITE_FCNTL_FILE_POINTER); }

 private:
  [[nodiscard]] sqlite3_file& file(int which) const;

  std::unique_ptr<sqlite3, CloseSqlite> database_;
  bool waitsForDisk_ = true;
};

/// The statements around the changes of a connection.
struct TransactionStatements {
  explicit TransactionStatements(const Connection& connection);

  Statement begin;
  Statement commit;
  Statement rollback;  // prepared in advance, because it must not fail
};

/// Makes the changes until `commit` atomic. Rolls back if it is destroyed before.
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
