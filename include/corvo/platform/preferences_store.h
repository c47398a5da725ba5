// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/export.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace corvo {

/// One edit of a suite: the bytes to store under a key, or none to remove the key.
struct PreferencesChange {
  std::string key;                   ///< Any UTF-8 text.
  std::optional<std::string> value;  ///< Any bytes.
};

/// A named set of binary values under text keys. Within one process and one store, all handles to a
/// suite show the same values at all times. Clients on different threads use their handles
/// concurrently.
class CORVO_TYPE PreferencesSuite {
 public:
  virtual ~PreferencesSuite() = default;

  /// The bytes stored under the key; absent if there are none. Throws a `std::exception` if they
  /// cannot be read at the moment, for example while another process has locked the file. The
  /// library then goes on without the stored value, and tries again when it is next needed, at the
  /// earliest a second later.
  [[nodiscard]] virtual std::optional<std::string> read(std::string_view key) const = 0;

  /// Makes all changes and returns true; if that is impossible, makes none and returns false. Does
  /// not throw.
  virtual bool apply(std::span<const PreferencesChange> changes) = 0;

  /// A number that grows with every change made in this process, through any handle. Must cost no
  /// more than a load.
  [[nodiscard]] virtual std::uint64_t revision() const = 0;

  /// The suite's revision when this process last changed the key, or 0 if it never did. The same
  /// number means the same bytes.
  [[nodiscard]] virtual std::uint64_t revisionOf(std::string_view key) const = 0;
};

/// Opens suites.
class CORVO_TYPE PreferencesStore {
 public:
  virtual ~PreferencesStore() = default;

  /// The suite of that name, which may be any UTF-8 text. Null if it cannot be opened; stored
  /// values must then stay untouched. A client without a suite keeps its records in memory. It
  /// tries again, at most once a second, and a last time when it is released. Does not throw.
  [[nodiscard]] virtual std::shared_ptr<PreferencesSuite> open(std::string_view suiteName) = 0;
};

}  // namespace corvo
