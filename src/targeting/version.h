#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

namespace corvo::corvo_internal::targeting {

/// The pieces of a version: signed numbers of 64 bits. Missing ones are zeros, so "1.2" and "1.2.0"
/// are the same version, and a version without pieces is all zeros.
using Version = std::vector<std::int64_t>;

/// Reads numbers joined by dots; empty pieces are dropped ("1..2"). None when a piece is no number.
[[nodiscard]] std::optional<Version> parseVersion(std::string_view text);

/// How the version in a text stands to another: less than, equal to or greater than 0. None when
/// the text is no version. Allocates nothing.
[[nodiscard]] std::optional<int> compareVersion(std::string_view text,
                                                std::span<const std::int64_t> other) noexcept;

/// A version that is compared often: each time in time that grows with the other one alone.
class OrderedVersion {
 public:
  explicit OrderedVersion(Version version);

  /// Less than, equal to or greater than 0.
  [[nodiscard]] int orderTo(std::span<const std::int64_t> other) const noexcept;

 private:
  Version version_;
  std::vector<std::int8_t> orderFrom_;  // how the pieces from each place on stand to zeros
};

}  // namespace corvo::corvo_internal::targeting
