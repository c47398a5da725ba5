// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <variant>

#include "model/config.h"
#include "targeting/context.h"
#include "targeting/prepared_list.h"
#include "targeting/subject.h"
#include "targeting/version.h"
#include "targeting/vocabulary.h"

namespace corvo::corvo_internal::targeting {

/// Texts and their prepared index; null if there is none.
struct Alternatives {
  std::string_view first;  // of the texts: most conditions have only one, or match it
  model::List<model::Text> texts;
  const PreparedList* prepared = nullptr;
};

/// The components of a version.
using PreparedVersion = base::List<std::int64_t>;

/// The parsed operand of a condition: one text, several texts, texts that the property may equal, a
/// number, a version, or a local date.
using Operand = std::variant<std::string_view, model::List<model::Text>, Alternatives, double,
                             PreparedVersion, base::LocalSeconds>;

/// How an operator compares. Called only with the kind of operand that it requires.
using Match = bool (*)(const Operand& operand, const Subject& subject);

/// Whether an operator takes any number of values. The others cannot use more than one.
[[nodiscard]] constexpr bool takesSeveralValues(model::ConditionSign sign) {
  using Sign = model::ConditionSign;
  return Sign::anyOf <= sign && sign <= Sign::containsNoneOf;
}

/// Whether an operator compares the property's digest if the flag or experiment is private.
[[nodiscard]] constexpr bool comparesDigests(model::ConditionSign sign) {
  using Sign = model::ConditionSign;
  return sign <= Sign::noneOf || Sign::startsWith <= sign;
}

/// Whether a condition orders versions. For any other property, its operator orders numbers.
[[nodiscard]] bool ordersVersions(const model::Condition& condition);

/// A test of one property, prepared for repeated use: the operator is looked up and the values are
/// parsed. Testing allocates only in rare cases: texts that differ at a non-ASCII character,
/// searches for long parts, long numbers, the first date, and the first read of a long or private
/// property.
///
/// Immutable. Refers to the texts of its record and to its vocabulary, which must both outlive it.
/// The contexts it is tested in must use the property names of its vocabulary.
class PreparedCondition {
 public:
  PreparedCondition() = default;
  PreparedCondition(const model::Condition& condition, Vocabulary& vocabulary);

  /// The number of the property that is tested.
  [[nodiscard]] std::uint32_t property() const noexcept { return property_; }

  [[nodiscard]] bool matches(const Subject& subject) const { return match_(operand_, subject); }

  /// The answer if it does not depend on the property, because the operator cannot use the values.
  [[nodiscard]] std::optional<bool> constant() const noexcept;

  /// What a property is compared by. `nothing` if the operator cannot read its values or the
  /// property; then the values do not matter. `digest` replaces the property in comparisons of
  /// whole texts.
  enum class Comparison : std::uint8_t { nothing, property, digest };
  [[nodiscard]] Comparison comparisonWith(const Subject& subject) const;

 private:
  Operand operand_;
  Match match_ = nullptr;
  std::uint32_t property_ = 0;
};

}  // namespace corvo::corvo_internal::targeting
