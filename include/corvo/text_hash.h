#pragma once

#include <corvo/export.h>

#include <cstddef>
#include <string_view>

namespace corvo {

/// A hash for tables whose keys somebody else chooses, as a backend the names of its flags: it
/// differs from process to process, so nobody can choose texts that collide. Transparent, so a
/// table is asked by `std::string_view`. Safe from any thread.
struct TextHash {
  using is_transparent = void;  ///< Tables are asked without a `std::string`.

  /// The hash of the bytes.
  // Not noexcept: so the GNU library's tables keep each key's hash and need not make it again.
  [[nodiscard]] CORVO_EXPORT std::size_t operator()(std::string_view text) const;
};

}  // namespace corvo
