// SPDX-License-Identifier: Apache-2.0

#include "host/sqlite.h"

#include <new>

namespace corvo::corvo_internal::host {
namespace {

void check(int code) {
  if (code != SQLITE_OK) throw SqliteError(code);
}

}  // namespace

std::string sqliteName(const std::filesystem::path& file) {
  const std::u8string text = file.u8string();
  return {text.begin(), text.end()};
}

std::string sqliteUri(const std::filesystem::path& file) {
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

Statement::Statement(sqlite3* database, std::string_view sql) {
  sqlite3_stmt* statement = nullptr;
  check(sqlite3_prepare_v3(database, sql.data(), static_cast<int>(sql.size()),
                           SQLITE_PREPARE_PERSISTENT, &statement, nullptr));
  statement_.reset(statement);
}

void Statement::Reset::operator()(sqlite3_stmt* statement) const noexcept {
  sqlite3_reset(statement);
  sqlite3_clear_bindings(statement);  // they point to the caller's bytes
}

Statement::Running Statement::start(std::initializer_list<std::string_view> values) {
  Running running(statement_.get());
  int index = 0;
  for (const std::string_view value : values) {
    const char* const data = value.data() == nullptr ? "" : value.data();  // null would bind NULL
    check(sqlite3_bind_blob64(running.get(), ++index, data, value.size(), SQLITE_STATIC));
  }
  return running;
}

void Statement::run(std::initializer_list<std::string_view> values) {
  const Running running = start(values);
  const int code = sqlite3_step(running.get());
  if (code != SQLITE_DONE) throw SqliteError(code);
}

std::optional<std::string> Statement::first(std::initializer_list<std::string_view> values) {
  const Running running = start(values);
  const int code = sqlite3_step(running.get());
  if (code == SQLITE_DONE) return std::nullopt;
  if (code != SQLITE_ROW) throw SqliteError(code);
  const auto* const data = static_cast<const char*>(sqlite3_column_blob(running.get(), 0));
  const int size = sqlite3_column_bytes(running.get(), 0);
  if (data == nullptr) {  // an empty value, or out of memory
    if (sqlite3_errcode(sqlite3_db_handle(running.get())) == SQLITE_NOMEM) throw std::bad_alloc();
    return std::string();
  }
  return std::string(data, static_cast<std::size_t>(size));
}

Connection::Connection(const std::string& name, int flags) {
  sqlite3* database = nullptr;
  const int opened = sqlite3_open_v2(name.c_str(), &database, flags | SQLITE_OPEN_NOMUTEX, nullptr);
  database_.reset(database);
  check(opened);
}

void Connection::waitWith(WaitBudget& waitBudget) noexcept {
  const auto wait = [](void* mine, int) { return static_cast<WaitBudget*>(mine)->wait() ? 1 : 0; };
  sqlite3_busy_handler(database_.get(), wait, &waitBudget);
}

void Connection::tidyOnClose(bool on) noexcept {
  sqlite3_db_config(database_.get(), SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, on ? 0 : 1, nullptr);
}

void Connection::waitForDisk(bool on) {
  constexpr int kMostLogged = 512;  // pages, equal to 4 MiB
  if (!on) {
    sqlite3_wal_autocheckpoint(database_.get(), 0);
    waitsForDisk_ = false;
  }
  execute(on ? "PRAGMA synchronous = NORMAL" : "PRAGMA synchronous = OFF");
  if (on) {
    waitsForDisk_ = true;
    sqlite3_wal_autocheckpoint(database_.get(), kMostLogged);
  }
}

void Connection::execute(const char* sql) {
  check(sqlite3_exec(database_.get(), sql, nullptr, nullptr, nullptr));
}

bool Connection::hasMoved() const noexcept {
  int moved = 0;
  sqlite3_file_control(database_.get(), "main", SQLITE_FCNTL_HAS_MOVED, &moved);
  return moved != 0;
}

bool Connection::hasEmptyLog() const {
  if (prepare("PRAGMA journal_mode").first() != "wal") return false;
  sqlite3_file& log = file(SQLITE_FCNTL_JOURNAL_POINTER);
  sqlite3_int64 size = 0;
  check(log.pMethods->xFileSize(&log, &size));
  return size == 0;
}

sqlite3_file& Connection::file(int which) const {
  sqlite3_file* file = nullptr;
  check(sqlite3_file_control(database_.get(), "main", which, &file));
  if (file == nullptr || file->pMethods == nullptr) throw SqliteError(SQLITE_CANTOPEN);
  return *file;
}

TransactionStatements::TransactionStatements(const Connection& connection)
    : begin(connection.prepare("BEGIN IMMEDIATE")),
      commit(connection.prepare("COMMIT")),
      rollback(connection.prepare("ROLLBACK")) {}

Transaction::Transaction(TransactionStatements& statements) : statements_(statements) {
  statements_.begin.run();
  open_ = true;
}

Transaction::~Transaction() {
  if (!open_) return;
  try {
    statements_.rollback.run();
  } catch (const SqliteError&) {
    open_ = false;  // SQLite has already rolled back
  }
}

void Transaction::commit() {
  statements_.commit.run();
  open_ = false;
}

}  // namespace corvo::corvo_internal::host
