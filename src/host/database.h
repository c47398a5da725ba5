#pragma once

#include <corvo/platform/preferences_store.h>

#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "host/sqlite.h"

namespace corvo::host {

/// The one database of an application: its preferences, and the identifier of this installation.
/// Any thread. Nothing throws but for want of memory. Whoever uses it shares it.
class Database {
 public:
  /// The database in a file, made with its folder when it is missing: one object per file and
  /// process. Null when it cannot be opened or was written by a later version; it is then left as
  /// it is.
  [[nodiscard]] static std::shared_ptr<Database> inFile(const std::filesystem::path& file);
  /// A database that ends with its last user.
  [[nodiscard]] static std::shared_ptr<Database> inMemory();

  explicit Database(Connection connection);

  [[nodiscard]] std::optional<std::string> read(std::string_view suite, std::string_view key);
  /// Makes all the changes, or none of them and answers false.
  bool apply(std::string_view suite, std::span<const PreferencesChange> changes);

  /// The identifier of this installation: the stored one, else the proposed one, which is stored.
  /// None when it cannot be stored.
  [[nodiscard]] std::optional<std::string> installation(std::string_view proposed);

 private:
  bool applyOne(std::string_view suite, const PreferencesChange& change);

  std::mutex mutex_;
  Connection connection_;
  Statement read_;
  Statement write_;
  Statement remove_;
};

/// Opens an application's database when it is first needed, and tries again as long as that fails.
/// Any thread.
class LazyDatabase {
 public:
  /// None keeps everything in memory.
  explicit LazyDatabase(std::optional<std::filesystem::path> file) : file_(std::move(file)) {}

  /// Null while it cannot be opened.
  [[nodiscard]] std::shared_ptr<Database> get();

 private:
  const std::optional<std::filesystem::path> file_;
  std::mutex mutex_;
  std::shared_ptr<Database> database_;
};

}  // namespace corvo::host
