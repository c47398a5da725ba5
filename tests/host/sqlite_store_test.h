// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/host.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <string>

#include "host/sqlite.h"
#include "tests/base/case_table.h"

namespace corvo::tests {

namespace fs = std::filesystem;

inline constexpr std::size_t kLarge = 1 << 20;

/// A store in a folder of its own.
class SqlitePreferencesStoreTest : public testing::Test {
 protected:
  using Files = std::map<fs::path, std::string>;

  SqlitePreferencesStoreTest() { clear(); }
  ~SqlitePreferencesStoreTest() override { fs::remove_all(folder_.parent_path()); }

  void clear() const { fs::remove_all(folder_.parent_path()); }
  /// As the options expect it.
  static std::string textOf(const fs::path& path) { return corvo_internal::host::sqliteName(path); }
  [[nodiscard]] Platform open() const { return hostPlatform({.dataFolder = textOf(folder_)}); }
  [[nodiscard]] auto suite() const { return open().preferencesStore->open("s"); }
  [[nodiscard]] fs::path file() const { return folder_ / "corvo.db"; }

  static bool put(PreferencesSuite& suite, const std::string& key, const std::string& value) {
    const std::array changes{PreferencesChange{key, value}};
    return suite.apply(changes);
  }
  /// All files of the folder.
  [[nodiscard]] Files files() const {
    Files all;
    for (const auto& each : fs::directory_iterator(folder_)) {
      all[each.path().filename()] = tests::contentsOf(each.path());
    }
    return all;
  }
  void write(const Files& files) const {
    clear();
    fs::create_directories(folder_);
    for (const auto& each : files) {
      std::ofstream(folder_ / each.first, std::ios::binary) << each.second;
    }
  }

  // In memory if possible, because flushing would take most of the time.
  const fs::path folder_ =
      fs::path(fs::is_directory("/dev/shm") ? "/dev/shm" : testing::TempDir()) /
      ("corvo-store-" + std::to_string(getpid())) / "program";
};

}  // namespace corvo::tests
