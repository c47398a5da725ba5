// SPDX-License-Identifier: Apache-2.0

#include <corvo/fakes/memory_preferences_store.h>

#include <atomic>
#include <stdexcept>

namespace corvo::fakes {

class MemoryPreferencesStore::Suite final : public PreferencesSuite {
 public:
  Suite(std::shared_ptr<const Fails> fails, const std::map<std::string, std::string>& contents)
      : fails_(std::move(fails)) {
    for (const auto& [key, value] : contents) entries_[key].value = value;
  }

  [[nodiscard]] std::optional<std::string> read(std::string_view key) const override {
    if (fails_->reading) throw std::runtime_error("reading fails");
    const std::lock_guard lock(mutex_);
    Entry& entry = entryOf(key);
    ++entry.reads;
    return entry.value;
  }

  bool apply(std::span<const PreferencesChange> changes) override {
    if (fails_->writing) return false;
    const std::lock_guard lock(mutex_);
    if (!changes.empty()) ++revision_;
    for (const PreferencesChange& change : changes) {
      Entry& entry = entryOf(change.key);
      entry.value = change.value;
      entry.revision = revision_;
    }
    return true;
  }

  [[nodiscard]] std::uint64_t revision() const override { return revision_; }

  [[nodiscard]] std::uint64_t revisionOf(std::string_view key) const override {
    const std::lock_guard lock(mutex_);
    const auto found = entries_.find(key);
    return found == entries_.end() ? 0 : found->second.revision;
  }

  [[nodiscard]] std::size_t reads(std::string_view key) const {
    const std::lock_guard lock(mutex_);
    const auto found = entries_.find(key);
    return found == entries_.end() ? 0 : found->second.reads;
  }

  [[nodiscard]] std::map<std::string, std::string> contents() const {
    const std::lock_guard lock(mutex_);
    std::map<std::string, std::string> values;
    for (const auto& [key, entry] : entries_) {
      if (entry.value) values.emplace(key, *entry.value);
    }
    return values;
  }

 private:
  struct Entry {
    std::optional<std::string> value;
    std::uint64_t revision = 0;
    std::size_t reads = 0;
  };

  Entry& entryOf(std::string_view key) const {
    const auto found = entries_.find(key);
    return found != entries_.end() ? found->second : entries_[std::string(key)];
  }

  std::shared_ptr<const Fails> fails_;
  std::atomic<std::uint64_t> revision_ = 0;
  mutable std::mutex mutex_;                                   // guards the members below
  mutable std::map<std::string, Entry, std::less<>> entries_;  // including keys only read so far
};

MemoryPreferencesStore::MemoryPreferencesStore(const MemoryPreferencesStore& other)
    : PreferencesStore(other) {
  for (const auto& [name, suite] : other.suites_) {
    suites_.emplace(name, std::make_shared<Suite>(fails_, suite->contents()));
  }
}

std::shared_ptr<PreferencesSuite> MemoryPreferencesStore::open(std::string_view suiteName) {
  const std::lock_guard lock(mutex_);
  ++openings_;
  if (failsOpening_) return nullptr;
  auto& suite = suites_[std::string(suiteName)];
  if (suite == nullptr) {
    suite = std::make_shared<Suite>(fails_, std::map<std::string, std::string>());
  }
  return suite;
}

std::vector<std::string> MemoryPreferencesStore::suiteNames() const {
  std::vector<std::string> names;
  for (const auto& [name, suite] : suites_) names.push_back(name);
  return names;
}

std::map<std::string, std::string> MemoryPreferencesStore::contents(
    std::string_view suiteName) const {
  const auto found = suites_.find(suiteName);
  if (found == suites_.end()) return {};
  return found->second->contents();
}

std::size_t MemoryPreferencesStore::reads(std::string_view suiteName, std::string_view key) const {
  const auto found = suites_.find(suiteName);
  return found == suites_.end() ? 0 : found->second->reads(key);
}

}  // namespace corvo::fakes
