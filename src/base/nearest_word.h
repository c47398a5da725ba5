// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <span>
#include <string_view>

namespace corvo::corvo_internal::base {

/// The word that a text was probably meant to be: the one with the fewest letters to insert, drop,
/// replace or swap with their neighbour. If several are equally near, the first. Letter case,
/// hyphens, underscores and spaces do not count. At most two letters may differ: one in a text of
/// two to five letters, none in a single letter. Empty if no word is that near, or if the text has
/// more than 64 bytes.
[[nodiscard]] std::string_view nearestWord(std::string_view text,
                                           std::span<const std::string_view> words);

}  // namespace corvo::corvo_internal::base
