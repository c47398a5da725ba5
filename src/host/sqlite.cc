#include "host/sqlite.h"

namespace corvo::host {
namespace {

constexpr int kBusyMilliseconds = 1000;  // a second process writes for milliseconds

}  // namespace

Statement::Statement(sqlite3* database, std::string_view sql) {
  sqlite3_stmt* statement = nullptr;
  sqlite3_prepare_v3(database, sql.data(), static_cast<int>(sql.size()), SQLITE_PREPARE_PERSISTENT,
                     &statement, nullptr);
  statement_.reset(statement);
}

bool Statement::run(std::initializer_list<std::string_view> values) {
  const bool done = bind(values) && sqlite3_step(statement_.get()) == SQLITE_DONE;
  reset();
  return done;
}

std::optional<std::string> Statement::first(std::initializer_list<std::string_view> values) {
  std::optional<std::string> bytes;
  if (bind(values) && sqlite3_step(statement_.get()) == SQLITE_ROW) {
    const auto* const data = static_cast<const char*>(sqlite3_column_blob(statement_.get(), 0));
    const int size = sqlite3_column_bytes(statement_.get(), 0);
    bytes.emplace(data == nullptr ? "" : data, static_cast<std::size_t>(size));
  }
  reset();
  return bytes;
}

bool Statement::bind(std::initializer_list<std::string_view> values) {
  int index = 0;
  for (const std::string_view value : values) {
    const char* const data = value.data() == nullptr ? "" : value.data();  // null would bind NULL
    if (sqlite3_bind_blob64(statement_.get(), ++index, data, value.size(), SQLITE_STATIC) !=
        SQLITE_OK) {
      return false;
    }
  }
  return true;
}

void Statement::reset() noexcept {
  if (statement_ == nullptr) return;
  sqlite3_reset(statement_.get());
  sqlite3_clear_bindings(statement_.get());  // they point at the caller's bytes
}

Connection::Connection(const std::string& file) {
  sqlite3* database = nullptr;
  const int opened = sqlite3_open_v2(file.c_str(), &database,
                                     SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr);
  database_.reset(database);
  if (opened != SQLITE_OK) {
    database_.reset();
    return;
  }
  sqlite3_busy_timeout(database, kBusyMilliseconds);
}

bool Connection::execute(const char* sql) noexcept {
  return sqlite3_exec(database_.get(), sql, nullptr, nullptr, nullptr) == SQLITE_OK;
}

}  // namespace corvo::host
