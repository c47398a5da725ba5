// SPDX-License-Identifier: Apache-2.0

#include "targeting/condition.h"

#include <algorithm>
#include <array>
#include <functional>
#include <type_traits>
#include <utility>

#include "base/cold.h"
#include "base/number.h"
#include "base/text.h"

namespace corvo::corvo_internal::targeting {
namespace {

using Texts = model::List<model::Text>;

// --- Tests of texts, and of moments --------------------------------------------------------------

// These three search the condition's value for the property, not the other way round.
bool starts(std::string_view property, std::string_view value) {
  return value.starts_with(property);
}
bool ends(std::string_view property, std::string_view value) { return value.ends_with(property); }
bool isPart(std::string_view property, std::string_view value) {
  return base::contains(value, property);
}

template <class List>
bool holds(const List& texts, std::string_view wanted) {
  return std::ranges::find(texts, wanted) != texts.end();
}

// Canonical equivalence of texts that were already compared byte by byte, or have a table.
CORVO_COLD bool equivalentToAny(const Subject& subject, const Alternatives& values) {
  const std::string_view property = subject.text();
  const PreparedList* prepared = values.prepared;
  if (prepared != nullptr && base::isAscii(property)) {
    if (const auto equals = prepared->equalsAscii(property)) return *equals;
  }
  bool unclear = false;
  for (const model::Text text : values.texts) {
    const std::optional<bool> equal = base::plainlyEqual(property, text);
    if (equal == true) return true;
    unclear = unclear || !equal;
  }
  if (!unclear) return false;
  const std::string_view decomposition = subject.decomposition();
  return holds(values.texts, decomposition) ||
         (prepared != nullptr && holds(prepared->decompositions(), decomposition));
}

// Most equivalent texts are equal.
bool equalsAny(const Subject& subject, const Alternatives& values) {
  if (values.prepared == nullptr) {
    const std::string_view property = subject.text();
    if (base::sameBytes(values.first, property)) return true;
    for (const model::Text text : values.texts) {
      if (base::sameBytes(text, property)) return true;
    }
  }
  return equivalentToAny(subject, values);
}

// This one searches the property for the values.
bool holdsAny(const Subject& subject, Texts values) {
  return std::ranges::any_of(values, [&](model::Text v) { return subject.contains(v); });
}

bool sameDay(std::int64_t property, std::int64_t value, const LocalTime& localTime) {
  return localTime.withinOneDay(property, value);
}
bool after(std::int64_t property, std::int64_t value, const LocalTime&) { return property > value; }
bool before(std::int64_t property, std::int64_t value, const LocalTime&) {
  return property < value;
}

// --- Parsing the condition's values: empty if the operator cannot use them -----------------------

std::optional<Texts> allTexts(Texts values) { return values; }

std::optional<Alternatives> alternatives(Texts values) { return Alternatives{values[0], values}; }

// The value of an operator that takes only one, as parsed by `parse`.
template <auto parse>
auto single(Texts values) -> decltype(parse(values[0])) {
  return parse(values[0]);
}

std::optional<std::string_view> asText(std::string_view text) { return text; }

constexpr auto oneText = single<asText>;
constexpr auto oneNumber = single<base::parseDecimal>;
constexpr auto oneVersion = single<parseVersion>;
constexpr auto oneDate = single<parseConditionDate>;

// --- Lifting a test to the tested property -------------------------------------------------------

template <auto test, bool wanted>
constexpr auto onText = [](std::string_view value, const Subject& subject) {
  return test(subject.text(), value) == wanted;
};

template <bool wanted>
constexpr auto isAny = [](const Alternatives& values, const Subject& subject) {
  return equalsAny(subject, values) == wanted;
};

template <bool wanted>
constexpr auto contains =
    [](Texts values, const Subject& subject) { return holdsAny(subject, values) == wanted; };

struct Moments {
  std::int64_t property;
  std::int64_t value;
};
std::optional<Moments> momentsOf(base::LocalSeconds date, const Subject& subject) {
  const auto property = subject.moment();
  if (!property) return std::nullopt;
  const auto value = subject.localTime().momentOf(date);
  return value ? std::optional(Moments{*property, *value}) : std::nullopt;
}

template <auto test>
constexpr auto onDate = [](base::LocalSeconds date, const Subject& subject) {
  const auto moments = momentsOf(date, subject);
  return moments && test(moments->property, moments->value, subject.localTime());
};

template <class Compare>
constexpr auto onNumber = [](double value, const Subject& subject) {
  const auto number = subject.number();
  return number && Compare{}(*number, value);
};

template <class Compare>
constexpr auto onVersion = [](PreparedVersion value, const Subject& subject) {
  const auto order = subject.orderTo(value);
  return order && Compare{}(*order, 0);
};

// --- The operators -------------------------------------------------------------------------------

template <class Value>
Value kept(const Value& value, base::Pool& /*pool*/) {
  return value;
}
PreparedVersion kept(const Version& version, base::Pool& pool) { return pool.list(version); }

using Of = model::ConditionSign;

struct Sign {
  Of of;
  std::optional<Operand> (*read)(Texts values, base::Pool& pool);
  Match match;
  bool unread;  // the answer if there are values, but the operator cannot use them
};

// An operator that tests with `test` the values that `read` parses. Does not compile unless their
// types agree.
template <Of of, auto read, auto test>
constexpr Sign sign(bool unread = false) {
  using Value = decltype(kept(*read(Texts()), std::declval<base::Pool&>()));
  constexpr bool isOfWholeTexts =
      std::is_same_v<Value, Alternatives> || std::is_same_v<Value, std::string_view>;
  static_assert(isOfWholeTexts == comparesDigests(of));
  return {of,
          [](Texts values, base::Pool& pool) -> std::optional<Operand> {
            const auto value = read(values);
            if (!value) return std::nullopt;
            return Operand(std::in_place_type<Value>, kept(*value, pool));
          },
          [](const Operand& operand, const Subject& subject) {
            return test(*std::get_if<Value>(&operand), subject);
          },
          unread};
}

using Greater = std::greater<>;
using Less = std::less<>;
using GreaterEqual = std::greater_equal<>;
using LessEqual = std::less_equal<>;

constexpr std::array<Sign, model::kConditionSignCount> kSigns{
    sign<Of::equal, alternatives, isAny<true>>(),
    sign<Of::notEqual, alternatives, isAny<false>>(true),
    sign<Of::anyOf, alternatives, isAny<true>>(),
    sign<Of::noneOf, alternatives, isAny<false>>(),
    sign<Of::containsAnyOf, allTexts, contains<true>>(),
    sign<Of::containsNoneOf, allTexts, contains<false>>(),
    sign<Of::onDate, oneDate, onDate<sameDay>>(),
    sign<Of::afterTime, oneDate, onDate<after>>(),
    sign<Of::beforeTime, oneDate, onDate<before>>(),
    sign<Of::greater, oneNumber, onNumber<Greater>>(),
    sign<Of::less, oneNumber, onNumber<Less>>(),
    sign<Of::greaterEqual, oneNumber, onNumber<GreaterEqual>>(),
    sign<Of::lessEqual, oneNumber, onNumber<LessEqual>>(),
    sign<Of::startsWith, oneText, onText<starts, true>>(),
    sign<Of::notStartsWith, oneText, onText<starts, false>>(),
    sign<Of::endsWith, oneText, onText<ends, true>>(),
    sign<Of::notEndsWith, oneText, onText<ends, false>>(),
    sign<Of::contains, oneText, onText<isPart, true>>(),
    sign<Of::notContains, oneText, onText<isPart, false>>(),
};
static_assert(model::isByEnumerator(kSigns, [](const Sign& sign) { return sign.of; }));

// The ordering operators, for versions.
constexpr std::array<Sign, 4> kVersionSigns{
    sign<Of::greater, oneVersion, onVersion<Greater>>(),
    sign<Of::less, oneVersion, onVersion<Less>>(),
    sign<Of::greaterEqual, oneVersion, onVersion<GreaterEqual>>(),
    sign<Of::lessEqual, oneVersion, onVersion<LessEqual>>(),
};

const Sign* orderingOfVersions(const model::Condition& condition) {
  if (condition.name != "appVersion") return nullptr;
  const auto found = std::ranges::find(kVersionSigns, condition.conditionSign, &Sign::of);
  return found != kVersionSigns.end() ? &*found : nullptr;
}

const Sign& signOf(const model::Condition& condition) {
  if (const Sign* ordering = orderingOfVersions(condition)) return *ordering;
  return kSigns[static_cast<std::size_t>(condition.conditionSign)];
}

template <bool answer>
bool always(const Operand&, const Subject&) {
  return answer;
}

}  // namespace

bool ordersVersions(const model::Condition& condition) {
  return orderingOfVersions(condition) != nullptr;
}

PreparedCondition::PreparedCondition(const model::Condition& condition, Vocabulary& vocabulary)
    : match_(always<false>), property_(vocabulary.names.numberOf(condition.name)) {
  if (condition.values.empty()) return;
  const Sign& sign = signOf(condition);
  const bool isTooMany = condition.values.size() > 1 && !takesSeveralValues(sign.of);
  if (auto operand = isTooMany ? std::nullopt : sign.read(condition.values, vocabulary.pool)) {
    operand_ = *operand;
    if (auto* texts = std::get_if<Alternatives>(&operand_)) {
      texts->prepared = vocabulary.lists.of(condition.values);
    }
    match_ = sign.match;
  } else if (sign.unread) {
    match_ = always<true>;
  }
}

std::optional<bool> PreparedCondition::constant() const noexcept {
  if (match_ == always<true>) return true;
  if (match_ == always<false>) return false;
  return std::nullopt;
}

PreparedCondition::Comparison PreparedCondition::comparisonWith(const Subject& subject) const {
  const auto ifRead = [](bool isRead) {
    return isRead ? Comparison::property : Comparison::nothing;
  };
  if (constant()) return Comparison::nothing;
  if (std::holds_alternative<double>(operand_)) return ifRead(subject.number().has_value());
  if (const auto* version = std::get_if<PreparedVersion>(&operand_)) {
    return ifRead(subject.orderTo(*version).has_value());
  }
  if (const auto* date = std::get_if<base::LocalSeconds>(&operand_)) {
    return ifRead(momentsOf(*date, subject).has_value());
  }
  const bool isOfParts = std::holds_alternative<Texts>(operand_);
  return subject.isHashed() && !isOfParts ? Comparison::digest : Comparison::property;
}

}  // namespace corvo::corvo_internal::targeting
