// SPDX-License-Identifier: Apache-2.0

#include <corvo/evaluation.h>
#include <corvo/json_value.h>
#include <corvo/project.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdio>
#include <fstream>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "zones/named_zone.h"

// The other half of bench.js: the same work on this machine. Prints microseconds per user.

namespace {

using namespace corvo;

std::string contentsOf(const char* file) {
  return (std::ostringstream() << std::ifstream(file, std::ios::binary).rdbuf()).str();
}

std::optional<std::string> textAt(const JsonValue& object, const char* name) {
  const JsonValue* member = object.find(name);
  return member == nullptr ? std::nullopt : std::optional(*member->as<std::string>());
}

struct User {
  std::vector<std::pair<std::string, std::string>> texts;
  std::vector<EvaluationContext::Property> properties;
  EvaluationContext context;
};

std::vector<std::unique_ptr<User>> usersOf(const JsonObject& document) {
  const auto zone = corvo_internal::zones::namedZone("Europe/Berlin");
  std::vector<std::unique_ptr<User>> users;
  for (const JsonValue& each : *document.at("users").as<JsonArray>()) {
    auto& user = *users.emplace_back(std::make_unique<User>());
    for (const auto& [name, value] : *each.find("properties")->as<JsonObject>()) {
      user.texts.emplace_back(name, *value.as<std::string>());
    }
    for (const auto& [name, value] : user.texts) user.properties.emplace_back(name, value);
    for (const auto& [name, value] : *each.find("geo")->as<JsonObject>()) {
      user.context.location.emplace(name, *value.as<std::string>());
    }
    const JsonValue& device = *each.find("device");
    user.context.device = {textAt(device, "appVersion"), textAt(device, "deviceId"),
                           textAt(device, "systemName"), textAt(device, "systemVersion")};
    user.context.now = each.find("now")->asNumber();
    user.context.properties = user.properties;
    user.context.timeZone = zone;
  }
  return users;
}

std::vector<std::size_t> positionsTo(std::size_t count) {
  std::vector<std::size_t> positions(count);
  for (std::size_t i = 0; i < count; ++i) positions[i] = i;
  return positions;
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 3) return 2;
  const auto project = Project::decode(contentsOf(arguments[1])).value();
  const auto users = usersOf(*fromCorvoString<JsonObject>(contentsOf(arguments[2])));
  const auto flags = positionsTo(project.flags().size());
  const auto experiments = positionsTo(project.experiments().size() + project.holdouts().size());
  Evaluation evaluation = project.evaluate({});
  double best = 1e9;
  std::size_t answers = 0;
  for (int round = 0; round < 7; ++round) {
    const auto start = std::chrono::steady_clock::now();
    answers = 0;
    for (const auto& user : users) {
      evaluation.reset(user->context);
      answers += evaluation.flagTexts(flags).size() + evaluation.memberships(experiments).size();
    }
    const std::chrono::duration<double, std::micro> taken =
        std::chrono::steady_clock::now() - start;
    best = std::min(best, taken.count() / static_cast<double>(users.size()));
  }
  std::printf("%.3f %zu\n", best, answers);
}
