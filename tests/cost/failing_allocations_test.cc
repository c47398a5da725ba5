#include <corvo/client_registry.h>
#include <corvo/fakes.h>
#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <memory>
#include <new>
#include <set>
#include <string>

#include "fuzz/questions.h"
#include "tests/cost/allocations.h"

// Every allocation of every operation fails once: the operation has then been done or has not, and
// whatever it had allocated is free again.

namespace corvo {
namespace {

constexpr const char* kProject = R"({"feature_flags": [
    {"name": "a flag of the configuration", "type": "t", "rules": [
      {"is_default": false, "value": "{\"a key beyond any buffer\": 1}",
       "conditional_statement": "AND", "conditions": [
         {"name": "custom.plan", "condition_sign": "any of", "value": ["gold", "gol\u0064\u0301"]},
         {"name": "date", "condition_sign": "after time", "value": "2001-01-01"}]},
      {"is_default": true, "value": "false", "conditional_statement": "-", "conditions": []}]}],
  "experiments": [
    {"name": "an experiment of the configuration", "type": 1, "salt": "s", "allocation": 1,
     "groups": [{"name": "g", "weight": 1}], "holdouts": ["a holdout of the configuration"],
     "feature_flags": [{"name": "a flag of the experiment", "type": "t", "groups": [
       {"group": "g", "rules": [{"is_default": true, "value": "1",
                                 "conditional_statement": "-", "conditions": []}]}]}]},
    {"name": "a holdout of the configuration", "type": 5, "salt": "t", "allocation": 0,
     "groups": [{"name": "g", "weight": 1}]}]})";
constexpr const char* kFlag = "a flag of the configuration";
constexpr const char* kCarriedFlag = "a flag of the experiment";
constexpr const char* kExperiment = "an experiment of the configuration";
constexpr const char* kHoldout = "a holdout of the configuration";

/// An application that has used its client before.
struct Application {
  Application() {
    fake.session->always("config.json", fakes::ok(kProject));
    fake.session->always("geo", fakes::ok(R"({"a name beyond any buffer": "Berlin"})"));
    client = registry.initializeClient("token",
                                       CorvoUser::Builder(fake.time, fake.timeZone)
                                           .setUserId("u")
                                           .setCustomProperty("gold\xCC\x81", "plan")
                                           .build(),
                                       "https://flags.example.com", 10, 0, "tag");
    client->includeForce(kExperiment).get();
    client->getUserFeatureFlagsDetails().get();
  }

  /// All that can be told of it from outside, by a client that starts anew and by this one.
  std::string state() {
    std::string text;
    for (const auto& [key, value] : fake.store->contents("storagetagtoken")) {
      if (key.ends_with(".value")) text += key + '=' + value + '\n';
    }
    const auto told = [&](CorvoClient& each) {
      text += each.getAllUserExperimentsText().get().value_or("none") + ' ' +
              each.checkFlag<std::string>(kFlag).get().value() + '\n';
    };
    told(*client);
    ClientRegistry restarted(fake.platform());
    told(*restarted.initializeClient("token", {}, "https://flags.example.com", 10, 0, "tag"));
    return text;
  }

  fakes::FakePlatform fake;
  ClientRegistry registry{fake.platform()};
  std::shared_ptr<CorvoClient> client;
};

using Operation = std::function<void(Application&)>;

#define CALL(call) [](Application& a) { a.call; }
const std::map<std::string, Operation> kOtherOperations{
    {"setUser", CALL(client->setUser({{{"userId", "another user's name"}}, {}}))},
    {"setUserProperties",
     CALL(client->setUserProperties([](auto& user) { user.setUserId("another user's name"); }))},
    {"editUserProperties",
     CALL(client->editUserProperties([](auto& user) { user.setUserId("another user's name"); }))},
    {"clearUserProperties", CALL(client->clearUserProperties())},
    {"initializeClient",
     CALL(registry.initializeClient("token", CorvoUser{{{"userId", "another user's name"}}, {}},
                                    "https://flags.example.com", 10, 0, "another client's tag"))},
    {"removeClient", CALL(registry.removeClient("tag"))}};
#undef CALL

/// These, and every question.
std::map<std::string, Operation> operations() {
  const struct {
    std::size_t first, end;
    const char* name;
  } questions[] = {{4, 5, kFlag},
                   {1, 2, kCarriedFlag},
                   {5, 18, kExperiment},
                   {13, 14, kHoldout},
                   {15, 16, kHoldout}};
  static_assert(fuzz::kQuestionCount == 18);
  std::map<std::string, Operation> all = kOtherOperations;
  for (const auto& [first, end, name] : questions) {
    for (std::size_t number = first; number < end; ++number) {
      all[std::to_string(number) + " about " + name] = [number, about = name](Application& a) {
        const auto ask = [&](auto question) { question(*a.client).get(); };
        fuzz::withQuestion(number, about, 0, ask);
      };
    }
  }
  return all;
}

/// What an operation that ran into failing memory may answer.
void attempt(const Operation& run, Application& application) {
  try {
    run(application);
  } catch (const std::bad_alloc&) {
  } catch (const CorvoError&) {
  }
}

/// All that an operation may leave: what was before, what is after it, and what it leaves where its
/// fetch fails, for an exclusion has begun by then.
std::set<std::string> statesAround(const Operation& run, double age) {
  std::set<std::string> states;
  for (const bool runs : {false, true}) {
    for (const bool fetches : {false, true}) {
      Application application;
      application.fake.time->advance(age);
      if (!fetches) application.fake.session->always("config.json", fakes::failure());
      if (runs) attempt(run, application);
      application.fake.session->always("config.json", fakes::ok(kProject));
      states.insert(application.state());
    }
  }
  return states;
}

void failEach(const std::string& name, const Operation& run, double age) {
  const std::set<std::string> states = statesAround(run, age);
  bool failed = true;
  for (std::size_t succeed = 0; failed; ++succeed) {
    const std::ptrdiff_t live = tests::liveAllocations();
    {
      Application application;
      application.fake.time->advance(age);
      {
        const tests::FailingAllocation failing(succeed);
        attempt(run, application);
        failed = tests::FailingAllocation::hasFailed();
      }
      EXPECT_TRUE(states.contains(application.state()))
          << name << ", allocation " << succeed << ", at age " << age;
    }
    ASSERT_EQ(tests::liveAllocations(), live)
        << name << " leaks when allocation " << succeed << " fails";
  }
}

TEST(FailingAllocationsTest, LeaveNothingHalfDoneAndNothingBehind) {
  { Application().state(); }  // what is made once per process
  for (const double age : {0.0, 10.0}) {
    for (const auto& [name, run] : operations()) failEach(name, run, age);
  }
}

TEST(FailingAllocationsTest, DoNotCostAWaitingQuestionItsAnswer) {
  int dropped = 0;
  bool failed = true;
  for (std::size_t succeed = 0; failed; ++succeed) {
    Application application;
    application.fake.session->always("config.json", fakes::after(1, fakes::ok(kProject)));
    application.fake.session->always("geo", fakes::after(1, fakes::ok("{}")));
    application.fake.time->advance(10);
    int answers = 0;
    const auto count = [&answers](const auto& /*answer*/) { ++answers; };
    application.client->getUserExperimentsDetails(count, count);
    {
      const tests::FailingAllocation failing(succeed);
      try {
        application.fake.time->advance(2);
      } catch (const std::bad_alloc&) {
        if (answers == 0) ++dropped;
      }
      failed = tests::FailingAllocation::hasFailed();
    }
    application.fake.time->advance(2);
    EXPECT_TRUE(answers == 1 || (answers == 0 && dropped > 0)) << "allocation " << succeed;
  }
  EXPECT_EQ(dropped, 2) << "what the queue needs for each of two answers";
}

}  // namespace
}  // namespace corvo
