// SPDX-License-Identifier: Apache-2.0

#include "c/caller_store.h"

#include <atomic>
#include <cstdint>
#include <exception>
#include <map>
#include <mutex>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "c/call.h"
#include "c/caller_bytes.h"

namespace corvo::corvo_internal::c {
namespace {

/// Counts the changes of a suite, so that applications need not.
struct Revisions {
  std::mutex mutex;
  std::atomic<std::uint64_t> latest = 0;
  std::map<std::string, std::uint64_t, std::less<>> ofKeys;
};

class CallerSuite final : public CallerService<PreferencesSuite> {
 public:
  CallerSuite(std::shared_ptr<const CallerFunctions> functions, std::string name,
              std::shared_ptr<Revisions> revisions)
      : CallerService(std::move(functions)),
        name_(std::move(name)),
        revisions_(std::move(revisions)) {}

  [[nodiscard]] std::optional<std::string> read(std::string_view key) const override {
    CallerBytes place;
    const std::lock_guard lock(revisions_->mutex);
    if (!functions_->call(functions_->read, asText(name_), asText(key), place.handle())) {
      throw std::runtime_error("the store cannot be read at the moment");
    }
    return place.take();
  }

  bool apply(std::span<const PreferencesChange> changes) override {
    try {
      return tryToApply(changes);
    } catch (const std::exception&) {  // memory ran out
      return false;
    }
  }

  [[nodiscard]] std::uint64_t revision() const override { return revisions_->latest; }

  [[nodiscard]] std::uint64_t revisionOf(std::string_view key) const override {
    const std::lock_guard lock(revisions_->mutex);
    const auto found = revisions_->ofKeys.find(key);
    return found == revisions_->ofKeys.end() ? 0 : found->second;
  }

 private:
  bool tryToApply(std::span<const PreferencesChange> changes) {
    std::vector<corvo_change> list;
    for (const auto& [key, value] : changes) {
      list.push_back({asText(key), value ? asText(*value) : corvo_text{}});
    }
    const std::lock_guard lock(revisions_->mutex);
    // Before the change, since nothing may fail after it.
    std::vector<std::uint64_t*> changed;
    for (const auto& [key, value] : changes) changed.push_back(&revisions_->ofKeys[key]);
    if (!functions_->call(functions_->apply, asText(name_), list.data(), list.size())) {
      return false;
    }
    const std::uint64_t revision = ++revisions_->latest;
    for (std::uint64_t* const each : changed) *each = revision;
    return true;
  }

  const std::string name_;
  const std::shared_ptr<Revisions> revisions_;
};

class CallerStore final : public CallerService<PreferencesStore> {
 public:
  using CallerService::CallerService;

  [[nodiscard]] std::shared_ptr<PreferencesSuite> open(std::string_view suiteName) override {
    try {
      const auto opens = functions_->open_suite;
      if (opens != nullptr && !functions_->call(opens, asText(suiteName))) return nullptr;
      std::string name(suiteName);
      const std::lock_guard lock(mutex_);
      std::shared_ptr<Revisions>& revisions = suites_[name];
      if (!revisions) revisions = std::make_shared<Revisions>();
      return std::make_shared<CallerSuite>(functions_, std::move(name), revisions);
    } catch (const std::exception&) {  // memory ran out
      return nullptr;
    }
  }

 private:
  std::mutex mutex_;
  std::map<std::string, std::shared_ptr<Revisions>> suites_;
};

}  // namespace

std::shared_ptr<PreferencesStore> callerStore(std::shared_ptr<const CallerFunctions> functions) {
  return std::make_shared<CallerStore>(std::move(functions));
}

}  // namespace corvo::corvo_internal::c
