#pragma once

#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>

#include "host/database.h"
#include "host/patience.h"
#include "host/sqlite.h"

namespace corvo::corvo_internal::host {

/// A database in a file. Opened on first need, and again as long as that fails; one that turns out
/// to be damaged is set aside, and the next use finds a new one. Any thread.
class SqliteDatabase final : public Database {
 public:
  /// The one object per file and process. Null when the path names no file.
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

    /// Does some work in one transaction. The first need not wait for the disk.
    template <class Work>
    void change(Work work);
    /// False where that would not be safe: nothing was done then.
    template <class Work>
    bool beginLog(Work work);

    Connection connection;
    TransactionStatements transactions;
    Statement read;
    Statement write;
    bool isLogBegun = false;
  };

  /// Does some work with the open database, alone. Throws what the work throws.
  template <class Work>
  auto with(Work work);

  const std::filesystem::path file_;
  std::mutex mutex_;
  Patience patience_;
  std::optional<Opened> opened_;
};

}  // namespace corvo::corvo_internal::host
