// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

namespace corvo::corvo_internal::targeting {

/// The components of a version: signed 64-bit numbers. Missing ones are zero, so "1.2" and "1.2.0"
/// are the same version, and a version without components is all zeros.
using Version = std::vector<std::int64_t>;

/// Parses numbers joined by dots; empty components are dropped ("1..2"). Empty if a component is
/// not a valid number.
[[nodiscard]] std::optional<Version> parseVersion(std::string_view text);

/// How the version in a text compares with another: less than, equal to or greater than 0. Empty if
/// the text is not a valid version. Does not allocate.
[[nodiscard]] std::optional<int> compareVersion(std::string_view text,
                                                std::span<const std::int64_t> other) noexcept;

/// A version that is compared often: each comparison takes time that depends only on the other
/// version.
class OrderedVersion {
 public:
  explicit OrderedVersion(Version version);

  /// Less than, equal to or greater than 0.
  [[nodiscard]] int orderTo(std::span<const std::int64_t> other) const noexcept;

 private:
  Version version_;
  std::vector<std::int8_t> orderFrom_;  // how the components from each place on compare with 0
};

}  // namespace corvo::corvo_internal::targeting
