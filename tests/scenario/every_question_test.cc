#include <functional>
#include <stdexcept>
#include <string>

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
    registry.removeClient("tag");
    client.reset();
    fake.time->run();
    EXPECT_FALSE(answered) << name;
  }
}

}  // namespace
}  // namespace corvo
