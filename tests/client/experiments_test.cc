#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <string>
#include <utility>

#include "tests/base/case_table.h"
#include "tests/client/client_fixture.h"

namespace corvo {
namespace {

std::string shown(const std::optional<std::string>& text) { return text.value_or("(none)"); }

std::string shown(const std::vector<CorvoExperimentDetail>& details) {
  std::string text;
  for (const auto& [type, id, group, results] : details) {
    text += (text.empty() ? "" : ", ") + type.value_or("-") + " " + id + "." +
            std::to_string(group.index);
    for (const auto& [name, value] : results) text.append(" ").append(name + "=" + value);
  }
  return text;
}

std::string shown(const std::map<std::string, std::string>& values) {
  std::string text;
  for (const auto& [name, value] : values) text += (text.empty() ? "" : " ") + name + "=" + value;
  return text;
}

std::string shown(const std::vector<CorvoExperimentPointer>& list) {
  std::string text;
  for (const auto& each : list) {
    text += (text.empty() ? "" : " ") + each->name() + "=" + std::to_string(*each->groupIndex());
  }
  return text;
}

std::string shown(const CorvoExperimentPointer& experiment) {
  if (!experiment) return "(none)";
  return experiment->name() + " " + *experiment->userGroupName() + " " +
         std::to_string(*experiment->groupIndex());
}

/// What is before and after the slash.
std::pair<std::string, std::string> parts(const std::string& text) {
  return {text.substr(0, text.find('/')), text.substr(text.find('/') + 1)};
}

using Ask = std::function<std::string(CorvoClient&, const std::string&)>;
const std::map<std::string, Ask> kQuestions{
    {"flag", [](auto& c, auto& f) { return shown(c.template checkFlag<std::string>(f).get()); }},
    {"flags",
     [](auto& c, auto&) {
       std::map<std::string, std::string> texts;
       for (const auto& [name, value] : c.getUserFeatureFlagsDetails().get()) {
         texts[name] = std::get<std::string>(value);
       }
       return shown(texts);
     }},
    {"text", [](auto& c, auto&) { return shown(c.getAllUserExperimentsText().get()); }},
    {"text F", [](auto& c, auto&) { return shown(c.getAllUserExperimentsText(false).get()); }},
    {"list", [](auto& c, auto&) { return shown(c.getAllUserExperiments().get()); }},
    {"holdouts", [](auto& c, auto&) { return shown(c.getAllUserHoldouts().get()); }},
    {"holdout", [](auto& c, auto& n) { return c.getHoldout(n).get() ? "yes" : "no"; }},
    {"experiment", [](auto& c, auto& n) { return shown(c.getExperiment(n).get()); }},
    {"feature",
     [](auto& c, auto& n) {
       const auto [experiment, flag] = parts(n);
       return shown(c.getExperiment(experiment).get()->template getFeatureValue<std::string>(flag));
     }},
    {"param",
     [](auto& c, auto& n) {
       const auto [experiment, param] = parts(n);
       return shown(c.getExperiment(experiment).get()->template getParamValue<std::string>(param));
     }},
    {"details", [](auto& c, auto&) { return shown(c.getUserExperimentsDetails().get()); }},
    {"details F", [](auto& c, auto&) { return shown(c.getUserExperimentsDetails(false).get()); }},
};

TEST_F(ClientTest, AnswersQuestionsAboutExperiments) {
  std::ifstream file(CORVO_CLIENT_CASES "experiments.json");
  fake.session->always("config.json", fakes::ok({std::istreambuf_iterator<char>(file), {}}));
  const auto client = makeClient();
  for (const auto& [user, question, about, answer] :
       tests::caseTable<4>(CORVO_CLIENT_CASES "experiments.txt")) {
    client->setUserProperties([&user = user](CorvoUser::Builder& builder) {
      if (user.empty()) return;
      builder.setUserId(user);
      if (user == "u") builder.setCustomProperty("gold", "plan");
    });
    std::string given;
    try {
      given = kQuestions.at(question)(*client, about);
    } catch (const CorvoError& error) {
      given = error.description();
    }
    EXPECT_EQ(given, answer) << user << ": " << question << " " << about;
  }
}

TEST_F(ClientTest, LooksForANameBeforeItAsksForUserAndLocation) {
  fake.session->always("config.json", fakes::ok(R"({"experiments": [
      {"name": "e", "salt": "s", "allocation": 1}]})"));
  const auto client = makeClient();
  EXPECT_THROW(client->getExperiment("no").get(), CorvoError);
  EXPECT_THROW(client->getHoldout("e").get(), CorvoError);
  EXPECT_EQ(geoRequests(), 0U);
  EXPECT_EQ(stored("user.value"), "");
  EXPECT_EQ(client->getExperiment("e").get(), nullptr);
  EXPECT_EQ(geoRequests(), 1U);
  EXPECT_NE(stored("user.value"), "");
}

TEST_F(ClientTest, PlacesAUserWithoutADeviceIdByTheDevice) {
  fake.session->always("config.json", fakes::ok(R"({"experiments": [
      {"name": "e", "split_by": "deviceId", "salt": "s", "allocation": 1,
       "groups": [{"name": "g", "weight": 1}]}]})"));
  EXPECT_EQ(makeClient()->getAllUserExperimentsText().get(), "e.0");
  fake.device->vendor = std::nullopt;
  ClientRegistry another(fake.platform());
  const auto client = another.initializeClient("token", {}, "https://a", 10, 0, "tag");
  EXPECT_EQ(client->getAllUserExperimentsText().get(), std::nullopt);
}

// Entries of one name, the first with a mebibyte that all of them show.
TEST_F(ClientTest, ShowsSixtyFourMebibytesOfRepeatedValuesAtMost) {
  struct Kind {
    std::string list, before, after;
  };
  const Kind kinds[] = {
      {R"("type": 1, "feature_flags": [)",
       R"({"name": "f", "type": "t", "groups": [{"group": "g", "rules": [
           {"is_default": true, "conditional_statement": "-", "conditions": [], "value": ")",
       R"("}]}]})"},
      {R"("type": 2, "params": [)",
       R"({"name": "p", "type": "t", "values": [{"group": "g", "value": ")", R"("}]})"}};
  const auto client =
      makeClient(0, CorvoUser::Builder(fake.time, fake.timeZone).setUserId("u").build());
  for (const auto& [list, before, after] : kinds) {
    std::string document = R"({"experiments": [{"name": "e", "salt": "s", "allocation": 1,
                               "groups": [{"name": "g", "weight": 1}], )" +
                           list;
    document += before + std::string(std::size_t{1} << 20, 'v') + after;
    for (int repeated = 0; repeated < 64; ++repeated) document.append(",").append(before + after);
    fake.time->advance(100);
    fake.session->always("config.json", fakes::ok(document + "]}]}"));
    EXPECT_EQ(client->getUserExperimentsDetails().get().at(0).results.size(), 65U) << list;
    fake.time->advance(100);
    fake.session->always("config.json", fakes::ok(document + "," + before + after + "]}]}"));
    EXPECT_THROW(client->getUserExperimentsDetails().get(), CorvoError) << list;
  }
}

// Local half past two is before three, unless the clocks skip that hour.
TEST_F(ClientTest, AHandleStaysAsItWasMade) {
  fake.session->always("config.json", fakes::ok(R"({"experiments": [
      {"name": "e", "salt": "s", "allocation": 1, "groups": [{"name": "g", "weight": 1}],
       "feature_flags": [{"name": "f", "type": "t", "groups": [{"group": "g", "rules": [
         {"is_default": false, "value": "12", "conditional_statement": "AND", "conditions": [
           {"name": "userId", "condition_sign": "equal", "value": "u"},
           {"name": "custom.at", "condition_sign": "before time",
            "value": "2024-03-31 03:00"}]}]}]}]}]})"));
  auto client = makeClient(0, CorvoUser::Builder(fake.time, fake.timeZone)
                                  .setUserId("u")
                                  .setCustomProperty("2024-03-31 02:30", "at")
                                  .build());
  const CorvoExperimentPointer experiment = client->getExperiment("e").get();
  fake.timeZone->change(3600, {{1'711'846'800, 7200}});  // 2024-03-31 01:00 UTC
  const CorvoExperimentPointer later = client->getExperiment("e").get();
  EXPECT_THROW(static_cast<void>(later->getFeatureValue<bool>("f")), CorvoError);
  fake.session->always("config.json", fakes::ok("{}"));
  client->clearUserProperties();
  fake.time->advance(1e6);
  EXPECT_THROW(client->getExperiment("e").get(), CorvoError);
  registry.removeClient("tag");
  client.reset();
  EXPECT_EQ(experiment->getFeatureFlagValue<std::int64_t>("f"), 12);
  EXPECT_EQ(experiment->getFeatureValue<bool>("f"), std::nullopt) << "no form of a boolean";
}

}  // namespace
}  // namespace corvo
