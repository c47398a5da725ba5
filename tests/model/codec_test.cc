// SPDX-License-Identifier: Apache-2.0

#include "model/codec.h"

#include <corvo/fakes.h>
#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <string>
#include <vector>

#include "json/stored_date.h"
#include "tests/base/case_table.h"

namespace corvo::corvo_internal::model {
namespace {

using json::StoredDate;

ConfigResponse decoded(const std::string& json) {
  auto result = decodeJson<ConfigResponse>(json);
  if (const auto* failure = std::get_if<DecodingFailure>(&result))
    ADD_FAILURE() << failure->description() << " in " << json;
  return std::holds_alternative<ConfigResponse>(result) ? std::get<ConfigResponse>(result)
                                                        : ConfigResponse();
}

std::vector<Drop> dropsOf(const std::string& json) {
  std::vector<Drop> drops;
  EXPECT_TRUE(std::holds_alternative<ConfigResponse>(decodeConfig(json, drops))) << json;
  return drops;
}

/// The text with its @ replaced.
std::string filled(std::string text, const std::string& with) {
  const auto at = text.find('@');
  return at == std::string::npos ? text : text.replace(at, 1, with);
}

/// A document with every key of every record, in the order in which they are written.
std::string everything() {
  std::string json;
  for (const auto& [line] : tests::caseTable<1>(CORVO_MODEL_CASES "config.json")) json += line;
  return json;
}

TEST(ConfigCodec, WritesWhatItReads) {
  const auto config = decoded(everything());
  EXPECT_EQ(encodeJson(config), everything());

  const Experiment& experiment = config.experiments.at(0);
  EXPECT_EQ(experiment.layerBounds[0].upperBound, 1e-7);
  EXPECT_EQ(experiment.groups[0].label->view(), "A");
  EXPECT_EQ(experiment.params[0].values[0].group, "g");
  EXPECT_EQ(config.featureFlags.at(0).projectId, -7);
  EXPECT_EQ(config.featureFlags.at(0).groups[0].name, "g");
  const Condition& condition = config.featureFlags.at(0).rules[0].conditions[0];
  EXPECT_EQ(condition.name, "os.name");
  EXPECT_EQ(condition.conditionSign, ConditionSign::notEndsWith);
  EXPECT_EQ(condition.values[1], "b");
}

// Equal lists of any size are stored once, and so is the data prepared from them.
TEST(ConfigCodec, WritesEqualListsOnce) {
  std::vector<fakes::Value> values;
  for (int i = 0; i < 2'000; ++i) values.emplace_back(i);
  fakes::Rules rules;
  for (int i = 0; i < 20; ++i) rules.when(where("email", fakes::Sign::anyOf, values), "v");
  const auto config = decoded(fakes::project().flag("f", rules).toJson());
  for (const Rule& rule : config.featureFlags.at(0).rules) {
    EXPECT_EQ(rule.conditions[0].values.data(),
              config.featureFlags.at(0).rules[0].conditions[0].values.data());
  }
}

TEST(ConfigCodec, ReadsAndWritesAsTheTableSays) {
  std::string frame;
  for (const auto& [given, part] : tests::caseTable<2>(CORVO_MODEL_CASES "config_reads.txt")) {
    if (given.starts_with("in ")) {
      frame = given.substr(3);
      continue;
    }
    const auto written = encodeJson(decoded(filled(frame, given))).value_or("none");
    EXPECT_NE(written.find(part), std::string::npos) << given << " is written " << written;
  }
}

TEST(ConfigCodec, DropsWhatTheTableSaysAndNothingElse) {
  std::string frame;
  std::string place;
  for (const auto& [given, reason] : tests::caseTable<2>(CORVO_MODEL_CASES "config_drops.txt")) {
    if (given.starts_with("in ")) {
      frame = given.substr(3);
    } else if (given.starts_with("at ")) {
      place = given.substr(3);
    } else {
      const auto drops = dropsOf(filled(frame, given));
      ASSERT_EQ(drops.size(), 1u) << given;
      EXPECT_EQ(drops[0].pointer, place) << given;
      EXPECT_EQ(drops[0].reason, filled(reason, place)) << given;
    }
  }
  EXPECT_TRUE(dropsOf(everything()).empty());
}

TEST(ConfigCodec, ListsDropsInDocumentOrderAndNoneInsideADrop) {
  const std::string json =
      R"({"experiments":[{"name":"e","salt":"s","allocation":1,"holdouts":7,)"
      R"("forced_user_list":[1,"u",2],"groups":[0,{"name":"g","forced_user_list":[3],"weight":1},)"
      R"({"name":"h","forced_user_list":[4]}]},)"
      R"({"name":"e","salt":"s","allocation":1,"groups":[0],"holdouts":0,"type":6}],)"
      R"("feature_flags":[5,{"name":"f","type":"t","rules":[6]}]})";
  std::vector<Drop> drops{{"left", "over"}};
  const auto result = std::get<ConfigResponse>(decodeConfig(json, drops));
  std::string seen;
  for (const auto& drop : drops) seen += drop.pointer + ' ';
  EXPECT_EQ(seen,
            "/experiments/0/holdouts /experiments/0/forced_user_list/0 "
            "/experiments/0/forced_user_list/2 /experiments/0/groups/0 "
            "/experiments/0/groups/1/forced_user_list/0 /experiments/0/groups/2 /experiments/1 "
            "/feature_flags/0 /feature_flags/1/rules/0 ");
  EXPECT_EQ(result, decoded(json));
}

TEST(ConfigCodec, FailsAsAWholeOnlyAtTheTop) {
  for (const auto& [json, description] :
       tests::caseTable<2>(CORVO_MODEL_CASES "config_failures.txt")) {
    std::vector<Drop> drops{{"left", "over"}};
    const auto result = decodeConfig(json, drops);
    EXPECT_EQ(std::get<DecodingFailure>(result).description(), description) << json;
    EXPECT_TRUE(drops.empty());
  }
}

// A list of invalid records must not allocate room for as many records.
TEST(ConfigCodec, AllocatesNothingForInvalidRecords) {
  std::string nothing = "0";
  for (int i = 0; i < 20'000; ++i) nothing += ",0";
  std::vector<Drop> drops;
  const auto result = decodeConfig(R"({"experiments":[)" + nothing + "]}", drops);
  EXPECT_EQ(drops.size(), 20'001u);
  EXPECT_EQ(drops.back().pointer, "/experiments/20000");
  EXPECT_LT(std::get<ConfigResponse>(result).experiments.capacity(), 10'000u);
}

// Nothing decoded in between could replace them in the cache.
TEST(ConfigCodec, KeepsEqualTextsAndListsOfThemOnce) {
  const auto config = decoded(
      R"({"feature_flags":[{"name":"x","type":"x","rules":[{"is_default":false,"value":"x",)"
      R"("conditional_statement":"OR","conditions":[)"
      R"({"name":"x","condition_sign":"any of","value":["x","x"]},)"
      R"({"name":"x","condition_sign":"none of","value":["x","x"]}]}]}]})");
  const Rule& rule = config.featureFlags.at(0).rules[0];
  EXPECT_EQ(rule.conditions[0].values.data(), rule.conditions[1].values.data());
  EXPECT_EQ(rule.conditions[0].values[1].view().data(), rule.value.view().data());
}

/// The decoded value, encoded again; or the failure in angle brackets.
template <class T>
std::string again(const std::string& json) {
  const auto decoded = decodeJson<T>(json);
  if (const auto* failure = std::get_if<DecodingFailure>(&decoded))
    return '<' + failure->description() + '>';
  return encodeJson(std::get<T>(decoded)).value_or("<not encodable>");
}

TEST(StoredCodec, ReadsAndWritesAsTheTableSays) {
  const std::map<std::string, std::string (*)(const std::string&)> types{
      {"user", again<CorvoUser>},
      {"properties", again<PropertyMap>},
      {"forced", again<ForcedExperiments>},
      {"text", again<std::string>},
      {"date", again<StoredDate>}};
  for (const auto& [type, json, written] : tests::caseTable<3>(CORVO_MODEL_CASES "stored.txt")) {
    EXPECT_EQ(types.at(type)(json), written) << type << ' ' << json;
  }
}

TEST(StoredCodec, DatesCountFrom2001) {
  EXPECT_EQ(encodeJson(StoredDate{978307200.5}), "0.5");
  EXPECT_EQ(std::get<StoredDate>(decodeJson<StoredDate>("-978307200")), StoredDate{0});
  for (const double moment : {HUGE_VAL, -HUGE_VAL, std::nan("")}) {
    EXPECT_EQ(encodeJson(StoredDate{moment}), std::nullopt);
  }
}

TEST(Encoding, EscapesEveryByteWhereverItStands) {
  for (char c = 0; c >= 0 && c < 127; ++c) {
    for (std::size_t at = 0; at < 20; ++at) {
      std::string text = "\u00E9 twenty bytes long";
      text[at] = c;
      if (at < 2) text[1 - at] = 'x';
      const auto json = encodeJson(text).value();
      EXPECT_EQ(std::get<std::string>(decodeJson<std::string>(json)), text) << json;
      EXPECT_EQ(json.find_first_of("\n\x1F"), std::string::npos);
    }
  }
}

}  // namespace
}  // namespace corvo::corvo_internal::model
