// SPDX-License-Identifier: Apache-2.0

#include <corvo/evaluation.h>
#include <corvo/host.h>
#include <corvo/user_builder.h>

#include <algorithm>
#include <array>
#include <memory>
#include <numeric>
#include <string>
#include <utility>
#include <vector>

#include "bench/allocations.h"
#include "bench/bench_client.h"
#include "bench/project.h"
#include "bench/table.h"

// The cost of questions about one user after another.

namespace corvo::bench {
namespace {

using benchmark::DoNotOptimize;

constexpr std::size_t kUsers = 4'096;
constexpr const char* kOtherRuleFlag = "feature-0014";

/// The time of all questions except those at the current time.
double moment() {
  static const double started = hostPlatform({.inMemory = true}).clock->now();
  return started;
}

std::string text(const char* before, std::size_t number) { return before + std::to_string(number); }

/// Nine properties of a user. Three of four users have the plan that the rules test for, and all
/// have the country. No condition tests the others.
using Texts = std::array<std::pair<std::string, std::string>, 9>;
Texts textsOf(std::size_t number) {
  return {{{"userId", text("user-8c1b2f04-", number * 7'919)},
           {"email", text("ann.", number) + "@shop.example"},
           {"geo.country", number % 3 == 0 ? "Portugal" : "Spain"},
           {"appVersion", text("2.14.", number % 20)},
           {"custom.plan", number % 4 == 0 ? "silver" : "gold"},
           {"custom.basket", text("", number % 300)},
           {"custom.orders", text("", number % 17)},
           {"custom.joined", number % 2 == 0 ? "2024-03-01 10:00" : "2025-11-21 07:30"},
           {"custom.channel", number % 5 == 0 ? "desktop" : "mobile"}}};
}

/// The time at which a user's record was created: each at another second of the last hours.
struct EarlierClock : Clock {
  double moment = 0;
  [[nodiscard]] double now() const override { return moment; }
};

/// The same users in two forms: as names and values that the application keeps, and as records.
struct Users {
  Users() {
    const auto clock = std::make_shared<EarlierClock>();
    const auto zone = hostPlatform({.inMemory = true}).timeZone;
    texts.reserve(kUsers);
    for (std::size_t i = 0; i < kUsers; ++i) {
      clock->moment = moment() - static_cast<double>(i * 7'919 % 40'000);
      texts.push_back(textsOf(i));
      CorvoUser::Builder builder(clock, zone);
      for (const auto& [name, value] : texts.back()) {
        if (name == "userId") builder.setUserId(value);
        if (name == "email") builder.setEmail(value);
        if (name == "geo.country") builder.setGeoCountry(value);
        if (name == "appVersion") builder.setAppVersion(value);
        if (name.starts_with("custom.")) builder.setCustomProperty(value, name.substr(7));
      }
      records.push_back(builder.build());
      properties.emplace_back();
      std::ranges::copy(texts.back(), properties.back().begin());
    }
  }

  std::vector<Texts> texts;
  std::vector<std::array<EvaluationContext::Property, 9>> properties;
  std::vector<CorvoUser> records;
};

const Users& users() {
  static const Users all;
  return all;
}

/// How an evaluation gets its user.
using Give = void (*)(EvaluationContext& context, std::size_t number);
void giveProperties(EvaluationContext& context, std::size_t number) {
  context.properties = users().properties[number];
}
void giveRecord(EvaluationContext& context, std::size_t number) {
  context.user = &users().records[number];
}

/// The question about each user.
using Ask = void (*)(Evaluation& about);
void twoFlags(Evaluation& about) {
  DoNotOptimize(about.checkFlag<bool>(kRuleFlag));
  DoNotOptimize(about.checkFlag<bool>(kOtherRuleFlag));
}
void threeQuestions(Evaluation& about) {
  twoFlags(about);
  DoNotOptimize(about.getExperiment(kExperiment));
}
void report(Evaluation& about) { DoNotOptimize(about.getUserFeatureFlagsDetails()); }
void allReports(Evaluation& about) {
  report(about);
  DoNotOptimize(about.getAllUserExperiments());
  DoNotOptimize(about.getAllUserHoldouts());
}
void allByPosition(Evaluation& about) {
  static const std::vector<std::size_t> positions = [] {
    std::vector<std::size_t> all(1'001);
    std::iota(all.begin(), all.end(), std::size_t{0});
    return all;
  }();
  DoNotOptimize(about.flagTexts(positions));
  DoNotOptimize(about.memberships(positions));
}

/// An evaluation of the project of 1,000 flags, used for one user after another.
class Batch {
 public:
  Batch(Give give, Ask ask, EvaluationContext context)
      : give_(give), ask_(ask), context_(std::move(context)) {}

  void goOn() {
    give_(context_, number_++ % kUsers);
    about_.reset(context_);
    ask_(about_);
  }

 private:
  Give give_;
  Ask ask_;
  EvaluationContext context_;
  Project project_ = Project::decode(projectJson(1'000)).value();
  Evaluation about_ = project_.evaluate(context_);
  std::size_t number_ = 0;
};

EvaluationContext given() {
  return {.now = moment(), .timeZone = hostPlatform({.inMemory = true}).timeZone};
}

EvaluationContext somewhere() {
  EvaluationContext context = given();
  for (std::size_t i = 0; i < 12; ++i) context.location[text("place-", i)] = text("somewhere-", i);
  return context;
}

auto batch(Give give, Ask ask, EvaluationContext context = given()) {
  return [=](benchmark::State& state) {
    Batch users(give, ask, context);
    for (auto _ : state) users.goOn();
  };
}

/// The number of allocations per user, after all users have been evaluated once.
double allocationsPerUser(Give give, Ask ask) {
  Batch batch(give, ask, given());
  const auto askAboutAll = [&] {
    for (std::size_t i = 0; i < kUsers; ++i) batch.goOn();
  };
  askAboutAll();
  const std::size_t before = allocationCount();
  askAboutAll();
  return static_cast<double>(allocationCount() - before) / static_cast<double>(kUsers);
}

}  // namespace

void addBatches() {
  addTime("another user, 9 properties: 2 flags by a rule, getExperiment", 500,
          batch(giveProperties, threeQuestions));
  addTime("another user, 9 properties, at the current time: the same", kNoGoal,
          batch(giveProperties, threeQuestions, EvaluationContext{}));
  addTime("another user, 9 properties, an unchanged location of 12: the same", kNoGoal,
          batch(giveProperties, threeQuestions, somewhere()));
  addTime("another user, a record: the same", 1'000, batch(giveRecord, threeQuestions));
  addTime("another user, 9 properties: report of 1,000 flags", kNoGoal,
          batch(giveProperties, report));
  addTime("another user, a record: report of 1,000 flags", kNoGoal, batch(giveRecord, report));
  addTime("another user, 9 properties: reports of 1,000 flags, 301 experiments and holdouts",
          kNoGoal, batch(giveProperties, allReports));
  addTime("another user, 9 properties: the same by position", kNoGoal,
          batch(giveProperties, allByPosition));
  addTime("another user, setUser of a client: report of 1,000 flags", kNoGoal,
          [](benchmark::State& state) {
            const BenchClient client(projectJson(1'000));
            client.load();
            std::size_t number = 0;
            for (auto _ : state) {
              client->setUser(users().records[number++ % kUsers]);
              client->getUserFeatureFlagsDetails(
                  [](const FlagReport& report) { DoNotOptimize(&report); });
            }
          });
}

void addBatchCounts() {
  addCount("allocations: another user, 9 properties, without the handle", 1e-9,
           [] { return allocationsPerUser(giveProperties, twoFlags); });
  addCount("allocations: another user, a record, without the handle", 1e-9,
           [] { return allocationsPerUser(giveRecord, twoFlags); });
  addCount("allocations: another user, 9 properties, 3 questions", kNoGoal,
           [] { return allocationsPerUser(giveProperties, threeQuestions); });
}

}  // namespace corvo::bench
