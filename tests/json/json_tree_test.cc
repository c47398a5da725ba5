// SPDX-License-Identifier: Apache-2.0

#include "json/json_tree.h"

#include <gtest/gtest.h>

#include <map>
#include <string>

#include "tests/base/case_table.h"

namespace corvo::corvo_internal::json {
namespace {

TEST(JsonTree, AcceptsAndRefusesAsTheTableSays) {
  const std::map<std::string, std::string> errors{
      {"yes", ""}, {"no", "not a JSON text"}, {"utf8", "not UTF-8"}};
  for (const auto& [isJson, text] : tests::caseTable<2>(CORVO_JSON_CASES "json_texts.txt")) {
    EXPECT_EQ(JsonTree(text).error(), errors.at(isJson)) << text;
  }
}

std::string repeated(std::string_view text, int count) {
  std::string result;
  for (int i = 0; i < count; ++i) result += text;
  return result;
}

TEST(JsonTree, BoundsTheDepthAndNothingElse) {
  for (const auto& json :
       {repeated("[", 512) + repeated("]", 512),
        repeated(R"({"a":)", 511) + "[1]" + repeated("}", 511), "[" + repeated("[[]],", 600) + "1]",
        '"' + std::string(100'000, 'x') + '"', std::string(100'000, ' ') + "1"}) {
    EXPECT_EQ(JsonTree(json).error(), "") << json.substr(0, 80);
  }
  for (const char* open : {"[", R"({"a":)"}) {
    EXPECT_EQ(JsonTree(repeated(open, 513)).error(), "nested deeper than 512 levels");
    EXPECT_EQ(JsonTree(repeated(open, 1'000'000)).error(), "nested deeper than 512 levels");
  }
}

TEST(JsonTree, LaysValuesOutInDocumentOrder) {
  const JsonTree tree(R"( {"a\u0000b" : [1.50 , "\ud83d\ude00"], "" : {"c":null}, "d":true } )");
  ASSERT_NE(tree.root(), nullptr);
  const JsonNode& root = *tree.root();
  EXPECT_EQ(root.kind, JsonKind::object);
  EXPECT_EQ(root.size, 3u);
  EXPECT_EQ(root.span, 11u);

  std::string seen;
  for (const auto [key, value] : JsonMembers(root)) {
    seen += std::string(key) + '=' + std::to_string(value.size) + ';';
    if (value.kind != JsonKind::array) continue;
    for (const JsonNode& element : JsonElements(value)) seen += std::string(element.text()) + ',';
  }
  EXPECT_EQ(seen, std::string("a\0b=2;1.50,\xF0\x9F\x98\x80,=1;d=4;", 23));
}

TEST(JsonTree, RefusesEveryBeginningOfADocument) {
  const std::string_view json = R"({"a":[1,-2.5e3,"x\n\u00e9"],"b":{"c":null,"d":[true,[]]}})";
  for (std::size_t length = 0; length < json.size(); ++length) {
    EXPECT_EQ(JsonTree(json.substr(0, length)).root(), nullptr) << length;
  }
}

}  // namespace
}  // namespace corvo::corvo_internal::json
