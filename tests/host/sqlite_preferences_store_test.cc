#include <corvo/host.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/resource.h>
#include <unistd.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>

#include "host/database.h"

namespace corvo {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kLarge = 1 << 20;

class SqlitePreferencesStoreTest : public testing::Test {
 protected:
  SqlitePreferencesStoreTest() { fs::remove_all(folder_); }
  ~SqlitePreferencesStoreTest() override { fs::remove_all(folder_.parent_path()); }

  [[nodiscard]] Platform open() const { return hostPlatform({.dataFolder = folder_}); }
  [[nodiscard]] fs::path file() const { return folder_ / "corvo.db"; }

  static bool put(PreferencesSuite& suite, const std::string& key, const std::string& value) {
    const std::array changes{PreferencesChange{key, value}};
    return suite.apply(changes);
  }
  [[nodiscard]] std::string contents() const {
    return (std::ostringstream() << std::ifstream(file(), std::ios::binary).rdbuf()).str();
  }
  void write(const std::string& bytes) const { std::ofstream(file(), std::ios::binary) << bytes; }

  const fs::path folder_ =
      fs::path(testing::TempDir()) / ("corvo-store-" + std::to_string(getpid())) / "program";
};

TEST_F(SqlitePreferencesStoreTest, IsForItsOwnerOnly) {
  const Platform platform = open();
  EXPECT_FALSE(fs::exists(folder_)) << "nothing is made before it is needed";
  const auto suite = platform.preferencesStore->open("s");
  ASSERT_TRUE(put(*suite, "a", "1"));
  EXPECT_EQ(fs::status(folder_).permissions(), fs::perms::owner_all);
  for (const auto& each : fs::directory_iterator(folder_)) {
    EXPECT_EQ(each.status().permissions(), fs::perms{0600}) << each.path();
  }
}

TEST_F(SqlitePreferencesStoreTest, TwoStoresOfOneFolderShareTheirSuites) {
  const auto one = open().preferencesStore->open("s");
  const auto two = hostPlatform({.dataFolder = folder_ / "." / ""}).preferencesStore->open("s");
  ASSERT_TRUE(put(*one, "a", "1"));
  EXPECT_EQ(two->read("a"), "1");
  EXPECT_EQ(two->revision(), 1U);
  EXPECT_EQ(two->revisionOf("a"), 1U);
}

TEST_F(SqlitePreferencesStoreTest, AnotherFileCanBeNamed) {
  const auto openFile = [](const fs::path& file) {
    return hostPlatform({.dataFile = file}).preferencesStore->open("s");
  };
  const auto usual = open().preferencesStore->open("s");
  ASSERT_TRUE(put(*usual, "a", "1"));
  EXPECT_EQ(openFile(file()), usual);
  ASSERT_TRUE(put(*openFile(folder_ / "mine" / "b.state"), "a", "2"));
  EXPECT_EQ(openFile(folder_ / "mine" / "b.state")->read("a"), "2");
  EXPECT_EQ(std::distance(fs::directory_iterator(folder_ / "mine"), {}), 1) << "just the file";
  for (const fs::path& none : {fs::path(), folder_, folder_ / ""}) {
    EXPECT_EQ(openFile(none), nullptr) << none;
  }
}

TEST_F(SqlitePreferencesStoreTest, LeavesWhatItCannotReadAsItIs) {
  { ASSERT_TRUE(put(*open().preferencesStore->open("s"), "a", std::string(kLarge, 'x'))); }
  const std::string sound = contents();
  ASSERT_TRUE(host::Connection(file().string()).execute("PRAGMA user_version = 2"));
  for (const std::string& each : {contents(), std::string(5000, 'z')}) {
    write(each);
    EXPECT_EQ(open().preferencesStore->open("s"), nullptr);
    EXPECT_EQ(open().device->vendorIdentifier(), std::nullopt);
    EXPECT_TRUE(contents() == each);
  }
  write(sound.substr(0, sound.size() / 2));
  const auto broken = open().preferencesStore->open("s");
  if (broken != nullptr) {
    EXPECT_NE(broken->read("a"), std::string(kLarge, 'x'));
    put(*broken, "a", std::string(kLarge, 'y'));
  }
}

TEST_F(SqlitePreferencesStoreTest, IsNullWithoutAFolderAndWorksOnceThereIsOne) {
  EXPECT_EQ(hostPlatform({.dataFolder = {}}).preferencesStore->open("s"), nullptr);
  fs::create_directories(folder_.parent_path());
  std::ofstream(folder_) << "in the way";
  const Platform platform = open();
  EXPECT_EQ(platform.preferencesStore->open("s"), nullptr);
  EXPECT_EQ(platform.device->vendorIdentifier(), std::nullopt);
  fs::remove(folder_);
  EXPECT_NE(platform.preferencesStore->open("s"), nullptr);
  EXPECT_NE(platform.device->vendorIdentifier(), std::nullopt);
}

/// Takes a step while files of this process cannot grow: a full disk, for whoever writes.
template <class Step>
void onFullDisk(Step step) {
  signal(SIGXFSZ, SIG_IGN);
  rlimit usual{};
  getrlimit(RLIMIT_FSIZE, &usual);
  const rlimit none{kLarge / 2, usual.rlim_max};
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

TEST_F(SqlitePreferencesStoreTest, AnotherProcessThatWritesIsWaitedForAndThenGivenUpOn) {
  ASSERT_TRUE(put(*open().preferencesStore->open("s"), "a", "1"));
  host::Connection mine(file().string());
  EXPECT_GT(std::stoi(mine.prepare("PRAGMA busy_timeout").first().value()), 100);
  ASSERT_TRUE(mine.prepare("PRAGMA busy_timeout = 100").first());
  host::Database database(std::move(mine));
  host::Connection other(file().string());
  ASSERT_TRUE(other.execute("BEGIN IMMEDIATE"));
  const std::array changes{PreferencesChange{"a", "2"}};
  EXPECT_FALSE(database.apply("s", changes));
  EXPECT_EQ(database.read("s", "a"), "1");
  ASSERT_TRUE(other.execute("ROLLBACK"));
  EXPECT_TRUE(database.apply("s", changes));
}

TEST_F(SqlitePreferencesStoreTest, TheInstallationOutlivesTheProcess) {
  const auto first = open().device->vendorIdentifier();
  EXPECT_EQ(open().device->vendorIdentifier(), first);
  fs::remove_all(folder_);
  EXPECT_NE(open().device->vendorIdentifier(), first);
  EXPECT_NE(hostPlatform({.inMemory = true}).device->vendorIdentifier(),
            hostPlatform({.inMemory = true}).device->vendorIdentifier());
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
