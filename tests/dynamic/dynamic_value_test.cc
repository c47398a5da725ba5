// SPDX-License-Identifier: Apache-2.0

#include "dynamic/dynamic_value.h"

#include <gtest/gtest.h>

#include <cmath>

#include "dynamic/any_codable.h"
#include "json/json_pointer.h"
#include "model/decoder.h"
#include "model/encoder.h"
#include "tests/base/case_table.h"

namespace corvo::corvo_internal::dynamic {
namespace {

using Value = DynamicValue;
using Null = DynamicValue::Null;

// Literals create only encodable values; any value can be wrapped.
static_assert(std::convertible_to<int, AnyCodable> && std::convertible_to<bool, AnyEncodable>);
static_assert(!std::convertible_to<int, AnyDecodable> &&
              std::constructible_from<AnyDecodable, int>);

constexpr std::uint64_t kMax = UINT64_MAX;
constexpr auto list = Value::array;
constexpr auto dict = Value::object;
DynamicArray of(const auto&... kinds) { return {Value(kinds)...}; }
OtherEncodable other(const Value& value) {
  return {[value](json::JsonWriter& out) { return value.encode(out); }};
}

/// The written text, or which of the two failures occurred, and where.
std::string written(const AnyEncodable& any) {
  const std::map<std::string, std::string> reasons{
      {"AnyEncodable value cannot be encoded", "unencodable"},
      {"NSNumber cannot be encoded because its type is not handled", "unhandled"}};
  const auto result = any.toJson();
  const auto* failure = std::get_if<EncodingFailure>(&result);
  return failure ? reasons.at(failure->reason) + failure->pointer : std::get<std::string>(result);
}

TEST(DynamicValue, DecodesTheKindsOfADocumentOrFailsAsAWhole) {
  const std::pair<const char*, Value> cases[] = {
      {R"([1,"a",true,null,2.5,{"k":[]}])",
       list({1, "a", true, Null(), 2.5, dict({{"k", list({})}})})},
      {"[9223372036854775807,18446744073709551615]", list({INT64_MAX, kMax})},
      {"[1.0,1e0,-0.5,1e20]", list({1, 1, -0.5, 1e20})},
      {R"({"a":1e999,"a":2})", dict({{"a", 2}})}};
  for (const auto& [json, value] : cases) {
    EXPECT_EQ(std::get<AnyDecodable>(model::decodeJson<AnyDecodable>(json)), AnyDecodable(value))
        << json;
  }
  const json::JsonTree tree(R"({"a":[1],"b":[{"c":1e999}]})");
  std::map<std::string, AnyCodable, std::less<>> map;
  model::Decoder decoder(nullptr);
  EXPECT_FALSE(decoder.read(*tree.root(), map));
  EXPECT_EQ(decoder.failure().reason(), "AnyDecodable value cannot be decoded");
  EXPECT_EQ(json::pointersTo({decoder.failure().node}, *tree.root()).front(), "/b");
}

TEST(DynamicValue, IsEqualWithinItsKindOnly) {
  const auto distinct = [] {
    return of(nullptr, Null(), true, 1, std::uint64_t{1}, 1.0F, 1.0, "1", Sized<std::int8_t>{1},
              Sized<std::uint8_t>{1}, Sized<std::int64_t>{1}, Sized<std::uint64_t>{1}, list({}),
              list({1, 2}), list({2, 1}), dict({}), dict({{"a", 1}, {"b", 2}, {"a", 3}}),
              dict({{"b", 1}, {"a", 2}}));
  };
  const auto values = distinct();
  const auto again = distinct();
  for (std::size_t i = 0; i < values.size(); ++i) {
    EXPECT_EQ(values[i].hash(), again[i].hash()) << i;
    for (std::size_t j = 0; j < values.size(); ++j) EXPECT_EQ(values[i] == again[j], i == j) << i;
  }
  EXPECT_NE(list({1, 2}).hash(), list({2, 1}).hash());
  EXPECT_EQ(dict({{"b", 2}, {"a", 1}}), dict({{"a", 1}, {"b", 2}, {"a", 3}}));
  EXPECT_EQ(Value(-0.0), Value(0.0));
  EXPECT_EQ(Value(-0.0).hash(), Value(0.0).hash());
}

TEST(DynamicValue, IsOpaqueByItselfAndComparedDeeplyInContainers) {
  const std::uint64_t beyond = std::uint64_t{1} << 63;
  const DynamicArray groups[] = {
      of(Date{{7}}),
      of(Date{{7.5}}),
      of(Url{"u"}),
      of("u"),
      of(7),
      of(list({1, 2})),
      of(other(7), other(BoxedNumber(7, 'q'))),
      of(other(list({7}))),
      of(BoxedNumber(7, 'q'), BoxedNumber(std::uint64_t{7}, 'Q'), BoxedNumber(7.0, 'x')),
      of(BoxedNumber(9'007'199'254'740'993, 'q')),
      of(BoxedNumber(9'007'199'254'740'992.0, 'd')),
      of(BoxedNumber(INT64_MAX, 'q')),
      of(BoxedNumber(beyond, 'Q'), BoxedNumber(0x1p63, 'd')),
      of(BoxedNumber(kMax, 'Q')),
      of(BoxedNumber(0x1p64, 'd')),
      of(BoxedNumber(INT64_MIN, 'q'))};
  for (const DynamicArray& group : groups) {
    for (const DynamicArray& another : groups) {
      for (const Value& a : group) {
        for (const Value& b : another) {
          const bool same = &group == &another;
          const Value inside[] = {list({0, a}), list({0, b}), dict({{"k", list({a})}}),
                                  dict({{"k", list({b})}})};
          EXPECT_EQ(inside[0] == inside[1], same) << a.description() << ' ' << b.description();
          EXPECT_EQ(inside[2] == inside[3], same) << a.description() << ' ' << b.description();
          EXPECT_TRUE(!same || inside[0].hash() == inside[1].hash()) << a.description();
        }
      }
    }
  }
  for (const Value& value : of(Date{{7}}, Url{"u"}, other(1), BoxedNumber(7, 'q'))) {
    EXPECT_FALSE(value == value) << value.description();
    EXPECT_EQ(value.hash(), Value(Null()).hash()) << value.description();
  }
  for (const Value& never : of(other(HUGE_VAL), Date{{std::nan("")}})) {
    EXPECT_NE(list({never}), list({never}));
  }
}

TEST(DynamicValue, IsPrintedAndEncodedByItsKind) {
  const std::tuple<Value, const char*, const char*> cases[] = {
      {list({nullptr, Null(), Sized<std::int8_t>{-65}, 1.0, 0.1F, BoxedNumber(1, 'B')}),
       "[nil, null, -65, 1.0, 0.1, 1]", "[null,null,-65,1,0.1,true]"},
      {Date{{978307200.5}}, "2001-01-01 00:00:00 UTC", "0.5"},
      {list({"x\"", nullptr, Url{"a/b"}, kMax}), R"(["x\"", nil, a/b, 18446744073709551615])",
       R"(["x\"",null,"a/b",18446744073709551615])"},
      {dict({{"b", dict({})}, {"\n", other(true)}}), R"(["\n": true, "b": [:]])",
       R"({"\n":true,"b":{}})"},
      {list({1, std::nanf("")}), "[1, nan]", "unencodable/1"},
      {Date{{std::nan("")}}, "1970-01-01 00:00:00 UTC", "unencodable"},
      {dict({{"b/~", list({0, BoxedNumber(1, 'x'), HUGE_VAL})}}), R"(["b/~": [0, 1, inf]])",
       "unhandled/b~1~0/1"},
      {list({other(list({HUGE_VAL})), BoxedNumber(1, '\0')}),
       "[<AnyEncodable value cannot be encoded>, 1]", "unencodable/0/0"}};
  for (const auto& [value, text, json] : cases) {
    EXPECT_EQ(AnyEncodable(value).description(), text);
    EXPECT_EQ(AnyEncodable(value).debugDescription(), "AnyEncodable(" + std::string(text) + ')');
    EXPECT_EQ(written(value), json);
  }
  EXPECT_EQ(AnyCodable("x\"").description(), "x\"");
  EXPECT_EQ(AnyCodable("x\"").debugDescription(), R"(AnyCodable("x\""))");
  EXPECT_EQ(AnyDecodable("x\"").debugDescription(), R"(AnyDecodable("x\""))");

  json::JsonWriter out;
  model::Encoder(out).write(std::vector<AnyCodable>{1, BoxedNumber(1, 'x'), "a"});
  EXPECT_FALSE(out.isFaithful());
}

TEST(DynamicValue, EncodesBoxedNumbersByTheirCode) {
  const BoxedNumber::Number numbers[] = {-4294967496, kMax, -1.5, 1e300};
  for (const auto& row : tests::caseTable<5>(CORVO_DYNAMIC_CASES "boxed_numbers.txt")) {
    for (std::size_t i = 0; i < 4; ++i)
      EXPECT_EQ(written(BoxedNumber(numbers[i], row[0][0])), row.at(i + 1)) << row[0] << i;
  }
  EXPECT_DEATH(BoxedNumber(1, '\x80'), "not ASCII");
}

}  // namespace
}  // namespace corvo::corvo_internal::dynamic
