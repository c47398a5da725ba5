// SPDX-License-Identifier: Apache-2.0

#include "tool/moment.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <optional>

#include "tests/base/case_table.h"
#include "zones/named_zone.h"

namespace corvo::tool {
namespace {

using corvo_internal::zones::namedZone;

TEST(Moment, IsReadAsTheTableSays) {
  for (const auto& [text, name, expected] : tests::caseTable<3>(CORVO_TOOL_CASES "moments.txt")) {
    const auto zone = namedZone(name);
    ASSERT_TRUE(zone) << name;
    std::optional<double> moment;
    if (expected != "-") moment = std::atof(expected.c_str());
    EXPECT_EQ(parseMoment(text, *zone), moment) << text << " in " << name;
  }
}

}  // namespace
}  // namespace corvo::tool
