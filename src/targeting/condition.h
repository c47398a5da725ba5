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

/// Texts, and what is prepared about them; null where nothing is.
struct Alternatives {
  std::string_view first;  // of the texts: most conditions have one, or hold by it
  model::List<model::Text> texts;
  const PreparedList* prepared = nullptr;
};

/// The pieces of a version.
using PreparedVersion = base::List<std::int64_t>;

/// What the sign of a condition compares the property with, parsed: one text, several texts, texts
/// that it may equal, a number, a version, or a local date.
using Operand = std::variant<std::string_view, model::List<model::Text>, Alternatives, double,
                             PreparedVersion, base::LocalSeconds>;

/// How a sign compares. Only called with the kind of operand that it asks for.
using Match = bool (*)(const Operand& operand, const Subject& subject);

/// Whether a condition orders versions: on any other property its sign orders numbers.
[[nodiscard]] bool ordersVersions(const model::Condition& condition);

/// One test of one property, prepared once so that it can be made often: the sign is looked up and
/// the values are parsed. Testing allocates nothing, but where texts differ at a character that is
/// not ASCII, are searched for long parts or are read as long numbers, for the first date, and for
/// the first reading of a long or a private property.
///
/// Immutable. Refers to the texts of its record and to what its vocabulary keeps, so those must
/// outlive it. Contexts that it is tested in must be made by the names of its vocabulary.
class PreparedCondition {
 public:
  PreparedCondition() = default;
  PreparedCondition(const model::Condition& condition, Vocabulary& vocabulary);

  /// The number of the property that is tested.
  [[nodiscard]] std::uint32_t property() const noexcept { return property_; }

  [[nodiscard]] bool matches(const Subject& subject) const { return match_(operand_, subject); }

  /// The answer, where it does not depend on the property: the sign cannot use the values.
  [[nodiscard]] std::optional<bool> constant() const noexcept;

  /// What a property is compared by: nothing, where the sign cannot read its values or the
  /// property. Then the values do not count. The digest takes the property's place in comparisons
  /// of whole texts.
  enum class Comparison : std::uint8_t { nothing, property, digest };
  [[nodiscard]] Comparison comparisonWith(const Subject& subject) const;

 private:
  Operand operand_;
  Match match_ = nullptr;
  std::uint32_t property_ = 0;
};

}  // namespace corvo::corvo_internal::targeting
