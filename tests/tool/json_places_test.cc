#include "json/json_places.h"

#include <gtest/gtest.h>

#include "tests/base/case_table.h"

namespace corvo::tool {

using namespace corvo_internal;

namespace {

TEST(JsonPlaces, FindsAFaultInJustTheTextsThatTheLibraryRefuses) {
  for (const auto& [isJson, text] : tests::caseTable<2>(CORVO_JSON_CASES "json_texts.txt")) {
    EXPECT_EQ(json::jsonPlaces(text).fault.has_value(), isJson != "yes") << text;
  }
  const std::string opened(512, '[');
  const std::string closed(512, ']');
  EXPECT_FALSE(json::jsonPlaces(opened + closed).fault);
  EXPECT_EQ(json::jsonPlaces("[" + opened + closed + "]").fault->place, 512);
}

TEST(JsonPlaces, SaysWhatIsWrongWhere) {
  for (const auto& [text, place, reason] : tests::caseTable<3>(CORVO_TOOL_CASES "faults.txt")) {
    const auto fault = json::jsonPlaces(text).fault;
    ASSERT_TRUE(fault) << text;
    EXPECT_EQ(json::lineAndColumn(text, fault->place), place) << text;
    EXPECT_EQ(fault->reason, reason) << text;
  }
}

}  // namespace
}  // namespace corvo::tool
