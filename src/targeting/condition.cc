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

std::optional<Operand> allTexts(Texts values) { return values; }

// The single value, as `parse` reads it.
template <auto parse>
std::optional<Operand> single(Texts values) {
  if (values.size() != 1) return std::nullopt;
  auto parsed = parse(values.front());
  return parsed ? std::optional<Operand>(*std::move(parsed)) : std::nullopt;
}

std::optional<std::string_view> asText(std::string_view text) { return text; }

constexpr auto oneText = single<asText>;
constexpr auto oneNumber = single<base::parseDecimal>;
constexpr auto oneVersion = single<parseVersion>;
constexpr auto oneDate = single<parseConditionDate>;

// --- Lifting a test to the property it is made on ------------------------------------------------

template <class T>
const T& get(const Operand& operand) {
  return *std::get_if<T>(&operand);
}

// The property as it is, or its digest where texts are compared hashed. That of a missing property
// is the empty text, not a digest.
template <auto test, bool wanted, class T>
bool onText(const Operand& operand, const Subject& subject) {
  if (!subject.hashed || subject.value == nullptr) {
    return test(subject.plain(), get<T>(operand)) == wanted;
  }
  const base::Md5Hex digest = base::md5Hex(*subject.value);
  return test(base::view(digest), get<T>(operand)) == wanted;
}

template <auto test, bool wanted>
constexpr Match onOne = onText<test, wanted, std::string_view>;

template <auto test, bool wanted>
constexpr Match onMany = onText<test, wanted, Texts>;

template <auto test, bool wanted>
bool onPlain(const Operand& operand, const Subject& subject) {
  return test(subject.plain(), get<Texts>(operand)) == wanted;
}

template <auto test>
bool onDate(const Operand& operand, const Subject& subject) {
  const auto local = parseConditionDate(subject.plain());
  if (!local) return false;
  const LocalTime& time = subject.localTime;
  return test(time.momentOf(*local), time.momentOf(get<base::LocalSeconds>(operand)), time);
}

template <class Order>
bool onNumber(const Operand& operand, const Subject& subject) {
  const auto number = base::parseDecimal(subject.plain());
  return number && Order{}(*number, get<double>(operand));
}

template <class Order>
bool onVersion(const Operand& operand, const Subject& subject) {
  const auto order = compareVersion(subject.plain(), get<Version>(operand));
  return order && Order{}(*order, 0);
}

// --- The signs -----------------------------------------------------------------------------------

struct Sign {
  std::optional<Operand> (*read)(Texts values);
  Match match;
  bool unread = false;  // the answer where there are values, but not such as the sign can use
};

using model::kConditionSignCount;
using Greater = std::greater<>;
using Less = std::less<>;
using GreaterEqual = std::greater_equal<>;
using LessEqual = std::less_equal<>;

constexpr std::array<Sign, kConditionSignCount> kSigns{{
    {oneText, onOne<equal, true>},         // equal
    {oneText, onOne<equal, false>, true},  // notEqual
    {allTexts, onMany<isAny, true>},       // anyOf
    {allTexts, onMany<isAny, false>},      // noneOf
    {allTexts, onPlain<holdsAny, true>},   // containsAnyOf
    {allTexts, onPlain<holdsAny, false>},  // containsNoneOf
    {oneDate, onDate<sameDay>},            // onDate
    {oneDate, onDate<after>},              // afterTime
    {oneDate, onDate<before>},             // beforeTime
    {oneNumber, onNumber<Greater>},        // greater
    {oneNumber, onNumber<Less>},           // less
    {oneNumber, onNumber<GreaterEqual>},   // greaterEqual
    {oneNumber, onNumber<LessEqual>},      // lessEqual
    {oneText, onOne<starts, true>},        // startsWith
    {oneText, onOne<starts, false>},       // notStartsWith
    {oneText, onOne<ends, true>},          // endsWith
    {oneText, onOne<ends, false>},         // notEndsWith
    {oneText, onOne<isPart, true>},        // contains
    {oneText, onOne<isPart, false>},       // notContains
}};

constexpr std::array<Sign, 4> kVersionSigns{{
    {oneVersion, onVersion<Greater>},
    {oneVersion, onVersion<Less>},
    {oneVersion, onVersion<GreaterEqual>},
    {oneVersion, onVersion<LessEqual>},
}};

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

PreparedCondition::PreparedCondition(const model::Condition& condition)
    : name_(condition.name), match_(always<false>) {
  if (condition.values.empty()) return;
  const Sign& sign = signOf(condition);
  if (auto operand = sign.read(condition.values)) {
    operand_ = *std::move(operand);
    match_ = sign.match;
  } else if (sign.unread) {
    match_ = always<true>;
  }
}

}  // namespace corvo::targeting
