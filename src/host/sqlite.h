#pragma once

#include <sqlite3.h>

#include <initializer_list>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace corvo::host {

struct CloseSqlite {
  void operator()(sqlite3* database) const noexcept { sqlite3_close_v2(database); }
  void operator()(sqlite3_stmt* statement) const noexcept { sqlite3_finalize(statement); }
};

/// One prepared statement. For one thread at a time; must not outlive its connection's use.
class Statement {
 public:
  Statement() = default;
  /// Null when the statement cannot be prepared.
  Statement(sqlite3* database, std::string_view sql);

  explicit operator bool() const noexcept { return statement_ != nullptr; }

  /// Runs to the end with the given bytes for its parameters; whether that succeeded.
  bool run(std::initializer_list<std::string_view> values = {});
  /// The bytes of the first column of the first row; none when there is no row or it is unreadable.
  std::optional<std::string> first(std::initializer_list<std::string_view> values = {});

 private:
  bool bind(std::initializer_list<std::string_view> values);
  void reset() noexcept;

  std::unique_ptr<sqlite3_stmt, CloseSqlite> statement_;
};

/// One connection to a database file. For one thread at a time.
class Connection {
 public:
  Connection() = default;
  /// Opens a file that exists, or ":memory:". Null when that is impossible. SQLite first looks into
  /// the file when the first statement runs.
  explicit Connection(const std::string& file);

  explicit operator bool() const noexcept { return database_ != nullptr; }

  /// Runs statements that answer nothing; whether all succeeded.
  bool execute(const char* sql) noexcept;
  [[nodiscard]] Statement prepare(std::string_view sql) const { return {database_.get(), sql}; }

 private:
  std::unique_ptr<sqlite3, CloseSqlite> database_;
};

}  // namespace corvo::host
