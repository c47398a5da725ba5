#include "placement/bucketing.h"

#include <gtest/gtest.h>

#include <string>
#include <variant>

#include "model/codec.h"
#include "tests/base/case_table.h"
#include "tests/placement/reasons.h"

namespace corvo::placement {
namespace {

/// The experiment of that JSON text, which has no name.
model::Experiment experiment(const std::string& json) {
  const auto config = model::decodeJson<model::ConfigResponse>(R"({"experiments": [{"name": "e",)" +
                                                               json.substr(1) + "]}");
  return std::get<model::ConfigResponse>(config).experiments.at(0);
}

TEST(Bucketing, AgreesWithTheGoldenVectors) {
  for (const auto& [what, splitId, json, reason, index, bucket] :
       tests::caseTable<6>(CORVO_PLACEMENT_CASES "bucketing.txt")) {
    const model::Experiment record = experiment(json);
    const Placement placement = assignGroup(splitId, record);
    EXPECT_EQ(nameOf(placement.reason), reason) << what;
    EXPECT_EQ(placement.bucket, bucket.empty() ? 0 : std::stod(bucket)) << what;
    const model::Group* group = index.empty() ? nullptr : &record.groups.at(std::stoul(index));
    EXPECT_EQ(placement.group, group) << what;
    EXPECT_EQ(placement.index, group ? std::stoul(index) : 0) << what;
  }
}

TEST(Bucketing, HashesTheDigitsOfTheDigest) {
  EXPECT_EQ(stringHash32(base::md5("user-1", "salt1")), 385'719'871);
  EXPECT_EQ(base::md5("user-1", "salt1"), base::md5("user-1salt1"));
}

TEST(BucketingDeathTest, StopsAtInvertedBoundsWhenTheyAreReached) {
  const std::string start =
      R"({"salt": "s", "allocation": 1, "groups": [{"name": "g", "weight": 1}],
                                "layer_bounds": [)";
  const std::string inverted = R"({"lower_bound": 2, "upper_bound": 1})";
  const std::string wide = R"({"lower_bound": 0, "upper_bound": 1000})";
  EXPECT_DEATH(
      static_cast<void>(assignGroup("u", experiment(start + inverted + "," + wide + "]}"))),
      "layer bound");
  EXPECT_EQ(assignGroup("u", experiment(start + wide + "," + inverted + "]}")).reason,
            PlacementReason::bucketed);
}

}  // namespace
}  // namespace corvo::placement
