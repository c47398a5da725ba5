// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/export.h>

#include <cstddef>
#include <string_view>

namespace corvo {

/// A hash for tables whose keys somebody else chooses, such as a backend's flag names. It differs
/// from process to process, so nobody can choose texts that collide. Transparent: tables can be
/// searched by `std::string_view`. Safe from any thread.
struct TextHash {
  using is_transparent = void;  ///< Look-ups need no `std::string`.

  /// The hash of the bytes.
  // Not noexcept, so that the GNU library's tables store each key's hash and need not recompute it.
  [[nodiscard]] CORVO_EXPORT std::size_t operator()(std::string_view text) const;
};

}  // namespace corvo
