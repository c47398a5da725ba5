#pragma once

#include <corvo/platform/preferences_store.h>

#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>

#include "host/patience.h"
#include "host/sqlite.h"

namespace corvo::corvo_internal::host {

/// The one database of an application: its preferences, and the identifier of this installation.
/// Opened on first need, and again as long as that fails; one that turns out to be damaged is set
/// aside, and the next use finds a new one. Any thread. Whoever uses it shares it.
class Database {
 public:
  /// The database in a file: one object per file and process. Null when the path names no file.
  [[nodiscard]] static std::shared_ptr<Database> inFile(const std::filesystem::path& file);
  /// A database that ends with its last user.
  [[nodiscard]] static std::shared_ptr<Database> inMemory();

  /// In memory when there is no file.
  explicit Database(std::optional<std::filesystem::path> file, Patience patience = Patience())
      : file_(std::move(file)), patience_(std::move(patience)) {}

  /// Whether it is open, now if not before.
  bool open() noexcept;

  /// Throws a `std::exception` when that cannot be told just now.
  [[nodiscard]] std::optional<std::string> read(std::string_view suite, std::string_view key);
  /// Makes all the changes, or none of them and answers false.
  bool apply(std::string_view suite, std::span<const PreferencesChange> changes) noexcept;

  /// The identifier of this installation, a UUID: the stored one, else the proposed one, which is
  /// stored. Throws a `std::exception` when it cannot be stored just now.
  [[nodiscard]] std::string installation(std::string_view proposed);

 private:
  struct Opened {
    explicit Opened(Connection made);

    Connection connection;
    Statement read;
    Statement write;
    Statement remove;
  };

  /// Does some work with the open database, alone. Throws what the work throws.
  template <class Work>
  auto with(Work work);

  const std::optional<std::filesystem::path> file_;
  std::mutex mutex_;
  Patience patience_;
  std::optional<Opened> opened_;
};

}  // namespace corvo::corvo_internal::host
