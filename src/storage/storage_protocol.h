// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/platform/preferences_store.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "base/once_a_second.h"
#include "model/codec.h"

namespace corvo::corvo_internal::storage {

/// Typed values, encoded as JSON, under text keys of one suite. A suite that cannot be opened, read
/// or written is left alone until `reopen` is called. Not thread-safe.
class StorageProtocol {
 public:
  /// Opens the suite of that name. `now` is the current time in seconds since 1970.
  StorageProtocol(std::shared_ptr<PreferencesStore> store, std::string suiteName, double now);

  enum class Reopened : std::uint8_t {
    no,
    sameSuite,    ///< Revisions continue.
    anotherSuite  ///< Revisions restart.
  };
  /// Reopens a suite that has failed.
  Reopened reopen();

  /// Marks the suite as failed until it is reopened.
  void fail() noexcept;

  /// Sets the time of the operations that follow, in seconds since 1970. Returns whether to reopen
  /// the suite: it has failed, and the last attempt was at least a second ago.
  [[nodiscard]] bool isDue(double now) noexcept {
    now_ = now;
    return hasFailed_ && attempts_.isDue(now);
  }

  /// Whether the suite is marked as failed.
  [[nodiscard]] bool hasFailed() const noexcept { return hasFailed_; }

  /// The result of reading a key.
  struct Reading {
    bool isKnown = false;  ///< Otherwise the stored value cannot be determined at present.
    std::optional<std::string> blob;
  };
  [[nodiscard]] Reading read(std::string_view key);

  /// The decoded value; null if the bytes do not decode into the type. Throws `std::bad_alloc`,
  /// because a value that lacks only memory to decode is still stored.
  template <class T>
  [[nodiscard]] static std::shared_ptr<const T> decode(std::string_view blob) {
    model::Decoded<T> decoded = model::decodeJson<T>(blob);
    auto* value = std::get_if<T>(&decoded);
    return value ? std::make_shared<const T>(std::move(*value)) : nullptr;
  }

  /// Applies the changes atomically. Returns whether they were applied.
  bool set(const std::vector<PreferencesChange>& changes);

  /// Adds a change that stores the value or, if it is null, removes the key. A value that cannot be
  /// encoded adds nothing.
  template <class T>
  static void change(std::vector<PreferencesChange>& changes, std::string key, const T* value) {
    if (value == nullptr) {
      changes.push_back({std::move(key), std::nullopt});
    } else if (std::optional<std::string> blob = model::encodeJson(*value)) {
      changes.push_back({std::move(key), std::move(blob)});
    }
  }

  /// Changes whenever anything under any key may have changed. 0 while the suite is not open.
  [[nodiscard]] std::uint64_t revision() const { return suite_ ? suite_->revision() : 0; }
  [[nodiscard]] std::uint64_t revisionOf(std::string_view key) const {
    return suite_ ? suite_->revisionOf(key) : 0;
  }

 private:
  const std::shared_ptr<PreferencesStore> store_;
  const std::string suiteName_;
  std::shared_ptr<PreferencesSuite> suite_;
  bool isReadable_ = true;
  bool hasFailed_ = false;  // since it was last opened
  base::OnceASecond attempts_;
  double now_;
};

}  // namespace corvo::corvo_internal::storage
