// SPDX-License-Identifier: Apache-2.0

#include <corvo/client_registry.h>
#include <corvo/evaluation.h>
#include <corvo/fakes.h>
#include <gtest/gtest.h>

#include <map>
#include <new>
#include <string>
#include <string_view>
#include <vector>

#include "tests/cost/allocations.h"

// Counts the cost of questions that are answered from fresh cached copies. Benchmarks measure
// times.

namespace corvo {
namespace {

struct CountedClock : Clock {
  mutable std::size_t reads = 0;
  [[nodiscard]] double now() const override {
    ++reads;
    return 1'714'564'800;
  }
};

fakes::Rules rule(const std::string& value) {
  return when(fakes::where("userId", fakes::Sign::equal, "u") &&
                  fakes::where("geo.city", fakes::Sign::anyOf, {"Berlin", "Graz"}),
              value);
}

std::string project(int flagCount) {
  auto built = fakes::project().experiment(
      fakes::experiment("e", {"g"}).flag("carried", {{"g", rule("1")}}));
  for (int i = 0; i < flagCount; ++i) {
    built.flag("flag" + std::to_string(i), rule(i == 0 ? "true" : std::to_string(i) + ".0"));
  }
  return built.toJson();
}

/// The number of allocations and clock reads of a question that was asked before.
struct Cost {
  std::size_t allocations;
  std::size_t clockReads;
};

class CostTest : public testing::Test {
 protected:
  void start(int flagCount) {
    fake.serve(project(flagCount), {{"city", "Graz"}});
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

  /// Asks in both forms.
  template <class T>
  void expectFree(const char* flag, T value) {
    const Cost costs[] = {
        costOf([&](auto& c) {
          c.template checkFlag<T>(flag, [&](auto answer) { EXPECT_EQ(answer, value); });
        }),
        costOf([&](auto& c) { EXPECT_EQ(c.template checkFlag<T>(flag).get(), value); })};
    for (const auto& [allocations, clockReads] : costs) {
      EXPECT_EQ(allocations, 0U) << flag;
      EXPECT_EQ(clockReads, 1U) << flag;
    }
  }

  std::shared_ptr<CountedClock> clock = std::make_shared<CountedClock>();
  fakes::FakePlatform fake;
  std::unique_ptr<ClientRegistry> registry;
  std::shared_ptr<CorvoClient> client;
};

TEST_F(CostTest, AFlagAllocatesNothingAndReadsTheClockOnce) {
  for (const int flagCount : {10, 2'000}) {
    start(flagCount);
    expectFree("flag0", true);
    expectFree("carried", std::int64_t{1});
    expectFree("flag9", 9.0);
  }
}

TEST_F(CostTest, AnUnknownFlagAllocatesItsNameIfItIsLong) {
  start(10);
  for (const char* name : {"fifteen--letter", "sixteen---letter"}) {
    const auto expectName = [name](const CorvoError& error) {
      EXPECT_EQ(error.as<CorvoError::FeatureFlagNotFound>()->featureFlag, name);
    };
    const auto cost =
        costOf([&](auto& c) { c.template checkFlag<bool>(name, nullptr, expectName); });
    EXPECT_EQ(cost.allocations, std::string_view(name).size() > 15 ? 1U : 0U) << name;
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

TEST(BatchCostTest, AProjectTakesFewBlocksHoweverLarge) {
  for (const int flagCount : {10, 2'000}) {
    const std::ptrdiff_t live = tests::liveAllocations();
    const Project all = Project::decode(project(flagCount)).value();
    EXPECT_LE(tests::liveAllocations() - live, 200) << flagCount;
  }
}

TEST(BatchCostTest, AnEvaluationThatRunsOutOfMemoryHasNoUser) {
  const Project all = Project::decode(project(1)).value();
  const CorvoUser user{{{"userId", "u"}}, PropertyMap{{"userId", "2030-01-01 00:00:00"}}};
  EvaluationContext first{.user = &user, .location = {{"city", "Graz"}}, .now = 0};
  first.timeZone = std::make_shared<fakes::FakeTimeZone>();
  std::vector<EvaluationContext> others(3, first);
  others[0].location["a name beyond any buffer"] = "Wien";
  others[1].device.systemName = "a system whose name is longer than any buffer";
  others[2].timeZone = std::make_shared<fakes::FakeTimeZone>();
  for (const EvaluationContext& other : others) {
    bool failed = true;
    for (std::size_t succeed = 0; failed; ++succeed) {
      Evaluation about = all.evaluate(first);
      ASSERT_EQ(about.checkFlag<bool>("flag0").value(), true);
      {
        const tests::FailingAllocation failing(succeed);
        try {
          about.reset(other);
        } catch (const std::bad_alloc&) {
        }
        failed = tests::FailingAllocation::hasFailed();
      }
      EXPECT_EQ(about.checkFlag<bool>("flag0").hasValue(), !failed) << succeed;
    }
  }
}

// As records and as properties, whether or not the rules hold.
TEST(BatchCostTest, AnotherUserAllocatesNothing) {
  constexpr std::size_t kUsers = 40;
  std::vector<CorvoUser> users;
  for (std::size_t i = 0; i < kUsers; ++i) {
    const std::string id = i % 2 == 0 ? "u" : std::to_string(i) + ", whom no rule names";
    users.push_back({{{"userId", id}, {"custom.seen", std::to_string(i)}}, PropertyMap()});
    const std::string expiry = "2024-05-02 12:00:" + std::to_string(10 + i);
    for (const auto& [name, value] : users[i].properties)
      (*users[i].corvoExpiration)[name] = expiry;
  }
  for (const bool isRecord : {true, false}) {
    EvaluationContext context{.location = {{"city", "Graz"}},
                              .device = {.vendorIdentifier = "a device of a long identifier"},
                              .now = 1'714'564'800,
                              .timeZone = std::make_shared<fakes::FakeTimeZone>(7'200)};
    Evaluation about = Project::decode(project(10)).value().evaluate(context);
    std::vector<EvaluationContext::Property> properties;
    std::size_t allocated = 0;
    int answered = 0;
    for (std::size_t i = 0; i < kUsers; ++i) {
      properties.assign(users[i].properties.begin(), users[i].properties.end());
      context.properties = properties;
      if (isRecord) context.user = &users[i];
      if (i == 2) allocated = tests::allocationCount();
      about.reset(context);
      for (const char* flag : {"flag0", "flag9", "carried", "none"}) {
        answered += about.checkFlag<std::int64_t>(flag).hasValue() ? 1 : 0;
      }
      constexpr std::size_t kPositions[] = {0, 1, 9};
      answered += static_cast<int>(about.flagTexts(kPositions).size());
      answered += static_cast<int>(about.flagDecisions(kPositions).size());
      answered += static_cast<int>(about.memberships(kPositions).size());
      answered += static_cast<int>(about.placements(kPositions).size());
    }
    EXPECT_EQ(tests::allocationCount(), allocated) << isRecord;
    EXPECT_EQ(answered, 3 * kUsers / 2 + 3 * kUsers / 2 + 5 * kUsers) << isRecord;
  }
}

}  // namespace
}  // namespace corvo
