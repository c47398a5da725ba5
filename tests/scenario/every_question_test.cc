// SPDX-License-Identifier: Apache-2.0

#include <atomic>
#include <cstdlib>
#include <functional>
#include <future>
#include <iterator>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "fuzz/questions.h"
#include "tests/client/client_fixture.h"

namespace corvo {
namespace {

/// Asks, and calls back once, whatever the result.
using Ask = std::function<void(CorvoClient&, std::function<void()>)>;

struct Question {
  std::string name;
  Ask ask;
};

/// Each question in its callback form, also with names for which it fails.
std::vector<Question> makeQuestions() {
  std::vector<Question> all;
  for (const char* name : {"e", "h", "no"}) {
    for (std::size_t number = 0; number < fuzz::kQuestionCount; ++number) {
      const auto ask = [number, name](CorvoClient& client, const std::function<void()>& then) {
        fuzz::withQuestion(number, name, 0, [&](auto question) {
          question(
              client, [then](auto&&...) { then(); }, [then](const CorvoError&) { then(); });
        });
      };
      all.push_back({std::to_string(number) + " about " + name, ask});
    }
  }
  return all;
}
const std::vector<Question> kQuestions = makeQuestions();

class EveryQuestionTest : public ClientTest {
 protected:
  EveryQuestionTest() {
    fake.serve(fakes::project().experiment("e", {"g"}).holdout("h"), {{"city", "Berlin"}});
  }

  /// A client with something to exclude, either with fresh cached copies or without.
  std::shared_ptr<CorvoClient> start(bool fresh) {
    registry.removeClient("tag");
    auto client =
        makeClient(0, CorvoUser::Builder(fake.time, fake.timeZone).setUserId("u").build());
    client->includeForce("e").get();
    client->getAllUserHoldouts().get();
    if (!fresh) fake.time->advance(10);
    return client;
  }

  /// Asks a client every question, from fresh cached copies and after a fetch.
  template <class Test>
  void forEach(Test test) {
    for (const bool fresh : {true, false}) {
      for (const auto& [name, ask] : kQuestions) {
        SCOPED_TRACE(name + (fresh ? "" : " after a fetch"));
        test(start(fresh), ask);
      }
    }
  }
};

TEST_F(EveryQuestionTest, IsAnsweredOnceEvenIfTheCallbackAsksAgainOrWaitsForAThreadThatDoes) {
  forEach([this](const auto& client, const Ask& ask) {
    int answers = 0;
    ask(*client, [&] {
      if (++answers > 1) return;
      ask(*client, [&] { answers += 10; });
      std::thread([&] { ask(*client, [&] { answers += 100; }); }).join();
    });
    fake.time->run();
    EXPECT_EQ(answers, 111);
  });
}

TEST_F(EveryQuestionTest, LetsTheCallbackReleaseTheClientAndThrow) {
  forEach([this](std::shared_ptr<CorvoClient> client, const Ask& ask) {
    int answers = 0;
    const auto askAndRun = [&] {
      ask(*client, [&] {
        registry.removeClient("tag");
        client.reset();
        ++answers;
        throw std::runtime_error("thrown by the callback");
      });
      fake.time->run();
    };
    EXPECT_THROW(askAndRun(), std::runtime_error);
    fake.time->run();
    EXPECT_EQ(answers, 1);
    EXPECT_EQ(client, nullptr);
  });
}

TEST_F(EveryQuestionTest, IsDroppedWithItsClient) {
  int answeredAtOnce = 0;
  for (const auto& [name, ask] : kQuestions) {
    auto client = start(false);
    bool answered = false;
    ask(*client, [&] { answered = true; });
    answeredAtOnce += answered ? 1 : 0;
    if (answered) continue;
    const auto before = fake.store->contents("storagetagtoken");
    registry.removeClient("tag");
    client.reset();
    fake.time->run();
    EXPECT_FALSE(answered) << name;
    EXPECT_EQ(fake.store->contents("storagetagtoken"), before) << name;
  }
  EXPECT_EQ(answeredAtOnce, 2) << "excluding an experiment that is not included needs no fetch";
}

/// A clock that can block a thread in the middle of an operation.
struct HoldingClock final : Clock {
  mutable std::atomic<bool> holds = false;
  mutable std::promise<void> held;

  [[nodiscard]] double now() const override {
    if (holds.exchange(false)) {
      held.set_value();
      std::promise<void>().get_future().wait();  // forever
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
  std::vector<Question> all = kQuestions;
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
