#include "lint/suggestion.h"

#include <algorithm>
#include <cstddef>

#include "base/edit_distance.h"
#include "lint/report.h"

namespace corvo::corvo_internal::lint {
namespace {

// The letters in lower case, without separators.
std::string folded(std::string_view text) {
  std::string letters;
  for (const char c : text) {
    if (c == '_' || c == '-' || c == ' ') continue;
    letters += c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  }
  return letters;
}

}  // namespace

std::string_view nearest(std::string_view text, std::span<const std::string_view> words) {
  constexpr std::size_t kLongest = 64;  // longer texts resemble no word
  if (text.size() > kLongest) return {};
  const std::string wanted = folded(text);
  std::string_view best;
  std::size_t least = std::min<std::size_t>(2, wanted.size() / 3) + 1;
  for (const std::string_view word : words) {
    const std::size_t far = base::editDistance(wanted, folded(word));
    if (far >= least) continue;
    least = far;
    best = word;
  }
  return best;
}

std::string didYouMean(std::string_view word) {
  return word.empty() ? "" : "; did you mean " + quoted(word) + "?";
}

}  // namespace corvo::corvo_internal::lint
