// SPDX-License-Identifier: Apache-2.0

#include "host/database_preferences_store.h"

#include <atomic>
#include <cstdint>
#include <exception>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

namespace corvo::corvo_internal::host {
namespace {

/// A suite's only object in this process, shared by all its handles.
class Suite final : public PreferencesSuite {
 public:
  Suite(std::shared_ptr<Database> database, std::string name)
      : database_(std::move(database)), name_(std::move(name)) {}

  [[nodiscard]] std::optional<std::string> read(std::string_view key) const override {
    return database_->read(name_, key);
  }

  bool apply(std::span<const PreferencesChange> changes) noexcept override try {
    const std::lock_guard lock(mutex_);
    // Everything that can fail precedes the change. A key that was never changed has revision 0.
    for (const PreferencesChange& change : changes) revisions_.try_emplace(change.key, 0);
    if (!database_->apply(name_, changes)) return false;
    if (changes.empty()) return true;
    const std::uint64_t revision = revision_.load(std::memory_order_relaxed) + 1;
    for (const PreferencesChange& change : changes) revisions_.find(change.key)->second = revision;
    revision_.store(revision, std::memory_order_relaxed);
    return true;
  } catch (const std::exception&) {
    return false;
  }

  [[nodiscard]] std::uint64_t revision() const override {
    return revision_.load(std::memory_order_relaxed);
  }

  [[nodiscard]] std::uint64_t revisionOf(std::string_view key) const override {
    const std::lock_guard lock(mutex_);
    const auto found = revisions_.find(key);
    return found == revisions_.end() ? 0 : found->second;
  }

 private:
  const std::shared_ptr<Database> database_;
  const std::string name_;
  mutable std::mutex mutex_;
  std::atomic<std::uint64_t> revision_ = 0;
  std::map<std::string, std::uint64_t, std::less<>> revisions_;
};

/// The shared object of that suite in that database, or a new one. The static map is never
/// destroyed, because a client that is released while the process exits may still open its suite.
std::shared_ptr<PreferencesSuite> sharedSuite(std::shared_ptr<Database> database,
                                              std::string name) {
  using InUse = std::map<std::pair<Database*, std::string>, std::weak_ptr<Suite>>;
  static auto& mutex = *new std::mutex();
  static auto& inUse = *new InUse();

  const std::lock_guard lock(mutex);
  std::erase_if(inUse, [](const auto& entry) { return entry.second.expired(); });
  std::weak_ptr<Suite>& known = inUse[{database.get(), name}];
  std::shared_ptr<Suite> suite = known.lock();
  if (suite == nullptr) {
    suite = std::make_shared<Suite>(std::move(database), std::move(name));
    known = suite;
  }
  return suite;
}

}  // namespace

std::shared_ptr<PreferencesSuite> DatabasePreferencesStore::open(
    std::string_view suiteName) noexcept try {
  if (database_ == nullptr || !database_->open()) return nullptr;
  return sharedSuite(database_, std::string(suiteName));
} catch (const std::exception&) {
  return nullptr;
}

}  // namespace corvo::corvo_internal::host
