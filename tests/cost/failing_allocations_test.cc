// SPDX-License-Identifier: Apache-2.0

#include <corvo/client_registry.h>
#include <corvo/fakes.h>
#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <memory>
#include <new>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "fuzz/questions.h"
#include "targeting/context_source.h"
#include "tests/base/case_table.h"
#include "tests/cost/allocations.h"

// Makes every allocation of every operation fail once. The operation must then be either done or
// not done, must free everything it allocated, and must lose no record.

namespace corvo {
namespace {

const std::string kProject = tests::contentsOf(CORVO_COST_CASES "project.json");
constexpr const char* kFlag = "a flag of the configuration";
constexpr const char* kCarriedFlag = "a flag of the experiment";
constexpr const char* kExperiment = "an experiment of the configuration";
constexpr const char* kHoldout = "a holdout of the configuration";

/// The state of an application that has used its client before, when an operation starts.
struct Start {
  const char* name;
  double age;                  // seconds since the last fetch
  bool restarts;               // the application restarts and has no client yet
  bool hadNoStore;             // its client could not read the store until now
  std::string_view only = {};  // only these operations
};
constexpr Start kStarts[] = {{"fresh", 0, false, false},
                             {"anew", 10, true, false},
                             {"owing", 0, true, true,
                              "editUserProperties, 15 about a holdout of the configuration, "
                              "18 about an experiment of the configuration, removeClient"}};

struct Application {
  explicit Application(const Start& at) {
    fake.session->always("config.json", fakes::ok(kProject));
    fake.session->always("geo", fakes::ok(R"({"a name beyond any buffer": "Berlin"})"));
    start(CorvoUser::Builder(fake.time, fake.timeZone)
              .setUserId("u")
              .setCustomProperty("gold\xCC\x81", "plan")
              .build());
    client->includeForce(kExperiment).get();
    client->getUserFeatureFlagsDetails().get();
    fake.time->advance(at.age);
    if (!at.restarts) return;
    client.reset();
    registry.emplace(fake.platform());
    if (!at.hadNoStore) return;
    fake.store->failReading(true);
    start();
    client->getAllUserExperimentsText().get();
    client->editUserProperties([](auto& user) { user.setCustomProperty("more", "and more"); });
    fake.store->failReading(false);
    fake.time->advance(1);
  }

  void start(std::optional<CorvoUser> user = std::nullopt) {
    if (client) return;
    client = registry->initializeClient("token beyond any buffer", std::move(user),
                                        "https://flags.example.com", 10, 0, "tag");
  }

  void forgetClient() {
    client.reset();
    registry->removeClient("tag");
  }

  /// The state as seen from outside a second later, by this client and by one after a restart.
  std::string state() {
    fake.time->advance(1);
    start();
    std::string text = registry->getClient(kTagOfAnother) ? "two\n" : "one\n";
    const auto describe = [&](CorvoClient& each) {
      text += each.getAllUserExperimentsText().get().value_or("none") + ' ' +
              each.checkFlag<std::string>(kFlag).get().value() + '\n';
    };
    describe(*client);
    for (const auto& [key, value] : fake.store->contents("storagetagtoken beyond any buffer")) {
      if (key.ends_with(".value")) text += key + '=' + value + '\n';
    }
    client.reset();
    registry.emplace(fake.platform());
    start();
    describe(*client);
    return text;
  }

  // A client with this tag and this token shares the other client's records.
  static constexpr const char* kTagOfAnother = "tagtoken beyond any";
  static constexpr const char* kTokenOfAnother = " buffer";

  fakes::FakePlatform fake;
  std::optional<ClientRegistry> registry{std::in_place, fake.platform()};
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
     CALL(registry->initializeClient(a.kTokenOfAnother,
                                     CorvoUser{{{"userId", "another user's name"}}, PropertyMap()},
                                     "https://flags.example.com", 10, 0, a.kTagOfAnother))},
    {"removeClient", CALL(forgetClient())}};
#undef CALL

/// These operations, and every question.
std::map<std::string, Operation> operations() {
  const struct {
    std::size_t first, end;
    const char* name;
  } questions[] = {{4, 5, kFlag},        {1, 2, kCarriedFlag}, {12, 13, kCarriedFlag},
                   {5, 21, kExperiment}, {15, 16, kHoldout},   {17, 18, kHoldout}};
  static_assert(fuzz::kQuestionCount == 21);
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

/// Permits only the answers that an operation may give when memory fails.
void attempt(const Operation& run, Application& application) {
  try {
    application.start();
    run(application);
  } catch (const std::bad_alloc&) {
  } catch (const CorvoError&) {
  }
}

/// All permitted results of an operation: the state before, the state after, and the states after
/// its fetch or the store failed, because an exclusion may have begun by then.
std::set<std::string> statesAround(const Operation& run, const Start& start) {
  std::set<std::string> states;
  for (const char* what : {"nothing", "all", "fetches", "reads", "writes"}) {
    Application application(start);
    const auto fails = [&](std::string_view name) { return what == name; };
    if (fails("fetches")) application.fake.session->always("config.json", fakes::failure());
    application.fake.store->failReading(fails("reads"));
    application.fake.store->failWriting(fails("writes"));
    if (!fails("all")) attempt(run, application);
    application.fake.store->failWriting(false);
    application.fake.store->failReading(false);
    application.fake.session->always("config.json", fakes::ok(kProject));
    states.insert(application.state());
  }
  return states;
}

void failEach(const std::string& name, const Operation& run, const Start& start) {
  const std::set<std::string> states = statesAround(run, start);
  bool failed = true;
  bool isWhole = true;
  for (std::size_t succeed = 0; failed; ++succeed) {
    const std::ptrdiff_t live = tests::liveAllocations();
    {
      Application application(start);
      {
        const tests::FailingAllocation failing(succeed);
        attempt(run, application);
        failed = tests::FailingAllocation::hasFailed();
      }
      isWhole = states.contains(application.state());
    }
    ASSERT_EQ(tests::liveAllocations(), live)
        << name << " leaks when allocation " << succeed << " fails";
    EXPECT_TRUE(isWhole) << name << ", allocation " << succeed << ", " << start.name;
  }
}

TEST(FailingAllocationsTest, LeaveNothingHalfDoneAndNothingBehindAndLoseNothing) {
  { Application(kStarts[0]).state(); }  // creates everything that exists once per process
  for (const Start& start : kStarts) {
    for (const auto& [name, run] : operations()) {
      if (start.only.empty() || start.only.find(name) != std::string_view::npos) {
        failEach(name, run, start);
      }
    }
  }
}

TEST(FailingAllocationsTest, LeaveAContextItsFormerProject) {
  using namespace corvo_internal::targeting;
  const fakes::FakeTimeZone zone;
  const PropertyMap location{{"geo.city", "Wien"}};
  std::vector<std::string> texts;
  for (int i = 0; i < 100; ++i) texts.push_back(std::to_string(i));
  PropertyNames few;
  PropertyNames many;
  const std::uint32_t city = few.numberOf("geo.city");
  for (const std::string& text : texts) many.numberOf(text);
  ContextSource source(zone);
  source.setNames(few);
  {
    const tests::FailingAllocation failing(0);
    EXPECT_THROW(source.setNames(many), std::bad_alloc);
  }
  source.setLocation(location);
  EXPECT_EQ(*source.at(0).find(city), "Wien");
}

TEST(FailingAllocationsTest, DoNotCostAWaitingQuestionItsAnswer) {
  int dropped = 0;
  bool failed = true;
  for (std::size_t succeed = 0; failed; ++succeed) {
    Application application({"to be fetched", 10, false, false});
    application.fake.session->always("config.json", fakes::after(1, fakes::ok(kProject)));
    application.fake.session->always("geo", fakes::after(1, fakes::ok("{}")));
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
  EXPECT_EQ(dropped, 2) << "the queue allocates for each of two answers";
}

}  // namespace
}  // namespace corvo
