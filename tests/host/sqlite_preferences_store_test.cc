// SPDX-License-Identifier: Apache-2.0

#include <corvo/host.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "host/database_file.h"
#include "host/sqlite.h"
#include "host/uuid.h"
#include "tests/base/case_table.h"

#ifdef __linux__  // where SQLite calls `fdatasync`
namespace {

/// Records the names of flushed files if it is set.
std::vector<std::string>* flushed = nullptr;

}  // namespace

/// Replaces the system's function, also for SQLite. The tests do not lose power.
extern "C" __attribute__((visibility("default"))) int fdatasync(int descriptor) {
  if (flushed == nullptr) return 0;
  const auto link = "/proc/self/fd/" + std::to_string(descriptor);
  flushed->push_back(std::filesystem::read_symlink(link).filename());
  return 0;
}
#endif

namespace corvo {

using namespace corvo_internal;

namespace {

namespace fs = std::filesystem;

constexpr std::size_t kLarge = 1 << 20;
constexpr std::string_view kId = "\x0C\x02\xB0\xDB";  // the application identifier

/// Another process. It runs a function that reports numbers greater than 0.
class Child {
 public:
  template <class Work>
  explicit Child(Work work) {
    std::array<int, 2> ends{};
    EXPECT_EQ(pipe(ends.data()), 0);
    process_ = fork();
    if (process_ == 0) {
      work([&](int number) {
        if (::write(ends[1], &number, sizeof number) < 0) _exit(1);
      });
      _exit(0);
    }
    close(ends[1]);
    reports_ = ends[0];
  }
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;
  ~Child() {
    last(SIGKILL);
    close(reports_);
  }

  /// The next reported number; 0 if there are no more.
  int next() {
    int number = 0;
    return ::read(reports_, &number, sizeof number) == sizeof number ? number : 0;
  }
  /// Sends the signal, if any. Returns the last reported number.
  int last(int signal) {
    if (process_ > 0 && signal != 0) kill(process_, signal);
    if (process_ > 0) waitpid(process_, nullptr, 0);
    process_ = 0;
    int last = 0;
    for (int number = next(); number != 0; number = next()) last = number;
    return last;
  }

 private:
  pid_t process_ = 0;
  int reports_ = 0;
};

class SqlitePreferencesStoreTest : public testing::Test {
 protected:
  using Files = std::map<fs::path, std::string>;

  SqlitePreferencesStoreTest() { clear(); }
  ~SqlitePreferencesStoreTest() override { fs::remove_all(folder_.parent_path()); }

  void clear() const { fs::remove_all(folder_.parent_path()); }
  [[nodiscard]] Platform open() const { return hostPlatform({.dataFolder = folder_}); }
  [[nodiscard]] auto suite() const { return open().preferencesStore->open("s"); }
  [[nodiscard]] fs::path file() const { return folder_ / "corvo.db"; }

  /// A file is never half created: if a process were killed then, it would leave a file that is not
  /// ours.
  [[nodiscard]] bool isEmptyOrStamped() const {
    const std::string bytes = tests::contentsOf(file());
    return bytes.empty() || bytes.substr(68, 4) == kId;
  }
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
  /// Another process that creates a file by SQL and keeps it open.
  [[nodiscard]] std::unique_ptr<Child> make(const std::string& sql) const {
    write({{"corvo.db", ""}});
    auto child = std::make_unique<Child>([&](auto tell) {
      host::Connection made(file().string());
      made.execute(sql.c_str());
      tell(1);
      pause();
    });
    EXPECT_EQ(child->next(), 1) << sql;
    return child;
  }

  // In memory if possible, because flushing would take most of the time.
  const fs::path folder_ =
      fs::path(fs::is_directory("/dev/shm") ? "/dev/shm" : testing::TempDir()) /
      ("corvo-store-" + std::to_string(getpid())) / "program";
};

TEST_F(SqlitePreferencesStoreTest, IsForItsOwnerOnly) {
  const Platform platform = open();
  EXPECT_FALSE(fs::exists(folder_)) << "nothing is created before it is needed";
  const auto suite = platform.preferencesStore->open("s");
  ASSERT_TRUE(put(*suite, "a", "1"));
  EXPECT_EQ(fs::status(folder_).permissions(), fs::perms::owner_all);
  for (const auto& each : fs::directory_iterator(folder_)) {
    EXPECT_EQ(each.status().permissions(), fs::perms{0600}) << each.path();
  }
}

TEST_F(SqlitePreferencesStoreTest, AnotherFileCanBeNamed) {
  const auto openFile = [](const fs::path& file) {
    return hostPlatform({.dataFile = file}).preferencesStore->open("s");
  };
  const auto usual = open().preferencesStore->open("s");
  ASSERT_TRUE(put(*usual, "a", "1"));
  EXPECT_EQ(openFile(file()), usual);
  EXPECT_EQ(hostPlatform({.dataFolder = folder_ / "." / ""}).preferencesStore->open("s"), usual);
  ASSERT_TRUE(put(*openFile(folder_ / "mine" / "b.state"), "a", "2"));
  EXPECT_EQ(openFile(folder_ / "mine" / "b.state")->read("a"), "2");
  EXPECT_EQ(std::distance(fs::directory_iterator(folder_ / "mine"), {}), 1) << "just the file";
  for (const fs::path& none : {fs::path(), folder_, folder_ / ""}) {
    EXPECT_EQ(openFile(none), nullptr) << none;
  }
}

constexpr const char* kTables =
    "CREATE TABLE preference (suite BLOB NOT NULL, key BLOB NOT NULL, value BLOB NOT NULL,"
    " PRIMARY KEY (suite, key));"
    "CREATE TABLE installation (id INTEGER PRIMARY KEY CHECK (id = 1), identifier TEXT NOT NULL)";

TEST_F(SqlitePreferencesStoreTest, OnlyItsOwnFilesAreOpened) {
  const std::pair<const char*, const char*> names[] = {
      {"$TABLES", kTables},
      {"$ID", "201502939"},
      {"$A", "INSERT INTO preference VALUES (x'73', x'61', x'31')"}};
  for (auto [outcome, state, sql, value] : tests::caseTable<4>(CORVO_HOST_CASES "databases.txt")) {
    SCOPED_TRACE(outcome + ", " + state + ": " + sql);
    for (const auto& [name, text] : names) tests::replaceAll(sql, name, text);
    const auto other = make(sql);
    if (state != "open") other->last(SIGKILL);
    if (state == "closed")
      (void)host::Connection(file().string()).prepare("PRAGMA user_version").first();
    if (state == "lone") fs::remove(folder_ / "corvo.db-shm");
    const auto untouched = [&, isLater = outcome == "later"] {
      Files all = files();
      if (isLater) all.erase("corvo.db-shm");
      return all;
    };
    const Files found = untouched();
    const Platform platform = open();
    const auto suite = platform.preferencesStore->open("s");
    EXPECT_EQ(suite != nullptr, outcome == "ours");
    EXPECT_EQ(platform.device->vendorIdentifier().has_value(), outcome == "ours");
    if (suite == nullptr) {
      EXPECT_TRUE(untouched() == found);
      continue;
    }
    EXPECT_EQ(suite->read("a").value_or(""), value);
    EXPECT_TRUE(put(*suite, "b", "2"));
    EXPECT_EQ(tests::contentsOf(file()).substr(68, 4), kId);
  }
}

TEST_F(SqlitePreferencesStoreTest, APipeIsNotWaitedFor) {
  fs::create_directories(folder_);
  ASSERT_EQ(mkfifo(file().c_str(), 0600), 0);
  EXPECT_EQ(suite(), nullptr);
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

/// Runs a step while the files of this process cannot grow, as on a full disk.
template <class Step>
void onFullDisk(Step step, rlim_t most = kLarge / 2) {
  signal(SIGXFSZ, SIG_IGN);
  rlimit usual{};
  getrlimit(RLIMIT_FSIZE, &usual);
  const rlimit none{most, usual.rlim_max};
  setrlimit(RLIMIT_FSIZE, &none);
  step();
  setrlimit(RLIMIT_FSIZE, &usual);
}

TEST_F(SqlitePreferencesStoreTest, AFullDiskChangesNothing) {
  const auto suite = open().preferencesStore->open("s");
  ASSERT_TRUE(put(*suite, "a", "1"));
  const std::array changes{PreferencesChange{"a", std::nullopt},
                           PreferencesChange{"b", std::string(kLarge, 'b')}};
  onFullDisk([&] { EXPECT_FALSE(suite->apply(changes)); });
  EXPECT_EQ(suite->read("a"), "1");
  EXPECT_EQ(suite->read("b"), std::nullopt);
  EXPECT_EQ(suite->revision(), 1U);
  EXPECT_TRUE(suite->apply(changes));
  EXPECT_EQ(suite->read("b"), std::string(kLarge, 'b'));
}

TEST_F(SqlitePreferencesStoreTest, AFullDiskAtTheStartIsTriedAgain) {
  for (const rlim_t most : {0UL, 100UL, 8192UL, 20'000UL, 40'000UL}) {
    clear();
    const Platform platform = open();
    onFullDisk(
        [&] {
          if (const auto suite = platform.preferencesStore->open("s")) put(*suite, "a", "1");
          (void)platform.device->vendorIdentifier();
        },
        most);
    EXPECT_TRUE(isEmptyOrStamped()) << most;
    EXPECT_TRUE(put(*platform.preferencesStore->open("s"), "a", "1")) << most;
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

#ifdef __linux__
// Unflushed data may reach the disk in any order. Only a log that replaces an earlier one could
// then be misread.
TEST_F(SqlitePreferencesStoreTest, WaitsForTheDiskOnlyIfTheLogWasUsedBefore) {
  using Names = std::vector<std::string>;
  ASSERT_TRUE(put(*suite(), "a", "1"));
  Names names;
  flushed = &names;
  {
    const auto suite = this->suite();
    EXPECT_TRUE(suite->apply({}) && put(*suite, "a", "2") && put(*suite, "a", "3"));
    EXPECT_EQ(names, Names());
  }
  EXPECT_EQ(names, (Names{"corvo.db-wal", "program", "corvo.db"})) << "the log before the file";

  host::Connection other(file().string());
  other.execute("UPDATE preference SET value = x'34'; PRAGMA wal_checkpoint");
  names.clear();
  const auto suite = this->suite();
  EXPECT_TRUE(put(*suite, "a", "5"));
  EXPECT_EQ(names, (Names{"corvo.db-wal", "program"}));
  names.clear();
  for (int i = 0; i < 600; ++i) ASSERT_TRUE(put(*suite, "a", std::to_string(i)));
  EXPECT_EQ(names, (Names{"corvo.db-wal", "corvo.db", "corvo.db-wal"})) << "after 4 MiB, once";
  flushed = nullptr;
}
#endif

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

TEST_F(SqlitePreferencesStoreTest, ALaterLockFailsOnlyTheCallsMeanwhile) {
  make(std::string(kTables) + "; PRAGMA user_version = 1; PRAGMA application_id = 201502939")
      ->last(SIGKILL);
  host::Connection other(file().string());
  // A reader prevents write-ahead logging, which would prevent an exclusive lock.
  other.execute("BEGIN; SELECT * FROM preference");
  const auto suite = this->suite();
  EXPECT_FALSE(put(*suite, "a", "1")) << "the change is ready, but cannot be written";
  EXPECT_EQ(suite->revision(), 0U);
  EXPECT_EQ(suite->read("a"), std::nullopt);
  other.execute("COMMIT; BEGIN EXCLUSIVE");
  EXPECT_THROW((void)suite->read("a"), std::exception);
  EXPECT_FALSE(put(*suite, "a", "1"));
  other.execute("COMMIT");
  EXPECT_TRUE(put(*suite, "a", "2"));
  EXPECT_EQ(suite->read("a"), "2");
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

TEST_F(SqlitePreferencesStoreTest, KilledWhileWritingItContainsAllOfAChangeOrNothing) {
  std::mt19937 random(9);
  int written = 0;
  for (int round = 0; round < 100; ++round) {
    const bool isNew = round % 4 == 0;
    if (isNew) clear();
    const int from = isNew ? 0 : std::stoi(suite()->read("a").value_or("0"));
    Child child([&](auto tell) {
      tell(-1);
      sqlite3_soft_heap_limit64(20'000);  // makes SQLite write early
      const auto suite = this->suite();
      for (int i = from + 1;; ++i) {
        const std::string text = std::to_string(i);
        const std::array changes{PreferencesChange{"a", text},
                                 PreferencesChange{"b", std::string(20'000, 'b') + text}};
        if (!suite->apply(changes)) _exit(1);
        tell(i);
      }
    });
    EXPECT_EQ(child.next(), -1) << "it has not begun";
    const int first = round % 2 == 1 ? child.next() : from;
    std::this_thread::sleep_for(std::chrono::microseconds(random() % (isNew ? 3000 : 6000)));
    const int last = std::max(child.last(SIGKILL), first);
    EXPECT_TRUE(isEmptyOrStamped());
    written += last - from;
    const auto suite = this->suite();
    ASSERT_NE(suite, nullptr);
    const int found = std::stoi(suite->read("a").value_or("0"));
    EXPECT_TRUE(found == last || found == last + 1) << found << " after " << last;
    if (found > 0) {
      EXPECT_EQ(suite->read("b"), std::string(20'000, 'b') + std::to_string(found));
    }
    EXPECT_NE(open().device->vendorIdentifier(), std::nullopt);
  }
  EXPECT_GE(written, 50);
  EXPECT_FALSE(fs::exists(folder_ / "corvo.db.damaged-1"));
}

TEST_F(SqlitePreferencesStoreTest, TwoProcessesMayCreateItAndWriteAtOnce) {
  for (int round = 0; round < 5; ++round) {
    clear();
    const auto work = [&](const std::string& key) {
      const Platform platform = open();
      int done = 0;
      for (int tries = 0; done < 50 && tries < 5000; ++tries) {
        const auto suite = platform.preferencesStore->open("s");
        const std::string value(10'000, static_cast<char>('0' + done));
        const std::array changes{PreferencesChange{key, value},
                                 PreferencesChange{key + "2", value}};
        if (suite != nullptr && suite->apply(changes)) {
          ++done;
        } else {
          std::this_thread::sleep_for(std::chrono::milliseconds(2));
        }
      }
      return done + static_cast<int>(platform.device->vendorIdentifier().value_or("").back()) * 100;
    };
    Child child([&](auto tell) { tell(work("child")); });
    const int mine = work("parent");
    EXPECT_EQ(mine % 100, 50);
    EXPECT_EQ(child.last(0), mine) << "the same identifier, and as many changes";
    for (const char* const key : {"child", "child2", "parent", "parent2"}) {
      EXPECT_EQ(suite()->read(key), std::string(10'000, '0' + 49));
    }
  }
}

TEST_F(SqlitePreferencesStoreTest, TheIdentifierThatAnotherProcessIsCreatingIsUsed) {
  const std::string theirs = "6F9619FF-8B86-4D01-B42D-00CF4FC964FF";
  (void)suite();
  Child child([&](auto tell) {
    host::Connection other(file().string());
    other.execute(
        ("BEGIN IMMEDIATE; INSERT INTO installation VALUES (1, '" + theirs + "')").c_str());
    tell(1);
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    other.execute("COMMIT");
  });
  EXPECT_EQ(child.next(), 1);
  std::optional<std::string> ours;
  while (!ours) ours = open().device->vendorIdentifier();
  EXPECT_EQ(ours, theirs);
}

TEST(DataFolderTest, LiesInTheUsersDataFolder) {
  setenv("HOME", "/home/me", 1);
  const std::pair<const char*, fs::path> cases[] = {
      {"/data", "/data"}, {"relative", "/home/me/.local/share"}, {"", "/home/me/.local/share"}};
  for (const auto& [data, parent] : cases) {
    setenv("XDG_DATA_HOME", data, 1);
    EXPECT_EQ(HostOptions::defaultDataFolder(), parent / "corvo_host_tests");
  }
  unsetenv("XDG_DATA_HOME");
  unsetenv("HOME");
  EXPECT_EQ(HostOptions::defaultDataFolder(), fs::path());
}

}  // namespace
}  // namespace corvo
