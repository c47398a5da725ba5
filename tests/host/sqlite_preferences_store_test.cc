// SPDX-License-Identifier: Apache-2.0

#include <algorithm>
#include <chrono>
#include <iterator>
#include <map>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "host/database_file.h"
#include "host/uuid.h"
#include "host/wait_budget.h"
#include "tests/host/sqlite_store_test.h"

namespace corvo {

using namespace corvo_internal;

namespace {

namespace fs = std::filesystem;
using tests::kLarge;
using tests::SqlitePreferencesStoreTest;

TEST_F(SqlitePreferencesStoreTest, AnotherFileCanBeNamed) {
  const auto openFile = [](const fs::path& file) {
    return hostPlatform({.dataFile = textOf(file)}).preferencesStore->open("s");
  };
  const auto usual = open().preferencesStore->open("s");
  ASSERT_TRUE(put(*usual, "a", "1"));
  EXPECT_EQ(openFile(file()), usual);
  EXPECT_EQ(hostPlatform({.dataFolder = textOf(folder_ / "." / "")}).preferencesStore->open("s"),
            usual);
  ASSERT_TRUE(put(*openFile(folder_ / "mine" / "b.state"), "a", "2"));
  EXPECT_EQ(openFile(folder_ / "mine" / "b.state")->read("a"), "2");
  EXPECT_EQ(std::distance(fs::directory_iterator(folder_ / "mine"), {}), 1) << "just the file";
  for (const fs::path& none : {fs::path(), folder_, folder_ / ""}) {
    EXPECT_EQ(openFile(none), nullptr) << none;
  }
}

class DamagedStoreTest : public SqlitePreferencesStoreTest {
 protected:
  DamagedStoreTest() {
    {
      const auto suite = this->suite();
      for (const auto& [key, value] : kValues) EXPECT_TRUE(put(*suite, key, value));
    }
    sound_ = tests::contentsOf(file());
    broken_ = sound_.substr(0, 8192) + std::string(sound_.size() - 8192, '\xFF');
  }

  /// Uses a store with these files, as a program that retries would. Returns whether the earlier
  /// file was renamed; empty if the file was not recognised as ours.
  std::optional<bool> use(const Files& damaged, bool sameValues) const {
    write(damaged);
    const Platform platform = open();
    const auto suite = platform.preferencesStore->open("s");
    if (suite == nullptr) {
      EXPECT_TRUE(files() == damaged);
      return std::nullopt;
    }
    for (const auto& [key, value] : kValues) {
      try {
        const auto read = suite->read(key);
        EXPECT_TRUE(!sameValues || !read || *read == value) << key;
      } catch (const std::exception&) {
        continue;  // damaged; the next use creates a new one
      }
    }
    const std::string value(30'000, 'n');
    EXPECT_TRUE(put(*suite, "a", value) || put(*suite, "a", value));
    EXPECT_TRUE(suite->read("a") == value);
    (void)platform.device->vendorIdentifier();
    EXPECT_TRUE(host::isUuid(platform.device->vendorIdentifier().value()));
    return fs::exists(folder_ / "corvo.db.damaged-1");
  }

  const std::map<std::string, std::string> kValues{
      {"a", "1"}, {"b", std::string(100'000, 'b')}, {"c", std::string(5000, 'c')}, {"d", ""}};
  std::string sound_;   // the file, closed
  std::string broken_;  // the same except for its first page
};

TEST_F(DamagedStoreTest, ATruncatedFileIsSetAside) {
  EXPECT_EQ(use({{"corvo.db", sound_ + "more"}}, true), false);
  const std::size_t end = sound_.size();
  for (const std::size_t size : std::initializer_list<std::size_t>{
           1, 71, 72, 99, 100, 511, 512, 4096, 8191, 8192, 8193, 40'000, end - 8192, end - 1}) {
    SCOPED_TRACE(size);
    const std::string cut = sound_.substr(0, size);
    const auto aside = use({{"corvo.db", cut}}, true);
    EXPECT_EQ(aside, size < 72 ? std::nullopt : std::optional(true))
        << "the first 72 bytes identify its application";
    if (aside) {
      EXPECT_TRUE(tests::contentsOf(folder_ / "corvo.db.damaged-1") == cut);
    }
  }
}

TEST_F(DamagedStoreTest, ChangedBytesNeverStopIt) {
  std::mt19937 random(9);
  const auto below = [&](std::size_t end) { return random() % end; };
  int aside = 0;
  for (int i = 0; i < 300; ++i) {
    SCOPED_TRACE(i);
    std::string bytes = sound_;
    for (std::size_t left = 1 + below(8); left > 0; --left) {
      const std::size_t areas[] = {100, 3 * 8192, bytes.size()};
      bytes[below(areas[i % 3])] = static_cast<char>(below(256));
    }
    aside += use({{"corvo.db", bytes}}, false).value_or(false) ? 1 : 0;
  }
  EXPECT_GT(aside, 50);
}

TEST_F(DamagedStoreTest, AFileFoundDamagedLaterIsSetAsideBehindTheSuite) {
  write({{"corvo.db", broken_},
         {"corvo.db.damaged-1", "earlier"},
         {"corvo.db.damaged-2-wal", "earlier"}});
  const auto suite = this->suite();
  EXPECT_THROW((void)suite->read("a"), std::exception);
  EXPECT_EQ(suite->read("a"), std::nullopt);
  EXPECT_TRUE(put(*suite, "a", "2"));
  EXPECT_EQ(this->suite(), suite);
  EXPECT_EQ(tests::contentsOf(folder_ / "corvo.db.damaged-1"), "earlier");
  EXPECT_TRUE(tests::contentsOf(folder_ / "corvo.db.damaged-3") == broken_);
}

TEST_F(DamagedStoreTest, CompanionsAreSetAsideWithTheirFile) {
  const std::string junk(50'000, 'j');
  for (const char* const ending : {"-wal", "-shm", "-journal"}) {
    const std::string companion = "corvo.db" + std::string(ending);
    EXPECT_EQ(use({{"corvo.db", sound_}, {companion, junk}}, true), false) << "junk alone";
    EXPECT_EQ(use({{"corvo.db", sound_.substr(0, 8192)}, {companion, junk}}, true), true);
    if (ending == std::string("-wal")) {  // SQLite recreates the other files
      EXPECT_TRUE(tests::contentsOf(folder_ / "corvo.db.damaged-1-wal") == junk);
    }
  }
}

TEST_F(DamagedStoreTest, AFileThatOnlyLookedDamagedIsNotMoved) {
  EXPECT_FALSE(host::setAside(host::Connection(file().string()), file(), true));
  EXPECT_EQ(suite()->read("a"), "1");
}

TEST_F(DamagedStoreTest, AFileThatAnotherProcessUsesIsNotMoved) {
  write({{"corvo.db", broken_}});
  std::optional<host::Connection> other(file().string());
  ASSERT_TRUE(other->prepare("SELECT sql FROM sqlite_master").first());
  const auto suite = this->suite();
  for (int i = 0; i < 2; ++i) EXPECT_THROW((void)suite->read("a"), std::exception);
  other.reset();
  EXPECT_THROW((void)suite->read("a"), std::exception);
  EXPECT_EQ(suite->read("a"), std::nullopt);
}

TEST_F(DamagedStoreTest, ADiskThatDamagesEverythingIsNotFilled) {
  Files found{{"corvo.db", sound_.substr(0, 8193)}};
  for (int i = 1; i <= 20; ++i) found["corvo.db.damaged-" + std::to_string(i)] = "earlier";
  EXPECT_EQ(use(found, true), std::nullopt);
}

TEST_F(DamagedStoreTest, AnInvalidIdentifierIsReplaced) {
  const auto first = open().device->vendorIdentifier();
  host::Connection(file().string()).execute("UPDATE installation SET identifier = x'0A0D'");
  const auto second = open().device->vendorIdentifier();
  EXPECT_NE(second, first);
  EXPECT_TRUE(host::isUuid(second.value()));
  EXPECT_EQ(open().device->vendorIdentifier(), second);
  EXPECT_NE(hostPlatform({.inMemory = true}).device->vendorIdentifier(),
            hostPlatform({.inMemory = true}).device->vendorIdentifier());
}

TEST_F(SqlitePreferencesStoreTest, IsNullWithoutAFolderAndWorksOnceThereIsOne) {
  EXPECT_EQ(hostPlatform({.dataFolder = {}}).preferencesStore->open("s"), nullptr);
  for (const bool isLoop : {false, true}) {
#ifdef _WIN32
    if (isLoop) continue;  // MinGW's library creates no links
#endif
    clear();
    fs::create_directories(folder_.parent_path());
    if (isLoop) {
      fs::create_symlink(folder_, folder_);
    } else {
      std::ofstream(folder_) << "in the way";
    }
    const Platform platform = open();
    EXPECT_EQ(platform.preferencesStore->open("s"), nullptr);
    EXPECT_EQ(platform.device->vendorIdentifier(), std::nullopt);
    fs::remove(folder_);
    EXPECT_NE(platform.preferencesStore->open("s"), nullptr);
    EXPECT_NE(platform.device->vendorIdentifier(), std::nullopt);
  }
}

TEST_F(SqlitePreferencesStoreTest, RunningOutOfMemoryChangesNothing) {
  const auto suite = this->suite();
  ASSERT_TRUE(put(*suite, "a", std::string(kLarge, 'a')));
  sqlite3_hard_heap_limit64(sqlite3_memory_used() + 1);
  EXPECT_THROW((void)suite->read("a"), std::exception);
  EXPECT_FALSE(put(*suite, "a", std::string(kLarge, 'b')));
  EXPECT_EQ(suite->revisionOf("a"), 1U);
  sqlite3_hard_heap_limit64(0);
  sqlite3_soft_heap_limit64(0);
  EXPECT_EQ(suite->read("a"), std::string(kLarge, 'a'));
  EXPECT_TRUE(put(*suite, "a", "2"));
}

TEST_F(SqlitePreferencesStoreTest, RunningOutOfMemoryAtTheFirstChangeChangesNothing) {
  ASSERT_TRUE(put(*suite(), "a", "1"));
  int failures = 0;
  for (bool isMade = false; !isMade; ++failures) {
    const auto suite = this->suite();
    sqlite3_hard_heap_limit64(sqlite3_memory_used() + failures * 100);
    isMade = put(*suite, "a", "2");
    sqlite3_hard_heap_limit64(0);
    sqlite3_soft_heap_limit64(0);
    EXPECT_EQ(suite->read("a"), isMade ? "2" : "1") << failures;
    EXPECT_TRUE(put(*suite, "a", "1")) << failures;
  }
  EXPECT_GT(failures, 5);
}

TEST_F(SqlitePreferencesStoreTest, AFileLockedAtTheStartIsTriedAgain) {
  ASSERT_TRUE(put(*suite(), "a", "1"));
  const auto identifier = open().device->vendorIdentifier();
  std::optional<host::Connection> other(file().string());
  other->execute("PRAGMA locking_mode = EXCLUSIVE; BEGIN EXCLUSIVE");
  const Platform platform = open();
  const auto begun = std::chrono::steady_clock::now();
  for (int i = 0; i < 50; ++i) {
    EXPECT_EQ(platform.preferencesStore->open("s"), nullptr);
    EXPECT_EQ(platform.device->vendorIdentifier(), std::nullopt);
  }
  EXPECT_LT(std::chrono::steady_clock::now() - begun, std::chrono::seconds(5));
  other.reset();
  EXPECT_EQ(platform.device->vendorIdentifier(), identifier);
  EXPECT_EQ(platform.preferencesStore->open("s")->read("a"), "1");
}

TEST(WaitBudgetTest, WaitsATenthOfASecondWithinAnySecond) {
  using Milliseconds = host::WaitBudget::Milliseconds;
  Milliseconds now(0);
  host::WaitBudget waitBudget([&](Milliseconds duration) { return now += duration; });
  std::map<int, int> waited;  // by time, in milliseconds
  for (std::mt19937 random(9); now < Milliseconds(60'000);) {
    const auto begun = now;
    for (int left = static_cast<int>(random() % 90); left > 0 && waitBudget.wait(); --left)
      continue;
    for (Milliseconds at = begun; at < now; ++at) ++waited[static_cast<int>(at.count())];
    now += Milliseconds(random() % 150);
  }
  int most = 0;
  for (const auto& [moment, one] : waited) {
    const auto end = waited.lower_bound(moment + 1000);
    most = std::max(most, static_cast<int>(std::distance(waited.find(moment), end)));
  }
  EXPECT_EQ(most, 100);
}

}  // namespace
}  // namespace corvo
