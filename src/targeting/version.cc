// SPDX-License-Identifier: Apache-2.0

#include "targeting/version.h"

#include <algorithm>
#include <utility>

#include "base/number.h"

namespace corvo::corvo_internal::targeting {
namespace {

// Calls `use` with every component; false if one of them is not a valid number.
template <class Use>
bool eachPiece(std::string_view text, Use use) {
  while (!text.empty()) {
    const std::size_t end = std::min(text.find('.'), text.size());
    if (end != 0) {
      const auto piece = base::parseInteger(text.substr(0, end));
      if (!piece) return false;
      use(*piece);
    }
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return true;
}

int compare(std::int64_t a, std::int64_t b) noexcept { return (a > b) - (a < b); }

}  // namespace

std::optional<Version> parseVersion(std::string_view text) {
  Version version;
  if (!eachPiece(text, [&](std::int64_t piece) { version.push_back(piece); })) return std::nullopt;
  return version;
}

std::optional<int> compareVersion(std::string_view text,
                                  std::span<const std::int64_t> other) noexcept {
  int order = 0;
  // Components after the deciding one are still read, because they too must be valid numbers.
  const auto take = [&](std::int64_t piece) {
    if (order == 0) order = compare(piece, other.empty() ? 0 : other.front());
    if (!other.empty()) other = other.subspan(1);
  };
  if (!eachPiece(text, take)) return std::nullopt;
  for (const std::int64_t piece : other) {
    if (order == 0) order = compare(0, piece);
  }
  return order;
}

OrderedVersion::OrderedVersion(Version version)
    : version_(std::move(version)), orderFrom_(version_.size() + 1) {
  for (std::size_t i = version_.size(); i-- > 0;) {
    orderFrom_[i] =
        version_[i] == 0 ? orderFrom_[i + 1] : static_cast<std::int8_t>(compare(version_[i], 0));
  }
}

int OrderedVersion::orderTo(std::span<const std::int64_t> other) const noexcept {
  for (std::size_t i = 0; i < other.size(); ++i) {
    const int order = compare(i < version_.size() ? version_[i] : 0, other[i]);
    if (order != 0) return order;
  }
  return orderFrom_[std::min(other.size(), version_.size())];
}

}  // namespace corvo::corvo_internal::targeting
