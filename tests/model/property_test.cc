// SPDX-License-Identifier: Apache-2.0

#include <corvo/property.h>
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "tests/base/case_table.h"

struct Colour {
  std::string name;
  bool operator==(const Colour&) const = default;
};

template <>
struct corvo::CorvoPropertyTraits<Colour> {
  static std::optional<Colour> fromCorvoString(std::string_view text) {
    return text.starts_with('#') ? std::optional(Colour{std::string(text)}) : std::nullopt;
  }
};

namespace corvo {
namespace {

template <class... T>
constexpr bool allTypes = (CorvoPropertyType<T> && ...);
template <class... T>
constexpr bool noType = (!CorvoPropertyType<T> && ...);
static_assert(allTypes<bool, std::int64_t, double, std::string, JsonObject, Colour>);
static_assert(noType<int, float, char, std::uint64_t, const char*, std::string_view, JsonValue,
                     JsonArray, const bool>);

// The parsers of numbers and words have their own tests.
TEST(Property, ReadsTextsAsTheRequestedType) {
  EXPECT_EQ(fromCorvoString<bool>("TRUE"), true);
  EXPECT_EQ(fromCorvoString<bool>("False"), false);
  EXPECT_EQ(fromCorvoString<bool>("1"), std::nullopt);
  EXPECT_EQ(fromCorvoString<std::int64_t>("+42"), 42);
  EXPECT_EQ(fromCorvoString<std::int64_t>("42.0"), std::nullopt);
  EXPECT_EQ(fromCorvoString<double>("0x10"), 16.0);
  EXPECT_EQ(fromCorvoString<double>(" 1"), std::nullopt);
  EXPECT_EQ(fromCorvoString<std::string>(""), "");
  EXPECT_EQ(fromCorvoString<Colour>("#fff"), Colour{"#fff"});
  EXPECT_EQ(fromCorvoString<Colour>("fff"), std::nullopt);
  EXPECT_EQ(fromCorvoString<JsonObject>("\xEF\xBB\xBF {} "), JsonObject());
  for (const char* text : {"", "[{}]", "null", "\"{}\"", "{} {}", "{\"\xFF\":1}"}) {
    EXPECT_EQ(fromCorvoString<JsonObject>(text), std::nullopt) << text;
  }
}

TEST(Property, KeepsTheKindsOfADictionarysValues) {
  const char* const kinds[] = {"null",   "boolean", "signed", "unsigned",
                               "double", "text",    "array",  "object"};
  const std::string file = CORVO_MODEL_CASES "json_values.txt";
  for (const auto& [json, kind, written] : tests::caseTable<3>(file)) {
    const auto object = fromCorvoString<JsonObject>(R"({"v":0,"v":)" + json + '}');
    EXPECT_EQ(object ? kinds[object->at("v").value().index()] : "none", kind) << json;
    if (!object) continue;
    const JsonValue& value = object->at("v");
    EXPECT_EQ(value.toJson(), written) << json;
    const bool isNumber = kind == "signed" || kind == "unsigned" || kind == "double";
    EXPECT_EQ(value.asNumber(), isNumber ? fromCorvoString<double>(json) : std::nullopt) << json;
  }
}

TEST(Property, TypesATextByTheFirstConversionThatSucceeds) {
  const char* const types[] = {"dictionary", "boolean", "integer", "double", "text"};
  for (const auto& [text, type] : tests::caseTable<2>(CORVO_MODEL_CASES "properties.txt")) {
    EXPECT_EQ(types[typedProperty(text).index()], type) << text;
  }
  EXPECT_EQ(typedProperty("1e3"), CorvoProperty(1000.0));
  EXPECT_EQ(typedProperty(" 1"), CorvoProperty(std::string(" 1")));
}

TEST(JsonValue, FindsMembersAndWritesCompactText) {
  const JsonValue value(JsonObject{
      {"b", JsonValue(JsonArray{JsonValue(), JsonValue(~std::uint64_t{0}), JsonValue(0.1)})},
      {"a\"\\/", JsonValue("\b\t\n\f\r\x01\x1f\x7f\xC3\xA9")},
      {"c", JsonValue(JsonArray{JsonValue(std::nan("")), JsonValue(-HUGE_VAL)})}});
  EXPECT_EQ(value.toJson(), R"({"a\"\\/":"\b\t\n\f\r\u0001\u001f)"
                            "\x7f\xC3\xA9"
                            R"(","b":[null,18446744073709551615,0.1],"c":[null,null]})");
  EXPECT_EQ(toJson(*value.as<JsonObject>()), value.toJson());
  EXPECT_EQ(toJson(value), value.toJson());
  EXPECT_EQ(toJson(*value.find("c")->as<JsonArray>()), "[null,null]");
  EXPECT_EQ(toJson(JsonObject{{"a", nullptr}}), R"({"a":null})");
  ASSERT_NE(value.find("b"), nullptr);
  EXPECT_EQ(value.find("b")->as<JsonArray>()->size(), 3u);
  EXPECT_EQ(value.find("d"), nullptr);
  EXPECT_EQ(JsonValue("b").find("b"), nullptr);
  EXPECT_NE(JsonValue(1), JsonValue(1.0));
  EXPECT_NE(JsonValue(1), JsonValue(std::uint64_t{1}));
}

}  // namespace
}  // namespace corvo
