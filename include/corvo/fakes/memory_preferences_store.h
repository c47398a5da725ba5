// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/export.h>
#include <corvo/platform/preferences_store.h>

#include <cstddef>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace corvo::fakes {

/// Suites in memory. A second client, or a "restarted application", on the same store finds the
/// values that the first one stored. Opening, reading and writing can be made to fail. Any thread
/// may open and use suites; everything else is for the test's thread.
class CORVO_FAKES_EXPORT MemoryPreferencesStore final : public PreferencesStore {
 public:
  MemoryPreferencesStore() = default;
  /// A copy of the records, as another process would find them: nothing has been changed or read
  /// yet, and nothing fails. After that, the two stores are independent.
  MemoryPreferencesStore(const MemoryPreferencesStore& other);
  MemoryPreferencesStore& operator=(const MemoryPreferencesStore&) = delete;

  [[nodiscard]] std::shared_ptr<PreferencesSuite> open(std::string_view suiteName) override;

  /// Makes opening, reading or writing fail from now on, or work again.
  void failOpening(bool fails) { failsOpening_ = fails; }
  void failReading(bool fails) { fails_->reading = fails; }
  void failWriting(bool fails) { fails_->writing = fails; }

  /// The names of the suites opened so far, and the contents of one suite.
  [[nodiscard]] std::vector<std::string> suiteNames() const;
  [[nodiscard]] std::map<std::string, std::string> contents(std::string_view suiteName) const;
  /// How many times a key of a suite has been read, through any handle.
  [[nodiscard]] std::size_t reads(std::string_view suiteName, std::string_view key) const;
  /// How many times `open` was called, with or without success.
  [[nodiscard]] std::size_t openings() const { return openings_; }

 private:
  class Suite;
  struct Fails {
    bool reading = false;
    bool writing = false;
  };

  std::mutex mutex_;  // guards the openings and the suites
  bool failsOpening_ = false;
  std::shared_ptr<Fails> fails_ = std::make_shared<Fails>();  // shared with the suites
  std::size_t openings_ = 0;
  std::map<std::string, std::shared_ptr<Suite>, std::less<>> suites_;
};

}  // namespace corvo::fakes
