// SPDX-License-Identifier: Apache-2.0

#include "bench/project.h"

#include <corvo/user_builder.h>

#include <algorithm>
#include <cstdio>
#include <random>

namespace corvo::bench {
namespace {

constexpr const char* kAlways =
    R"({"is_default": true, "value": "true", "conditional_statement": "-", "conditions": []})";

std::string numbered(const char* format, std::size_t number) {
  char text[64];
  std::snprintf(text, sizeof text, format, number);
  return text;
}

std::string condition(const std::string& name, const std::string& sign, const std::string& values) {
  return R"({"name": ")" + name + R"(", "condition_sign": ")" + sign + R"(", "value": )" + values +
         "}";
}

std::string flag(const std::string& name, const std::string& rules,
                 const std::string& groups = "[]") {
  return R"({"id": "6f1d2c", "project_id": 7, "name": ")" + name +
         R"(", "type": "boolean", "is_private": false, "platform": "all", "rules": [)" + rules +
         R"(], "groups": )" + groups + "}";
}

std::string rule(const std::string& conditions) {
  return R"({"is_default": false, "value": "true", "conditional_statement": "AND", "conditions": [)" +
         conditions + "]}";
}

std::string experiment(const std::string& flagName, const std::string& layer) {
  const std::string group = R"([{"group": "control", "rules": [)" + std::string(kAlways) +
                            R"(]}, {"group": "treatment", "rules": [)" + kAlways + "]}]";
  return R"({"name": "experiment-of-)" + flagName + R"(", "salt": "salt-of-)" + flagName +
         R"(", "allocation": 1, )" + layer +
         R"("groups": [{"name": "control", "weight": 0.5}, {"name": "treatment", "weight": 0.5}],
            "type": 1, "feature_flags": [)" +
         flag(flagName, "", group) + "]}";
}

constexpr const char* kNoLayer = "";
constexpr const char* kLayer =
    R"("layer_id": "onboarding", "layer_bounds": [{"lower_bound": 0, "upper_bound": 994}], )";

std::string generatedFlag(std::size_t number) {
  if (number % 10 >= 6) return flag(flagName(number), kAlways);
  return flag(flagName(number),
              rule(condition("custom.plan", "equal", R"("gold")") + ", " +
                   condition("geo.country", "any of", R"(["Portugal", "Spain", "Andorra"])")));
}

std::string joined(const std::vector<std::string>& parts) {
  std::string text;
  for (const std::string& part : parts) text += (text.empty() ? "" : ",\n") + part;
  return text;
}

std::string document(const std::vector<std::string>& flags,
                     const std::vector<std::string>& experiments) {
  return R"({"feature_flags": [)" + joined(flags) + R"(], "experiments": [)" + joined(experiments) +
         "]}";
}

}  // namespace

std::string flagName(std::size_t number) { return numbered("feature-%04zu", number); }

std::vector<std::string> shuffledRuleFlags(std::size_t flagCount) {
  std::vector<std::string> names;
  for (std::size_t i = 0; i < flagCount; ++i) {
    if (i % 10 < 6) names.push_back(flagName(i));
  }
  std::shuffle(names.begin(), names.end(), std::mt19937(1));
  return names;
}

std::string projectJson(std::size_t flagCount) {
  std::vector<std::string> flags;
  std::vector<std::string> experiments;
  for (std::size_t i = 0; i < flagCount; ++i) {
    flags.push_back(generatedFlag(i));
    if (i % 10 >= 6 && i % 10 <= 8) experiments.push_back(experiment(flagName(i), kNoLayer));
  }
  flags.push_back(flag(kDateFlag, rule(condition("custom.plan", "equal", R"("gold")") + ", " +
                                       condition("date", "after time", R"("2024-05-01 12:00")"))));
  experiments.push_back(experiment(kLayeredFlag, kLayer));
  return document(flags, experiments);
}

std::string experimentsJson(std::size_t experimentCount) {
  std::vector<std::string> experiments;
  for (std::size_t i = 0; i < experimentCount; ++i) {
    experiments.push_back(experiment(flagName(i), kNoLayer));
  }
  return document({}, experiments);
}

const std::string& largeDocument() {
  static const std::string json = projectJson(1'450);
  return json;
}

std::string locationJson() {
  return R"({"country": "Portugal", "code": "PT", "state": "Lisboa", "city": "Lisboa",
             "continent": "Europe", "timezone": "Europe/Lisbon", "currency": "EUR",
             "language": "pt", "latitude": "38.7", "longitude": "-9.1", "postal": "1000-001",
             "network": "mobile"})";
}

CorvoUser user() {
  return CorvoUser::Builder()
      .setUserId("user-8c1b2f04")
      .setProfileId("profile-17")
      .setEmail("ann@shop.example")
      .setAppVersion("2.14.1")
      .setCustomProperty("gold", "plan")
      .setCustomProperty("150", "basket")
      .setCustomProperty("7", "orders")
      .setCustomProperty("2024-03-01 10:00", "joined")
      .setCustomProperty("mobile", "channel")
      .setCustomProperty("3", "visits")
      .build();
}

}  // namespace corvo::bench
