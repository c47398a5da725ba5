#pragma once

#include <corvo/export.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace corvo {

/// One edit of a suite: the bytes to keep under a key, or none to remove the key.
struct PreferencesChange {
  std::string key;                   ///< Any UTF-8 text.
  std::optional<std::string> value;  ///< Any bytes.
};

/// A named set of binary values under text keys. Every handle to the suite of one name, within one
/// process and one store, shows the same values at once. Clients on different threads use theirs at
/// the same time.
class CORVO_TYPE PreferencesSuite {
 public:
  virtual ~PreferencesSuite() = default;

  /// The bytes stored under the key; none when there are none. Throws a `std::exception` when that
  /// cannot be told just now, as while another process has the file: the library goes on without
  /// what is stored and tries again a second later.
  [[nodiscard]] virtual std::optional<std::string> read(std::string_view key) const = 0;

  /// Makes all the changes, or, when that is impossible, none of them and answers false. Does not
  /// throw.
  virtual bool apply(std::span<const PreferencesChange> changes) = 0;

  /// Grows with every change made in this process through any handle. Costs no more than a load.
  [[nodiscard]] virtual std::uint64_t revision() const = 0;

  /// The revision of the suite at which the key was last changed in this process, 0 when it was
  /// not: the same number twice means the same bytes.
  [[nodiscard]] virtual std::uint64_t revisionOf(std::string_view key) const = 0;
};

/// Opens suites.
class CORVO_TYPE PreferencesStore {
 public:
  virtual ~PreferencesStore() = default;

  /// The suite of that name, which is any UTF-8 text. Null when it cannot be opened: what is
  /// stored is then left untouched, and a client keeps its records in memory and tries again, at
  /// most once a second, and a last time when it is released. Does not throw.
  [[nodiscard]] virtual std::shared_ptr<PreferencesSuite> open(std::string_view suiteName) = 0;
};

}  // namespace corvo
