// SPDX-License-Identifier: Apache-2.0

#include "tests/base/case_table.h"
#include "tests/contract/implementations.h"

#ifdef CORVO_TEST_HOST
#include <unistd.h>

#include <filesystem>
#endif

#include <array>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace corvo {
namespace {

struct FakeStore {
  static constexpr bool kLasts = true;
  /// Simulates the end of the process and the start of a new one.
  void restart() { store = std::make_shared<fakes::MemoryPreferencesStore>(*store); }

  std::shared_ptr<fakes::MemoryPreferencesStore> store =
      std::make_shared<fakes::MemoryPreferencesStore>();
};

struct HostStore {
  static constexpr bool kLasts = true;
#ifdef CORVO_TEST_HOST
  HostStore() { restart(); }
  ~HostStore() {
    store.reset();
    std::filesystem::remove_all(folder);
  }
  void restart() {
    store.reset();
    const std::u8string text = folder.u8string();
    store = hostPlatform({.dataFolder = {text.begin(), text.end()}}).preferencesStore;
  }

  const std::filesystem::path folder =
      std::filesystem::path(testing::TempDir()) /
      (std::filesystem::path(u8"corvo-coração-") += std::to_string(getpid()));
  std::shared_ptr<PreferencesStore> store;
#endif
};

struct HostStoreInMemory {
  static constexpr bool kLasts = false;
#ifdef CORVO_TEST_HOST
  void restart() { store = hostPlatform({.inMemory = true}).preferencesStore; }

  std::shared_ptr<PreferencesStore> store = hostPlatform({.inMemory = true}).preferencesStore;
#endif
};

template <class Implementation>
class PreferencesStoreContract : public testing::Test {
 protected:
  std::shared_ptr<PreferencesSuite> open(const std::string& name) {
    return implementation_.store->open(name);
  }
  static bool put(PreferencesSuite& suite, std::string key, std::optional<std::string> value) {
    const std::array changes{PreferencesChange{std::move(key), std::move(value)}};
    return suite.apply(changes);
  }

  Implementation implementation_;
};
using StoreImplementations = tests::Implementations<FakeStore, HostStore, HostStoreInMemory>;
TYPED_TEST_SUITE(PreferencesStoreContract, StoreImplementations);

TYPED_TEST(PreferencesStoreContract, AnyTextIsANameAndAKeyOfItsOwn) {
  std::vector<std::string> texts{"", std::string(10'000, 'x'), std::string(9'999, 'x') + "y"};
  for (const auto& [text] : tests::caseTable<1>(CORVO_CONTRACT_CASES "names.txt")) {
    texts.push_back(text);
  }
  const auto valueOf = [](const auto& suite, const auto& key) { return suite + "|" + key; };
  for (const std::string& suite : texts) {
    std::vector<PreferencesChange> changes;
    for (const std::string& key : texts) changes.push_back({key, valueOf(suite, key)});
    ASSERT_TRUE(this->open(suite)->apply(changes));
  }
  if (TypeParam::kLasts) this->implementation_.restart();
  for (const std::string& suite : texts) {
    const auto opened = this->open(suite);
    for (const std::string& key : texts) EXPECT_EQ(opened->read(key), valueOf(suite, key));
    EXPECT_TRUE(!TypeParam::kLasts || opened->revisionOf("a") == 0)
        << "a new process starts counting again";
  }
}

TYPED_TEST(PreferencesStoreContract, KeepsAnyBytes) {
  std::string all;
  for (int byte = 0; byte < 256; ++byte) all += static_cast<char>(byte);
  const auto suite = this->open("s");
  for (const std::string& value : {std::string(), all, std::string(3 << 20, '\xFF')}) {
    ASSERT_TRUE(this->put(*suite, "k", value));
    EXPECT_TRUE(suite->read("k") == value);
  }
}

TYPED_TEST(PreferencesStoreContract, AppliesChangesInOrder) {
  const auto suite = this->open("s");
  const std::vector<PreferencesChange> changes{
      {"a", "1"}, {"b", "2"}, {"a", std::nullopt}, {"b", "3"}, {"c", std::nullopt}};
  EXPECT_TRUE(suite->apply(changes));
  EXPECT_EQ(suite->read("a"), std::nullopt);
  EXPECT_EQ(suite->read("b"), "3");
  EXPECT_EQ(suite->read("c"), std::nullopt);
  EXPECT_EQ(suite->read("never"), std::nullopt);
  EXPECT_TRUE(suite->apply({}));
}

TYPED_TEST(PreferencesStoreContract, HandlesOfOneNameAreOneSuite) {
  const auto one = this->open("s");
  const auto two = this->open("s");
  const auto other = this->open("t");
  ASSERT_TRUE(this->put(*one, "a", "1"));
  EXPECT_EQ(two->read("a"), "1");
  EXPECT_EQ(two->revision(), one->revision());
  EXPECT_EQ(two->revisionOf("a"), one->revisionOf("a"));
  EXPECT_EQ(other->read("a"), std::nullopt);
  EXPECT_EQ(other->revision(), 0U);
}

TYPED_TEST(PreferencesStoreContract, RevisionsGrowWithEveryChangeOfThisProcess) {
  const auto suite = this->open("s");
  EXPECT_EQ(suite->revisionOf("a"), 0U);
  const std::array both{PreferencesChange{"a", "1"}, PreferencesChange{"b", "1"}};
  ASSERT_TRUE(suite->apply(both));
  const std::uint64_t first = suite->revision();
  EXPECT_GT(first, 0U);
  EXPECT_EQ(suite->revisionOf("a"), first);
  (void)suite->read("a");
  EXPECT_EQ(suite->revision(), first);
  ASSERT_TRUE(this->put(*suite, "a", std::nullopt));
  EXPECT_GT(suite->revision(), first);
  EXPECT_EQ(suite->revisionOf("a"), suite->revision());
  EXPECT_EQ(suite->revisionOf("b"), first);
}

TYPED_TEST(PreferencesStoreContract, ASuiteOutlivesItsStore) {
  const auto suite = this->open("s");
  this->implementation_.restart();
  EXPECT_TRUE(this->put(*suite, "a", "1"));
  EXPECT_EQ(suite->read("a"), "1");
}

}  // namespace
}  // namespace corvo
