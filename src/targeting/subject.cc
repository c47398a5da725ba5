// SPDX-License-Identifier: Apache-2.0

#include "targeting/subject.h"

#include "base/md5.h"
#include "base/number.h"
#include "base/text.h"
#include "base/text_index.h"

namespace corvo::corvo_internal::targeting {

std::string_view Subject::digest() const {
  return base::view(readings().digest.get([&] { return base::md5Hex(*value_); }));
}

// A digest is ASCII and so equals its decomposition.
std::string_view Subject::decomposition() const {
  if (hashed_ || value_ == nullptr) return text();
  const auto& other = readings().decomposition.get([&] { return base::decomposed(*value_); });
  return other ? *other : plain();
}

std::optional<double> Subject::number() const {
  const auto read = [&] { return base::parseDecimal(plain()); };
  return isShort() ? read() : readings().number.get(read);
}

std::optional<std::int64_t> Subject::moment() const {
  const auto read = [&] { return localTime().momentOf(plain()); };
  return isShort() ? read() : readings().moment.get(read);
}

std::optional<int> Subject::orderTo(std::span<const std::int64_t> version) const {
  if (isShort()) return compareVersion(plain(), version);
  const auto& own = readings().version.get([&]() -> std::optional<OrderedVersion> {
    if (auto pieces = parseVersion(plain())) return OrderedVersion(*std::move(pieces));
    return std::nullopt;
  });
  return own ? std::optional(own->orderTo(version)) : std::nullopt;
}

// Building the index costs as much as some dozens of searches.
bool Subject::contains(std::string_view part) const {
  constexpr std::uint32_t kSearchesWithoutIndex = 64;
  const std::string_view whole = plain();
  if (part.size() > whole.size()) return false;
  if (isShort() || whole.size() > base::TextIndex::kLongest) return base::contains(whole, part);
  Readings& known = readings();
  if (known.searches < kSearchesWithoutIndex) {
    ++known.searches;
    return base::contains(whole, part);
  }
  return known.index.get([&] { return base::TextIndex(whole); }).contains(part);
}

}  // namespace corvo::corvo_internal::targeting
