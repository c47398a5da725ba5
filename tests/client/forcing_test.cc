#include <concepts>
#include <string>

#include "tests/client/client_fixture.h"

namespace corvo {
namespace {

/// A client whose user "u" no hash lets into the experiment "e", and every one into "open".
class ForcingTest : public ClientTest {
 protected:
  static constexpr const char* kProject = R"({"experiments": [
      {"name": "e", "salt": "s", "allocation": -1, "forced_user_list": ["x", "u", "y", "u"],
       "groups": [{"name": "a", "weight": 0, "forced_user_list": ["u", "u"]},
                  {"name": "b", "weight": 1, "forced_user_list": ["z"]}]},
      {"name": "e", "salt": "s", "allocation": -1, "groups": [{"name": "a", "weight": 1}]},
      {"name": "bare", "salt": "s", "allocation": 1},
      {"name": "by profile", "split_by": "profileId", "salt": "s", "allocation": 1}]})";

  ForcingTest() { fake.session->always("config.json", fakes::ok(kProject)); }

  /// The answer's error, or nothing.
  static std::string outcome(Answer<void> answer) try {
    answer.get();
    return "";
  } catch (const CorvoError& error) {
    return error.description();
  }

  std::string forced() const { return stored("corvoForcedExperiments.value"); }
  std::string lists() const {  // of the experiment "e" and of its two groups, as stored
    const std::string config = stored("config.value");
    std::string found;
    for (std::size_t at = 0, n = 0; n < 3; ++n) {
      at = config.find("\"forced_user_list\":", at) + 19;
      const std::size_t end = config.find(']', at) + 1;
      found.insert(n == 2 ? 0 : found.size(), config.substr(at, end - at));
    }
    return found;  // the groups are written before the experiment's own list
  }

  CorvoUser u = CorvoUser::Builder(fake.time, fake.timeZone).setUserId("u").build();
};

TEST_F(ForcingTest, MovesTheUserToTheEndOfTheLatestList) {
  const auto client = makeClient(0, u);
  EXPECT_EQ(outcome(client->includeForce("e", 1)), "");
  EXPECT_EQ(lists(), R"(["x","y"][]["z","u"])");
  EXPECT_EQ(forced(), R"({"e":1})");
  EXPECT_EQ(client->getAllUserExperimentsText().get(), "e.1");
  fake.time->advance(9);
  EXPECT_EQ(outcome(client->includeForce("e", 0)), "");
  EXPECT_EQ(lists(), R"(["x","y"]["u"]["z"])");
  fake.time->advance(9);  // an inclusion makes the cached copy as new
  EXPECT_EQ(outcome(client->includeForce("e")), "");
  EXPECT_EQ(lists(), R"(["x","y","u"][]["z"])");
  EXPECT_EQ(forced(), R"({"e":null})");
  EXPECT_EQ(client->getAllUserExperimentsText().get(), "e.1") << "the weights choose";
  EXPECT_EQ(configRequests(), 1U);
}

TEST_F(ForcingTest, KeepsAConfigurationFreshBeyondItsLocation) {
  std::string project = kConfig;
  project.insert(1, R"("experiments": [{"name": "e", "salt": "s", "allocation": 1}], )");
  fake.session->always("config.json", fakes::ok(project));
  const auto client = makeClient(0, u);
  EXPECT_EQ(client->checkFlag<std::string>("berlin").get(), "yes");
  fake.time->advance(5);
  EXPECT_EQ(outcome(client->includeForce("e")), "");
  EXPECT_EQ(client->checkFlag<std::string>("berlin").get(), "yes");
  fake.session->always("geo", fakes::ok(R"({"city": "Wien"})"));
  fake.time->advance(5);
  EXPECT_THROW(client->checkFlag<std::string>("berlin").get(), CorvoError);
  EXPECT_EQ(configRequests(), 1U);
  EXPECT_EQ(geoRequests(), 2U);
}

TEST_F(ForcingTest, NeedsAnExperimentAnIdentifierAndAGroup) {
  const auto client = makeClient();
  EXPECT_EQ(outcome(client->includeForce("E", 0)), "Corvo warn: Experiment \"E\" not found");
  const std::string config = stored("config.value");
  EXPECT_EQ(stored("user.value"), "") << "nobody is looked for before the experiment is found";
  EXPECT_EQ(outcome(client->includeForce("e", 7)),
            "Corvo warn: User doesn't have a split identifier for experiment \"e\"");
  EXPECT_NE(stored("user.value"), "");
  client->setUser(u);
  for (const std::int64_t index : {std::int64_t{-1}, std::int64_t{2}, INT64_MIN, INT64_MAX}) {
    EXPECT_EQ(
        outcome(client->includeForce("e", index)),
        "Corvo warn: Experiment \"e\" has no group with index \"" + std::to_string(index) + "\"");
  }
  EXPECT_EQ(outcome(client->includeForce("e", UINT64_MAX)),
            outcome(client->includeForce("e", INT64_MAX)));
  EXPECT_EQ(outcome(client->includeForce("bare", 0)),
            "Corvo warn: Experiment \"bare\" has no group with index \"0\"");
  EXPECT_EQ(forced(), "");
  EXPECT_EQ(stored("config.value"), config);
  EXPECT_EQ(geoRequests(), 0U);
  fake.session->always("config.json", fakes::ok("{}"));
  fake.time->advance(10);
  EXPECT_EQ(outcome(client->includeForce("e")), "Corvo warn: Experiments not found in cache");
}

TEST_F(ForcingTest, AppliesWhatIsRememberedToEveryNewConfiguration) {
  {
    const auto client = makeClient(0, u);
    client->includeForce("e", 0).get();
    client->includeForce("bare").get();
  }
  registry.removeClient("tag");
  fake.time->advance(10);
  const auto client =
      makeClient(0, CorvoUser::Builder(fake.time, fake.timeZone).setUserId("z").build());
  fake.session->next("config.json", fakes::ok(R"({"experiments": [
      {"name": "e", "salt": "s", "allocation": -1, "platforms": ["web"]},
      {"name": "bare", "salt": "s", "allocation": -1, "groups": [{"name": "a", "weight": 1}]}]})"));
  EXPECT_EQ(client->getAllUserExperimentsText().get(), "bare.0") << "e is for the web";
  EXPECT_EQ(forced(), R"({"bare":null,"e":0})");
  EXPECT_EQ(stored("corvoForcedExperiments.update_time"), stored("config.update_time"));
  fake.time->advance(10);
  EXPECT_EQ(client->getAllUserExperimentsText().get(), "e.0");
  EXPECT_EQ(lists(), R"(["x","u","y","u"]["u","u","z"][])") << "the user of now is moved";
}

TEST_F(ForcingTest, ForgetsFirstAndThenFetchesAnew) {
  const auto client = makeClient(0, u);
  const std::string nothing = "Corvo warn: No included experiments to exclude";
  EXPECT_EQ(outcome(client->excludeForce("e")), nothing);
  EXPECT_EQ(outcome(client->excludeForceAll()), nothing);
  EXPECT_EQ(fake.session->requests().size(), 0U);
  client->includeForce("e", 1).get();
  EXPECT_EQ(outcome(client->excludeForce("bare")), "Corvo warn: Experiment \"bare\" not found");
  EXPECT_EQ(configRequests(), 1U);

  EXPECT_EQ(outcome(client->excludeForce("e")), "");
  EXPECT_EQ(configRequests(), 2U) << "though the cached copy is fresh";
  EXPECT_EQ(lists(), R"(["x","u","y","u"]["u","u"]["z"])");
  EXPECT_EQ(forced(), "{}");
  EXPECT_EQ(outcome(client->excludeForce("e")), "Corvo warn: Experiment \"e\" not found");
  EXPECT_EQ(outcome(client->excludeForceAll()), "") << "all none of them";
  EXPECT_EQ(configRequests(), 2U);

  client->includeForce("e", 1).get();
  fake.session->next("config.json", fakes::failure());
  EXPECT_EQ(outcome(client->excludeForceAll()),
            "Corvo warn: Config request failed with error: URL request succeeded, but returned no "
            "data");
  EXPECT_EQ(forced(), "");
  EXPECT_EQ(client->getAllUserExperimentsText().get(), "e.1") << "the cached copy stays in use";
  EXPECT_EQ(outcome(client->excludeForceAll()), nothing);
}

}  // namespace
}  // namespace corvo
