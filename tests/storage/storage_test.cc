// SPDX-License-Identifier: Apache-2.0

#include <corvo/fakes.h>
#include <gtest/gtest.h>

#include "storage/storage_client.h"
#include "storage/storage_property.h"

namespace corvo::corvo_internal::storage {
namespace {

constexpr double kWritten = 1'714'564'800;

class StoragePropertyTest : public testing::Test {
 protected:
  std::shared_ptr<StorageProtocol> protocol() {
    return std::make_shared<StorageProtocol>(store_, "suite", kWritten);
  }
  StorageProperty<std::string> slot() { return {"key", protocol()}; }
  void put(const std::string& key, std::optional<std::string> blob) {
    const PreferencesChange change{key, std::move(blob)};
    store_->open("suite")->apply({&change, 1});
  }
  static std::shared_ptr<const std::string> text(const char* value) {
    return std::make_shared<const std::string>(value);
  }

  const std::shared_ptr<fakes::MemoryPreferencesStore> store_ =
      std::make_shared<fakes::MemoryPreferencesStore>();
};

TEST_F(StoragePropertyTest, StoresValueAndTimeInOneChange) {
  slot().write(text("a"), kWritten);
  const auto suite = store_->open("suite");
  EXPECT_EQ(suite->read("key.value"), "\"a\"");
  EXPECT_EQ(suite->read("key.update_time"), "736257600");  // seconds from 2001 to 2024-05-01 12:00
  EXPECT_EQ(suite->revisionOf("key.value"), suite->revisionOf("key.update_time"));
}

TEST_F(StoragePropertyTest, ReadsAndDecodesTheSameBytesOnce) {
  put("key.value", "\"a\"");
  auto property = slot();
  const std::string* first = property.read().get();
  put("other", "1");
  EXPECT_EQ(property.read().get(), first);
  EXPECT_EQ(store_->reads("suite", "key.value"), 1U);
  put("key.value", "\"b\"");
  EXPECT_EQ(*property.read(), "b");
}

/// Returns whichever suite exists now, as after a file was renamed and a new one created.
struct ChangingStore final : PreferencesStore {
  std::shared_ptr<fakes::MemoryPreferencesStore> now =
      std::make_shared<fakes::MemoryPreferencesStore>();

  std::shared_ptr<PreferencesSuite> open(std::string_view name) override { return now->open(name); }
};

TEST(StorageClientTest, KeepsNothingOfAFormerSuite) {
  const auto store = std::make_shared<ChangingStore>();
  StorageClient(store, "a", "token", 10, kWritten)
      .corvoPrivateId.write(std::make_shared<const std::string>("former"), kWritten);
  StorageClient client(store, "a", "token", 10, kWritten);
  EXPECT_EQ(*client.corvoPrivateId.read(), "former");
  store->now->failWriting(true);
  client.user.write(std::make_shared<const CorvoUser>(), kWritten);
  store->now = std::make_shared<fakes::MemoryPreferencesStore>();
  EXPECT_TRUE(client.isDue(kWritten + 1) && client.tryAgain());
  EXPECT_EQ(client.corvoPrivateId.read(), nullptr);
  EXPECT_TRUE(store->now->contents("storageatoken").contains("user.value"));
}

}  // namespace
}  // namespace corvo::corvo_internal::storage
