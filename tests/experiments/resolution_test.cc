#include "experiments/resolution.h"

#include <corvo/fakes.h>
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <memory>
#include <sstream>
#include <string>
#include <variant>

#include "model/codec.h"
#include "tests/base/case_table.h"
#include "tests/experiments/reasons.h"

namespace corvo::experiments {
namespace {

std::shared_ptr<const Project> readProject() {
  std::ifstream file(CORVO_EXPERIMENTS_CASES "project.json");
  const std::string json(std::istreambuf_iterator<char>(file), {});
  return std::make_shared<const Project>(std::make_shared<const model::ConfigResponse>(
      std::get<model::ConfigResponse>(model::decodeJson<model::ConfigResponse>(json))));
}

TEST(Resolution, ChecksInItsOrderAndNamesTheReason) {
  const auto project = readProject();
  const fakes::FakeTimeZone zone;
  const targeting::LocalTime localTime(zone);
  for (const auto& [user, experiment, reason, index, holdout] :
       tests::caseTable<5>(CORVO_EXPERIMENTS_CASES "resolutions.txt")) {
    const std::string what = user + " in " + experiment;
    PropertyMap own;
    PropertyMap location;
    std::istringstream words(user);
    for (std::string word; words >> word;) {
      const std::size_t equals = word.find('=');
      (word.starts_with("geo.") ? location : own)[word.substr(0, equals)] = word.substr(equals + 1);
    }
    const auto vendor = own.extract("vendor");
    const targeting::PropertyLayer userLayer = targeting::lastingLayer(own);
    const targeting::PropertyLayer locationLayer = targeting::lastingLayer(location);
    const targeting::PropertyTable properties(project->propertyNames(),
                                              {.user = &userLayer, .location = &locationLayer});
    const Placement placement =
        resolveExperiment(*project->findExperiment(experiment),
                          {.user = &userLayer,
                           .properties = &properties,
                           .localTime = localTime,
                           .vendorIdentifier = vendor ? &vendor.mapped() : nullptr});
    EXPECT_EQ(nameOf(placement.reason), reason) << what;
    EXPECT_EQ(placement.group ? std::to_string(placement.index) : "", index) << what;
    EXPECT_EQ(placement.holdout ? placement.holdout->name : "", holdout) << what;
  }
}

}  // namespace
}  // namespace corvo::experiments
