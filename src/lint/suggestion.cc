#include "lint/suggestion.h"

#include <algorithm>
#include <cstddef>
#include <vector>

#include "lint/report.h"

namespace corvo::corvo_internal::lint {
namespace {

// Letters in lower case, separators left out.
std::string folded(std::string_view text) {
  std::string letters;
  for (const char c : text) {
    if (c == '_' || c == '-' || c == ' ') continue;
    letters += c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  }
  return letters;
}

// How many letters must be inserted, removed, replaced or swapped with their neighbour (optimal
// string alignment).
std::size_t distance(std::string_view a, std::string_view b) {
  std::vector<std::size_t> before;
  std::vector<std::size_t> above(b.size() + 1);
  for (std::size_t j = 0; j <= b.size(); ++j) above[j] = j;
  for (std::size_t i = 1; i <= a.size(); ++i) {
    std::vector<std::size_t> row(b.size() + 1, i);
    for (std::size_t j = 1; j <= b.size(); ++j) {
      const std::size_t replaced = above[j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1);
      row[j] = std::min({above[j] + 1, row[j - 1] + 1, replaced});
      if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1]) {
        row[j] = std::min(row[j], before[j - 2] + 1);
      }
    }
    before = std::move(above);
    above = std::move(row);
  }
  return above.back();
}

}  // namespace

std::string_view nearest(std::string_view text, std::span<const std::string_view> words) {
  constexpr std::size_t kLongest = 64;  // no word comes near it
  if (text.size() > kLongest) return {};
  const std::string wanted = folded(text);
  std::string_view best;
  std::size_t least = std::min<std::size_t>(2, wanted.size() / 3) + 1;
  for (const std::string_view word : words) {
    const std::size_t far = distance(wanted, folded(word));
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
