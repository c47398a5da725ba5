// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "base/civil_time.h"
#include "model/config.h"
#include "targeting/version.h"
#include "targeting/vocabulary.h"

namespace corvo::corvo_internal::lint {

/// A value that a property is compared with: a number, a version or a date. Each kind has its own
/// order.
using Point = std::variant<double, targeting::Version, base::LocalSeconds>;

/// One bound of a range of points.
struct Bound {
  /// The property's number and the kind of its points. Bounds on the same line can be compared.
  using Line = std::pair<std::uint32_t, std::size_t>;

  Line line;
  bool isLower;
  bool isOpen;  ///< The point itself is outside.
  Point point;
};

/// A condition's requirement for its property, in a comparable form.
struct Requirement {
  Requirement(const model::Condition& condition, targeting::Vocabulary& vocabulary);

  std::uint32_t property;        ///< Its number in the vocabulary.
  std::optional<bool> constant;  ///< The answer if it does not depend on the property.
  std::string text;              ///< Requirements with equal texts are equal.
  /// If the property must equal one of several texts, or none of them: each text as a requirement
  /// to equal it. Sorted. Canonically equivalent texts appear once.
  std::vector<std::string> oneOf;
  std::vector<std::string> noneOf;
  std::optional<Bound> bound;  ///< Set if the property must lie in a range.
  /// The text of the requirement that holds exactly if this one does not. Empty if there is none,
  /// or if the lists above express the same.
  std::string opposite;
};

/// A bound prepared for many comparisons: each takes time that depends only on the other bound.
class PreparedBound {
 public:
  explicit PreparedBound(Bound bound);

  /// Whether everything inside the other bound, which must be on the same side, is inside this one.
  [[nodiscard]] bool covers(const Bound& other) const;
  /// Whether nothing is inside both this bound and the other, which must be on the other side.
  [[nodiscard]] bool excludes(const Bound& other) const;

 private:
  // Positive if this one is inside the other, on its side; 0 if they are at the same point.
  [[nodiscard]] int insideBy(const Bound& other) const;

  Bound bound_;
  std::optional<targeting::OrderedVersion> version_;
};

/// The values that properties can still have under a set of requirements. Reports only what is
/// certain. Takes almost linear time for all requirements together.
class RemainingValues {
 public:
  /// Keeps only values that meet the requirement.
  void require(const Requirement& requirement);
  /// Keeps only values that do not meet it.
  void forbid(const Requirement& requirement);

  [[nodiscard]] bool isEmpty() const noexcept { return isEmpty_; }

 private:
  // The texts that one property may equal; any text if there is no list.
  struct Texts {
    void allow(const std::vector<std::string>& texts);
    [[nodiscard]] bool isNone();

    std::optional<std::vector<std::string>> allowed;
    std::set<std::string> excluded;
  };

  void limit(std::uint32_t property, const std::vector<std::string>& allowed,
             const std::vector<std::string>& excluded);
  void meet(const std::string& text, const std::string& opposite);
  void meet(const Bound& bound);

  std::map<std::uint32_t, Texts> texts_;
  std::set<std::string> met_;  // the texts of requirements that have an opposite
  std::map<std::pair<Bound::Line, bool>, PreparedBound> closest_;  // so far, by line and side
  bool isEmpty_ = false;
};

/// Whether requirements that must all be met exclude one another.
[[nodiscard]] bool isContradictory(const std::vector<Requirement>& requirements);
/// Whether one of the requirements is always met.
[[nodiscard]] bool isExhaustive(const std::vector<Requirement>& requirements);

}  // namespace corvo::corvo_internal::lint
