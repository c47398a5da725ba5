#pragma once

#include <corvo/platform/preferences_store.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "model/codec.h"

namespace corvo::storage {

/// Typed values, encoded as JSON, under text keys of one suite. For one thread at a time.
class StorageProtocol {
 public:
  explicit StorageProtocol(std::shared_ptr<PreferencesSuite> suite) : suite_(std::move(suite)) {}

  /// The bytes under the key; none when there are none or they cannot be read.
  [[nodiscard]] std::optional<std::string> read(std::string_view key) const {
    return suite_->read(key);
  }

  /// The value that the bytes hold; null when they do not decode into the type.
  template <class T>
  [[nodiscard]] static std::shared_ptr<const T> decode(std::string_view blob) {
    model::Decoded<T> decoded = model::decodeJson<T>(blob);
    auto* value = std::get_if<T>(&decoded);
    return value ? std::make_shared<const T>(std::move(*value)) : nullptr;
  }

  /// Makes the changes lined up by `change`, all or none of them.
  void set(const std::vector<PreferencesChange>& changes) { suite_->apply(changes); }

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

  [[nodiscard]] std::uint64_t revision() const { return suite_->revision(); }
  [[nodiscard]] std::uint64_t revisionOf(std::string_view key) const {
    return suite_->revisionOf(key);
  }

 private:
  std::shared_ptr<PreferencesSuite> suite_;
};

}  // namespace corvo::storage
