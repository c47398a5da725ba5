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

/// What a property is compared with: numbers, versions and dates, each kind ordered by itself.
using Point = std::variant<double, targeting::Version, base::LocalSeconds>;

/// One end of a range of points.
struct End {
  /// The property's number and the kind of its points. Two ends of one line can be compared.
  using Line = std::pair<std::uint32_t, std::size_t>;

  Line line;
  bool isLower;
  bool isOpen;  ///< The point itself is outside.
  Point point;
};

/// What a condition demands of its property, in a form that can be compared with other demands.
struct Demand {
  Demand(const model::Condition& condition, targeting::Vocabulary& vocabulary);

  std::uint32_t property;        ///< Its number in the vocabulary.
  std::optional<bool> constant;  ///< The answer, where it does not depend on the property.
  std::string text;              ///< Two demands of one text are the same.
  /// Where the property must equal one of some texts, or none of them: each of the texts as a
  /// demand to equal it. Sorted. Texts that are canonically equivalent give one.
  std::vector<std::string> oneOf;
  std::vector<std::string> noneOf;
  std::optional<End> end;  ///< Where the property must lie in a range.
  /// The text of the demand that is met just where this one is not. Empty where there is none, or
  /// where the lists above tell the same.
  std::string opposite;
};

/// An end of a range that many others are compared with, each in time that grows with the other.
class KeptEnd {
 public:
  explicit KeptEnd(End end);

  /// Whether all that is inside the other end, which is on the same side, is inside this one.
  [[nodiscard]] bool covers(const End& other) const;
  /// Whether nothing is inside both this one and the other, which is on the other side.
  [[nodiscard]] bool excludes(const End& other) const;

 private:
  // Positive where this one lies inside the other, on its side; 0 where they are at one point.
  [[nodiscard]] int insideBy(const End& other) const;

  End end_;
  std::optional<targeting::OrderedVersion> version_;
};

/// What demands leave of the values that properties may have. Tells only what is certain, in time
/// that is almost linear in all demands together.
class Remainder {
 public:
  /// Leaves what meets the demand.
  void require(const Demand& demand);
  /// Leaves what does not meet it.
  void forbid(const Demand& demand);

  [[nodiscard]] bool isEmpty() const noexcept { return isEmpty_; }

 private:
  // The texts that one property may equal; all where there is no list.
  struct Texts {
    void allow(const std::vector<std::string>& texts);
    [[nodiscard]] bool isNone();

    std::optional<std::vector<std::string>> allowed;
    std::set<std::string> excluded;
  };

  void limit(std::uint32_t property, const std::vector<std::string>& allowed,
             const std::vector<std::string>& excluded);
  void meet(const std::string& text, const std::string& opposite);
  void meet(const End& end);

  std::map<std::uint32_t, Texts> texts_;
  std::set<std::string> met_;  // the texts of demands that have an opposite
  std::map<std::pair<End::Line, bool>, KeptEnd> closest_;  // so far, by line and side
  bool isEmpty_ = false;
};

/// Whether demands that must all be met exclude one another.
[[nodiscard]] bool isContradictory(const std::vector<Demand>& demands);
/// Whether one of the demands is always met.
[[nodiscard]] bool isExhaustive(const std::vector<Demand>& demands);

}  // namespace corvo::corvo_internal::lint
