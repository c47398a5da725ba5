#include <corvo/client_registry.h>
#include <corvo/fakes.h>
#include <gtest/gtest.h>

#include <map>
#include <string>

#include "tests/cost/allocations.h"

// What a question costs that is answered from fresh copies, counted. Times are for benchmarks.

namespace corvo {
namespace {

struct CountedClock : Clock {
  mutable std::size_t reads = 0;
  [[nodiscard]] double now() const override {
    ++reads;
    return 1'714'564'800;
  }
};

std::string rule(const std::string& value) {
  return R"([{"is_default": false, "value": ")" + value +
         R"(", "conditional_statement": "AND", "conditions": [
            {"name": "userId", "condition_sign": "equal", "value": "u"},
            {"name": "geo.city", "condition_sign": "any of", "value": ["Berlin", "Graz"]}]}])";
}

std::string project(int flagCount) {
  std::string json = R"({"experiments": [
      {"name": "e", "salt": "s", "allocation": 1, "groups": [{"name": "g", "weight": 1}],
       "feature_flags": [{"name": "carried", "type": "t", "groups": [
           {"group": "g", "rules": )" +
                     rule("1") + R"(}]}]}], "feature_flags": [)";
  for (int i = 0; i < flagCount; ++i) {
    json += R"({"name": "flag)" + std::to_string(i) + R"(", "type": "t", "rules": )" +
            rule(i == 0 ? "true" : std::to_string(i) + ".0") + "},";
  }
  json.back() = ']';
  return json + "}";
}

/// How often asking allocates and reads the clock, when everything was asked before.
struct Cost {
  std::size_t allocations;
  std::size_t clockReads;
};

class CostTest : public testing::Test {
 protected:
  void start(int flagCount) {
    fake.session->always("config.json", fakes::ok(project(flagCount)));
    fake.session->always("geo", fakes::ok(R"({"city": "Graz"})"));
    Platform platform = fake.platform();
    platform.clock = clock;
    registry = std::make_unique<ClientRegistry>(platform);
    client = registry->initializeClient(
        "token", CorvoUser::Builder(clock, fake.timeZone).setUserId("u").build(), "https://a", 60,
        0, "tag");
    client->getAllUserExperimentsText().get();
  }

  template <class Ask>
  Cost costOf(Ask ask) {
    ask(*client);
    const std::size_t allocated = tests::allocationCount();
    const std::size_t read = clock->reads;
    ask(*client);
    return {tests::allocationCount() - allocated, clock->reads - read};
  }

  std::shared_ptr<CountedClock> clock = std::make_shared<CountedClock>();
  fakes::FakePlatform fake;
  std::unique_ptr<ClientRegistry> registry;
  std::shared_ptr<CorvoClient> client;
};

TEST_F(CostTest, AFlagAllocatesNothingAndReadsTheClockOnce) {
  for (const int flagCount : {10, 2'000}) {
    start(flagCount);
    const std::map<std::string, Cost> costs{
        {"bool", costOf([](auto& c) {
           c.template checkFlag<bool>("flag0", [](auto on) { EXPECT_EQ(on, true); });
         })},
        {"integer", costOf([](auto& c) {
           c.template checkFlag<std::int64_t>("carried", [](auto n) { EXPECT_EQ(n, 1); });
         })},
        {"double", costOf([](auto& c) {
           c.template checkFlag<double>("flag9", [](auto n) { EXPECT_EQ(n, 9.0); });
         })},
        {"suspending bool",
         costOf([](auto& c) { EXPECT_EQ(c.template checkFlag<bool>("flag0").get(), true); })},
        {"suspending integer", costOf([](auto& c) {
           EXPECT_EQ(c.template checkFlag<std::int64_t>("carried").get(), 1);
         })},
        {"suspending double",
         costOf([](auto& c) { EXPECT_EQ(c.template checkFlag<double>("flag9").get(), 9.0); })},
    };
    for (const auto& [what, cost] : costs) {
      EXPECT_EQ(cost.allocations, 0U) << what << " among " << flagCount;
      EXPECT_EQ(cost.clockReads, 1U) << what << " among " << flagCount;
    }
  }
}

TEST_F(CostTest, AHandleCostsTheSameInAnyProject) {
  std::map<int, std::size_t> allocated;
  for (const int flagCount : {10, 2'000}) {
    start(flagCount);
    allocated[flagCount] = costOf([](auto& c) {
                             c.getExperiment("e", [](auto e) { EXPECT_NE(e, nullptr); });
                           }).allocations;
  }
  EXPECT_EQ(allocated[10], allocated[2'000]);
  EXPECT_LE(allocated[10], 2U);
}

}  // namespace
}  // namespace corvo
