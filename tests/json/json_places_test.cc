// SPDX-License-Identifier: Apache-2.0

#include "json/json_places.h"

#include <gtest/gtest.h>

#include "tests/base/case_table.h"

namespace corvo::corvo_internal::json {
namespace {

TEST(JsonPlaces, FindsAFaultInJustTheTextsThatTheLibraryRefuses) {
  for (const auto& [isJson, text] : tests::caseTable<2>(CORVO_JSON_CASES "json_texts.txt")) {
    EXPECT_EQ(jsonPlaces(text).fault.has_value(), isJson != "yes") << text;
  }
  const std::string opened(512, '[');
  const std::string closed(512, ']');
  EXPECT_FALSE(jsonPlaces(opened + closed).fault);
  EXPECT_EQ(jsonPlaces("[" + opened + closed + "]").fault->place, 512);
}

TEST(JsonPlaces, SaysWhatIsWrongWhere) {
  for (const auto& [text, place, reason] : tests::caseTable<3>(CORVO_JSON_CASES "faults.txt")) {
    const auto fault = jsonPlaces(text).fault;
    ASSERT_TRUE(fault) << text;
    EXPECT_EQ(lineAndColumn(text, fault->place), place) << text;
    EXPECT_EQ(fault->reason, reason) << text;
  }
}

}  // namespace
}  // namespace corvo::corvo_internal::json
