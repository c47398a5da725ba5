#pragma once

#include <span>
#include <string>
#include <string_view>

namespace corvo::corvo_internal::lint {

/// Of the words the one that a text was probably meant to be: it differs in letter case and
/// separators alone, or in one or two letters for every three. Empty when there is none.
[[nodiscard]] std::string_view nearest(std::string_view text,
                                       std::span<const std::string_view> words);

/// `; did you mean "word"?`, or nothing when there is no word.
[[nodiscard]] std::string didYouMean(std::string_view word);

}  // namespace corvo::corvo_internal::lint
