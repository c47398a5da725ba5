#pragma once

#include <span>
#include <string>
#include <string_view>

namespace corvo::corvo_internal::lint {

/// The word that a text was probably meant to be: it differs only in letter case and separators, or
/// by one or two edits for every three letters. Empty if there is none.
[[nodiscard]] std::string_view nearest(std::string_view text,
                                       std::span<const std::string_view> words);

/// `; did you mean "word"?`, or an empty text if there is no word.
[[nodiscard]] std::string didYouMean(std::string_view word);

}  // namespace corvo::corvo_internal::lint
