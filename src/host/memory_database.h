// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <mutex>

#include "host/database.h"

namespace corvo::corvo_internal::host {

/// A database in memory, destroyed with its last user. Thread-safe.
class MemoryDatabase final : public Database {
 public:
  bool open() noexcept override { return true; }
  [[nodiscard]] std::optional<std::string> read(std::string_view suite,
                                                std::string_view key) override;
  bool apply(std::string_view suite, std::span<const PreferencesChange> changes) noexcept override;
  [[nodiscard]] std::string installation(std::string_view proposed) override;

 private:
  using Values = std::map<std::string, std::optional<std::string>, std::less<>>;

  std::mutex mutex_;
  std::map<std::string, Values, std::less<>> suites_;
  std::optional<std::string> installation_;
};

}  // namespace corvo::corvo_internal::host
