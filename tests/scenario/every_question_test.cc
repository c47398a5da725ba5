#include <atomic>
#include <cstdlib>
#include <functional>
#include <future>
#include <iterator>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "tests/client/client_fixture.h"

namespace corvo {
namespace {

/// Asks, and calls back once with whatever comes of it.
using Ask = std::function<void(CorvoClient&, std::function<void()>)>;

template <class Operation>
Ask asking(Operation operation) {
  return [operation](CorvoClient& client, const std::function<void()>& then) {
    operation(
        client, [then](auto&&...) { then(); }, [then](const CorvoError&) { then(); });
  };
}

/// Each question in its callback form; with those that fail, and those that need no fetch.
struct Question {
  const char* name;
  Ask ask;
};
#define ASK(call) asking([](CorvoClient& c, auto yes, auto no) { c.call; })
const Question kQuestions[] = {
    {"checkFlag", ASK(checkFlag<bool>("on", yes, no))},
    {"checkFlag, unknown", ASK(checkFlag<bool>("no", yes, no))},
    {"getUserFeatureFlagsDetails", ASK(getUserFeatureFlagsDetails(yes, no))},
    {"getAllUserExperiments", ASK(getAllUserExperiments(yes, no))},
    {"getAllUserExperimentsText", ASK(getAllUserExperimentsText(yes, no))},
    {"getAllUserExperimentsText(bool)", ASK(getAllUserExperimentsText(false, yes, no))},
    {"getExperiment", ASK(getExperiment("e", yes, no))},
    {"getExperiment, unknown", ASK(getExperiment("no", yes, no))},
    {"getHoldout", ASK(getHoldout("h", yes, no))},
    {"getAllUserHoldouts", ASK(getAllUserHoldouts(yes, no))},
    {"getUserExperimentsDetails", ASK(getUserExperimentsDetails(yes, no))},
    {"getUserExperimentsDetails(bool)", ASK(getUserExperimentsDetails(true, yes, no))},
    {"includeForce", ASK(includeForce("e", yes, no))},
    {"includeForce(index)", ASK(includeForce("e", 0, yes, no))},
    {"includeForce, unknown", ASK(includeForce("no", 0, yes, no))},
    {"excludeForce", ASK(excludeForce("e", yes, no))},
    {"excludeForceAll", ASK(excludeForceAll(yes, no))},
};
#undef ASK

class EveryQuestionTest : public ClientTest {
 protected:
  EveryQuestionTest() {
    fake.session->always("config.json", fakes::ok(R"({"experiments": [
        {"name": "e", "salt": "s", "allocation": 1, "groups": [{"name": "g", "weight": 1}]},
        {"name": "h", "type": 5, "salt": "s", "allocation": 1,
         "groups": [{"name": "g", "weight": 1}]}]})"));
  }

  /// A client with something to exclude, once with fresh copies and once without.
  std::shared_ptr<CorvoClient> start(bool fresh) {
    registry.removeClient("tag");
    auto client =
        makeClient(0, CorvoUser::Builder(fake.time, fake.timeZone).setUserId("u").build());
    client->includeForce("e").get();
    client->getAllUserHoldouts().get();
    if (!fresh) fake.time->advance(10);
    return client;
  }
};

TEST_F(EveryQuestionTest, IsAnsweredOnceAlsoWhenTheCallbackAsksAgain) {
  for (const bool fresh : {true, false}) {
    for (const auto& [name, ask] : kQuestions) {
      const auto client = start(fresh);
      int answers = 0;
      ask(*client, [&, &again = ask] {
        if (++answers == 1) again(*client, [&] { answers += 10; });
      });
      fake.time->run();
      EXPECT_EQ(answers, 11) << name << (fresh ? "" : " after a fetch");
    }
  }
}

TEST_F(EveryQuestionTest, LetsTheCallbackReleaseTheClientAndThrow) {
  for (const bool fresh : {true, false}) {
    for (const auto& [name, ask] : kQuestions) {
      auto client = start(fresh);
      int answers = 0;
      const auto askAndRun = [&, &asked = ask] {
        asked(*client, [&] {
          registry.removeClient("tag");
          client.reset();
          ++answers;
          throw std::runtime_error("thrown by the callback");
        });
        fake.time->run();
      };
      EXPECT_THROW(askAndRun(), std::runtime_error) << name;
      fake.time->run();
      EXPECT_EQ(answers, 1) << name;
      EXPECT_EQ(client, nullptr) << name;
    }
  }
}

TEST_F(EveryQuestionTest, IsDroppedWithItsClient) {
  for (const auto& [name, ask] : kQuestions) {
    auto client = start(false);
    bool answered = false;
    ask(*client, [&] { answered = true; });
    const auto before = fake.store->contents("storagetagtoken");
    registry.removeClient("tag");
    client.reset();
    fake.time->run();
    EXPECT_FALSE(answered) << name;
    EXPECT_EQ(fake.store->contents("storagetagtoken"), before) << name;
  }
}

TEST_F(EveryQuestionTest, LetsTheCallbackWaitForAnotherThread) {
  for (const bool fresh : {true, false}) {
    for (const auto& [name, ask] : kQuestions) {
      const auto client = start(fresh);
      bool answered = false;
      ask(*client, [&, &again = ask] {
        std::thread([&] { again(*client, [&] { answered = true; }); }).join();
      });
      fake.time->run();
      EXPECT_TRUE(answered) << name;
    }
  }
}

/// A clock on which a thread can be held in the middle of whatever it does.
struct HoldingClock final : Clock {
  mutable std::atomic<bool> holds = false;
  mutable std::promise<void> held;

  [[nodiscard]] double now() const override {
    if (holds.exchange(false)) {
      held.set_value();
      std::promise<void>().get_future().wait();  // for ever
    }
    return 1'714'564'800;
  }
};

TEST(EveryOperationDeathTest, StopsTheProcessWhenTwoThreadsUseTheClientAtOnce) {
  const Question userOperations[] = {
      {"setUser", [](auto& client, auto&&) { client.setUser({}); }},
      {"setUserProperties", [](auto& client, auto&&) { client.setUserProperties([](auto&) {}); }},
      {"editUserProperties", [](auto& client, auto&&) { client.editUserProperties([](auto&) {}); }},
      {"clearUserProperties", [](auto& client, auto&&) { client.clearUserProperties(); }}};
  const auto useTwice = [](const Ask& first, const Ask& second) {
    const fakes::FakePlatform fake;
    Platform platform = fake.platform();
    const auto clock = std::make_shared<HoldingClock>();
    platform.clock = clock;
    ClientRegistry registry(platform);
    const auto client = registry.initializeClient("token", {}, "https://x", 10, 0, "tag");
    clock->holds = true;
    std::thread([&] { first(*client, [] {}); }).detach();
    clock->held.get_future().wait();
    second(*client, [] {});
    std::_Exit(0);
  };
  std::vector<Question> all(std::begin(kQuestions), std::end(kQuestions));
  all.insert(all.end(), std::begin(userOperations), std::end(userOperations));
  for (std::size_t i = 0; i < all.size(); ++i) {
    const Question& first = all[i];
    const Question& second = all[(i * 5 + 3) % all.size()];
    EXPECT_DEATH(useTwice(first.ask, second.ask), "Corvo: a client was used from two threads")
        << first.name << " and " << second.name;
  }
}

TEST_F(EveryQuestionTest, MayBeAskedWithinABuildersCallback) {
  const auto client = start(true);
  int answers = 0;
  client->setUserProperties([&](CorvoUser::Builder& user) {
    for (const auto& [name, ask] : kQuestions) {
      ask(*client, [&, &again = ask] { again(*client, [&] { ++answers; }); });
    }
    client->editUserProperties([](auto& inner) { inner.setEmail("lost@example.com"); });
    user.setUserId("u");
  });
  fake.time->run();
  EXPECT_EQ(answers, std::size(kQuestions));
  EXPECT_EQ(stored("user.value").find("lost"), std::string::npos) << "the outer callback's counts";
}

}  // namespace
}  // namespace corvo
