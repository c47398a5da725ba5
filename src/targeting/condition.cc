#include "targeting/condition.h"

#include <algorithm>
#include <array>
#include <functional>

#include "base/civil_time.h"
#include "base/md5.h"
#include "base/number.h"
#include "base/text.h"

namespace corvo::targeting {
namespace {

using Texts = std::span<const std::string>;

// --- Tests of a text, and of moments -------------------------------------------------------------

bool equal(std::string_view property, std::string_view value) {
  return base::canonicallyEqual(property, value);
}

// These three look for the property in the condition's value, not the other way round.
bool starts(std::string_view property, std::string_view value) {
  return value.starts_with(property);
}
bool ends(std::string_view property, std::string_view value) { return value.ends_with(property); }
bool isPart(std::string_view property, std::string_view value) {
  return base::contains(value, property);
}

bool isAny(std::string_view property, Texts values) {
  return std::ranges::any_of(values, [&](const std::string& v) { return equal(property, v); });
}

// This one looks for the values in the property.
bool holdsAny(std::string_view property, Texts values) {
  return std::ranges::any_of(values,
                             [&](const std::string& v) { return base::contains(property, v); });
}

bool sameDay(std::int64_t property, std::int64_t value, const LocalTime& localTime) {
  return localTime.withinOneDay(property, value);
}
bool after(std::int64_t property, std::int64_t value, const LocalTime&) { return property > value; }
bool before(std::int64_t property, std::int64_t value, const LocalTime&) {
  return property < value;
}

// --- Reading the condition's values: none where the sign cannot use them -------------------------

std::optional<base::LocalSeconds> parseConditionDate(std::string_view text) {
  const auto minute = base::parseDate(text, base::DatePattern::minute);
  return minute ? minute : base::parseDate(text, base::DatePattern::day);
}

std::optional<Texts> allTexts(Texts values) { return values; }

// The single value, as `parse` reads it.
template <auto parse>
auto single(Texts values) -> decltype(parse(values.front())) {
  if (values.size() != 1) return std::nullopt;
  return parse(values.front());
}

std::optional<std::string_view> asText(std::string_view text) { return text; }

constexpr auto oneText = single<asText>;
constexpr auto oneNumber = single<base::parseDecimal>;
constexpr auto oneVersion = single<parseVersion>;
constexpr auto oneDate = single<parseConditionDate>;

// --- Lifting a test to the property it is made on ------------------------------------------------

// The property as it is, or its digest where texts are compared hashed. That of a missing property
// is the empty text, not a digest.
template <auto test, bool wanted>
constexpr auto onText = [](const auto& values, const Subject& subject) {
  if (!subject.hashed || subject.value == nullptr) return test(subject.plain(), values) == wanted;
  const base::Md5Hex digest = base::md5Hex(*subject.value);
  return test(base::view(digest), values) == wanted;
};

template <auto test, bool wanted>
constexpr auto onPlain =
    [](Texts values, const Subject& subject) { return test(subject.plain(), values) == wanted; };

template <auto test>
constexpr auto onDate = [](base::LocalSeconds date, const Subject& subject) {
  const auto local = parseConditionDate(subject.plain());
  if (!local) return false;
  const LocalTime& time = subject.localTime;
  const auto property = time.momentOf(*local);
  const auto value = time.momentOf(date);
  return property && value && test(*property, *value, time);
};

template <class Order>
constexpr auto onNumber = [](double value, const Subject& subject) {
  const auto number = base::parseDecimal(subject.plain());
  return number && Order{}(*number, value);
};

template <class Order>
constexpr auto onVersion = [](const Version& value, const Subject& subject) {
  const auto order = compareVersion(subject.plain(), value);
  return order && Order{}(*order, 0);
};

// --- The signs -----------------------------------------------------------------------------------

struct Sign {
  std::optional<Operand> (*read)(Texts values);
  Match match;
  bool unread;  // the answer where there are values, but not such as the sign can use
};

// A sign that compares as `test` does with what `read` makes of the values: of one type, or this
// does not compile.
template <auto read, auto test>
constexpr Sign sign(bool unread = false) {
  using Value = typename decltype(read(Texts()))::value_type;
  return {[](Texts values) -> std::optional<Operand> {
            auto value = read(values);
            if (!value) return std::nullopt;
            return Operand(std::in_place_type<Value>, *std::move(value));
          },
          [](const Operand& operand, const Subject& subject) {
            return test(*std::get_if<Value>(&operand), subject);
          },
          unread};
}

using model::kConditionSignCount;
using Greater = std::greater<>;
using Less = std::less<>;
using GreaterEqual = std::greater_equal<>;
using LessEqual = std::less_equal<>;

constexpr std::array<Sign, kConditionSignCount> kSigns{
    sign<oneText, onText<equal, true>>(),        // equal
    sign<oneText, onText<equal, false>>(true),   // notEqual
    sign<allTexts, onText<isAny, true>>(),       // anyOf
    sign<allTexts, onText<isAny, false>>(),      // noneOf
    sign<allTexts, onPlain<holdsAny, true>>(),   // containsAnyOf
    sign<allTexts, onPlain<holdsAny, false>>(),  // containsNoneOf
    sign<oneDate, onDate<sameDay>>(),            // onDate
    sign<oneDate, onDate<after>>(),              // afterTime
    sign<oneDate, onDate<before>>(),             // beforeTime
    sign<oneNumber, onNumber<Greater>>(),        // greater
    sign<oneNumber, onNumber<Less>>(),           // less
    sign<oneNumber, onNumber<GreaterEqual>>(),   // greaterEqual
    sign<oneNumber, onNumber<LessEqual>>(),      // lessEqual
    sign<oneText, onText<starts, true>>(),       // startsWith
    sign<oneText, onText<starts, false>>(),      // notStartsWith
    sign<oneText, onText<ends, true>>(),         // endsWith
    sign<oneText, onText<ends, false>>(),        // notEndsWith
    sign<oneText, onText<isPart, true>>(),       // contains
    sign<oneText, onText<isPart, false>>(),      // notContains
};

constexpr std::array<Sign, 4> kVersionSigns{
    sign<oneVersion, onVersion<Greater>>(),
    sign<oneVersion, onVersion<Less>>(),
    sign<oneVersion, onVersion<GreaterEqual>>(),
    sign<oneVersion, onVersion<LessEqual>>(),
};

const Sign& signOf(const model::Condition& condition) {
  constexpr auto kFirst = static_cast<std::size_t>(model::ConditionSign::greater);
  const auto at = static_cast<std::size_t>(condition.conditionSign);
  const bool ordered = at >= kFirst && at - kFirst < kVersionSigns.size();
  return ordered && condition.name == "appVersion" ? kVersionSigns[at - kFirst] : kSigns[at];
}

template <bool answer>
bool always(const Operand&, const Subject&) {
  return answer;
}

}  // namespace

PreparedCondition::PreparedCondition(const model::Condition& condition, Vocabulary& vocabulary)
    : match_(always<false>), property_(vocabulary.names.numberOf(condition.name)) {
  if (condition.values.empty()) return;
  const Sign& sign = signOf(condition);
  if (auto operand = sign.read(vocabulary.shared(condition.values))) {
    operand_ = *std::move(operand);
    match_ = sign.match;
  } else if (sign.unread) {
    match_ = always<true>;
  }
}

}  // namespace corvo::targeting
