// SPDX-License-Identifier: Apache-2.0

// What only POSIX systems have: forked processes that are killed, limits, rights of files, and
// SIGPIPE.

#include <signal.h>
#include <stdlib.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "host/sigpipe.h"
#include "tests/host/sqlite_store_test.h"

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
using tests::kLarge;

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

class PosixStoreTest : public tests::SqlitePreferencesStoreTest {
 protected:
  /// A file is never half created: if a process were killed then, it would leave a file that is not
  /// ours.
  [[nodiscard]] bool isEmptyOrStamped() const {
    const std::string bytes = tests::contentsOf(file());
    return bytes.empty() || bytes.substr(68, 4) == kId;
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
};

TEST_F(PosixStoreTest, IsForItsOwnerOnly) {
  const Platform platform = open();
  EXPECT_FALSE(fs::exists(folder_)) << "nothing is created before it is needed";
  const auto suite = platform.preferencesStore->open("s");
  ASSERT_TRUE(put(*suite, "a", "1"));
  EXPECT_EQ(fs::status(folder_).permissions(), fs::perms::owner_all);
  for (const auto& each : fs::directory_iterator(folder_)) {
    EXPECT_EQ(each.status().permissions(), fs::perms{0600}) << each.path();
  }
}

constexpr const char* kTables =
    "CREATE TABLE preference (suite BLOB NOT NULL, key BLOB NOT NULL, value BLOB NOT NULL,"
    " PRIMARY KEY (suite, key));"
    "CREATE TABLE installation (id INTEGER PRIMARY KEY CHECK (id = 1), identifier TEXT NOT NULL)";

TEST_F(PosixStoreTest, OnlyItsOwnFilesAreOpened) {
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

TEST_F(PosixStoreTest, APipeIsNotWaitedFor) {
  fs::create_directories(folder_);
  ASSERT_EQ(mkfifo(file().c_str(), 0600), 0);
  EXPECT_EQ(suite(), nullptr);
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

TEST_F(PosixStoreTest, AFullDiskChangesNothing) {
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

TEST_F(PosixStoreTest, AFullDiskAtTheStartIsTriedAgain) {
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

#ifdef __linux__
// Unflushed data may reach the disk in any order. Only a log that replaces an earlier one could
// then be misread.
TEST_F(PosixStoreTest, WaitsForTheDiskOnlyIfTheLogWasUsedBefore) {
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

TEST_F(PosixStoreTest, ALaterLockFailsOnlyTheCallsMeanwhile) {
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

TEST_F(PosixStoreTest, KilledWhileWritingItContainsAllOfAChangeOrNothing) {
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

TEST_F(PosixStoreTest, TwoProcessesMayCreateItAndWriteAtOnce) {
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

TEST_F(PosixStoreTest, TheIdentifierThatAnotherProcessIsCreatingIsUsed) {
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

TEST(SigpipeTest, IsKeptFromTheProcessAndLeavesNothing) {
  {
    const host::SigpipeBlocker quiet;
    raise(SIGPIPE);
  }
  sigset_t pending{};
  sigset_t blocked{};
  sigpending(&pending);
  pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
  EXPECT_EQ(sigismember(&pending, SIGPIPE), 0);
  EXPECT_EQ(sigismember(&blocked, SIGPIPE), 0);
  EXPECT_EXIT(raise(SIGPIPE), testing::KilledBySignal(SIGPIPE), "") << "as before";
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
