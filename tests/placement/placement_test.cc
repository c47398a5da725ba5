// SPDX-License-Identifier: Apache-2.0

#include <corvo/fakes.h>
#include <gtest/gtest.h>

#include <memory>
#include <sstream>
#include <string>
#include <variant>

#include "model/codec.h"
#include "placement/bucketing.h"
#include "placement/resolution.h"
#include "targeting/context_source.h"
#include "tests/base/case_table.h"
#include "tests/placement/experiment_text.h"

namespace corvo::corvo_internal::placement {
namespace {

using tests::experimentOf;

TEST(Bucketing, AgreesWithTheGoldenVectors) {
  for (const auto& [what, splitId, json, reason, index, bucket] :
       tests::caseTable<6>(CORVO_PLACEMENT_CASES "bucketing.txt")) {
    const model::Experiment record = experimentOf(json);
    const Placement placement = assignGroup(splitId, record);
    EXPECT_EQ(textOf(placement.reason), reason) << what;
    EXPECT_EQ(placement.bucket, bucket.empty() ? 0 : std::stod(bucket)) << what;
    const model::Group* group = index.empty() ? nullptr : &record.groups[std::stoul(index)];
    EXPECT_EQ(placement.group, group) << what;
    EXPECT_EQ(placement.index, group ? std::stoul(index) : 0) << what;
    const project::ForcedLists forced(record);
    EXPECT_EQ(assignGroup(splitId, record, {.forced = &forced}).reason, placement.reason) << what;
    EXPECT_EQ(assignGroup(splitId, record, {.forced = &forced}).group, group) << what;
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
      static_cast<void>(assignGroup("u", experimentOf(start + inverted + "," + wide + "]}"))),
      "layer bound");
  EXPECT_EQ(assignGroup("u", experimentOf(start + wide + "," + inverted + "]}")).reason,
            PlacementReason::bucketed);
}

using Properties = std::vector<targeting::LastingProperty>;

std::shared_ptr<const project::PreparedProject> readProject() {
  const std::string json = tests::contentsOf(CORVO_PLACEMENT_CASES "project.json");
  return std::make_shared<const project::PreparedProject>(
      std::make_shared<const model::ConfigResponse>(
          std::get<model::ConfigResponse>(model::decodeJson<model::ConfigResponse>(json))));
}

TEST(Resolution, ChecksInItsOrderAndNamesTheReason) {
  const auto project = readProject();
  const fakes::FakeTimeZone zone;
  targeting::ContextSource source(zone);
  source.setNames(project->propertyNames());
  Resolver resolver(*project);
  for (const auto& [user, experiment, reason, index, holdout] :
       tests::caseTable<5>(CORVO_PLACEMENT_CASES "resolutions.txt")) {
    const std::string what = user + " in " + experiment;
    PropertyMap own;
    PropertyMap location;
    std::istringstream words(user);
    for (std::string word; words >> word;) {
      const std::size_t equals = word.find('=');
      (word.starts_with("geo.") ? location : own)[word.substr(0, equals)] = word.substr(equals + 1);
    }
    const auto vendor = own.extract("vendor");
    const Properties properties(own.begin(), own.end());
    source.setUser(properties);
    source.setLocation(location);
    source.setDevice({.vendorIdentifier = vendor ? std::optional(vendor.mapped()) : std::nullopt});
    const Placement placement =
        resolver.resolve(*project->findExperiment(experiment), source.at(0));
    EXPECT_EQ(textOf(placement.reason), reason) << what;
    EXPECT_EQ(placement.group ? std::to_string(placement.index) : "", index) << what;
    EXPECT_EQ(placement.holdout ? placement.holdout->name : model::Text(), holdout) << what;
  }
}

}  // namespace
}  // namespace corvo::corvo_internal::placement
