// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>

#include "host/database.h"
#include "host/sqlite.h"
#include "host/wait_budget.h"

namespace corvo::corvo_internal::host {

/// A database in a file. Opened on first use; while that fails, every use tries again. A database
/// that turns out to be damaged is renamed, and the next use creates a new one. Thread-safe.
class SqliteDatabase final : public Database {
 public:
  /// The only object per file and process. Null if the path names no file.
  [[nodiscard]] static std::shared_ptr<SqliteDatabase> inFile(const std::filesystem::path& file);

  explicit SqliteDatabase(std::filesystem::path file) : file_(std::move(file)) {}

  bool open() noexcept override;
  [[nodiscard]] std::optional<std::string> read(std::string_view suite,
                                                std::string_view key) override;
  bool apply(std::string_view suite, std::span<const PreferencesChange> changes) noexcept override;
  [[nodiscard]] std::string installation(std::string_view proposed) override;

 private:
  struct Opened {
    explicit Opened(Connection made);

    /// Runs `work` in one transaction. The first one need not wait for the disk.
    template <class Work>
    void change(Work work);
    /// Returns false if that would not be safe; then nothing was done.
    template <class Work>
    bool beginLog(Work work);

    Connection connection;
    TransactionStatements transactions;
    Statement read;
    Statement write;
    bool isLogBegun = false;
  };

  /// Runs `work` on the open database under the lock. Throws what `work` throws.
  template <class Work>
  auto with(Work work);

  const std::filesystem::path file_;
  std::mutex mutex_;
  WaitBudget waitBudget_;
  std::optional<Opened> opened_;
};

}  // namespace corvo::corvo_internal::host
