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
/// or written just now is left alone until somebody calls `reopen`.
/// For one thread at a time.
class StorageProtocol {
 public:
  /// Opens the suite of that name. `now` is the moment, as below.
  StorageProtocol(std::shared_ptr<PreferencesStore> store, std::string suiteName, double now);

  enum class Reopened : std::uint8_t {
    no,
    sameSuite,    ///< Revisions go on.
    anotherSuite  ///< Revisions begin anew.
  };
  /// Opens a suite again that has failed.
  Reopened reopen();

  /// The suite counts as failed from here on, until it is reopened.
  void fail() noexcept;

  /// Names the moment of what follows (seconds since 1970), and tells whether it is time to reopen
  /// the suite: it has failed, and the last attempt was a second ago or more.
  [[nodiscard]] bool isDue(double now) noexcept {
    now_ = now;
    return hasFailed_ && attempts_.isDue(now);
  }

  /// Whether it counts as failed.
  [[nodiscard]] bool hasFailed() const noexcept { return hasFailed_; }

  /// What reading a key came to.
  struct Reading {
    bool isKnown = false;  ///< Else it cannot be told just now what is stored.
    std::optional<std::string> blob;
  };
  [[nodiscard]] Reading read(std::string_view key);

  /// The value that the bytes hold; null when they do not decode into the type. Throws
  /// `std::bad_alloc`: what does not decode for want of memory is still stored.
  template <class T>
  [[nodiscard]] static std::shared_ptr<const T> decode(std::string_view blob) {
    model::Decoded<T> decoded = model::decodeJson<T>(blob);
    auto* value = std::get_if<T>(&decoded);
    return value ? std::make_shared<const T>(std::move(*value)) : nullptr;
  }

  /// Makes the changes, all or none of them; whether they were made.
  bool set(const std::vector<PreferencesChange>& changes);

  /// Lines up the storing of a value, or, where the value is null, the removal of the key. A value
  /// that cannot be encoded changes nothing.
  template <class T>
  static void change(std::vector<PreferencesChange>& changes, std::string key, const T* value) {
    if (value == nullptr) {
      changes.push_back({std::move(key), std::nullopt});
    } else if (std::optional<std::string> blob = model::encodeJson(*value)) {
      changes.push_back({std::move(key), std::move(blob)});
    }
  }

  /// A number that changes when anything under any key may have changed; that of a suite which is
  /// not open is 0.
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
