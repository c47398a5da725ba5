// SPDX-License-Identifier: Apache-2.0

#include <corvo/evaluation.h>
#include <corvo/fakes.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

#include "tests/base/case_table.h"
#include "tests/tool/backend.h"
#include "tests/tool/transcript.h"

namespace corvo::tool {
namespace {

constexpr const char* kFolder = CORVO_TOOL_CASES "assign";
constexpr double kNoon = 1'714'564'800;
constexpr std::size_t kLongest = std::size_t{16} << 20;

std::string inFile(const std::string& content) {
  const std::string file = testing::TempDir() + "corvo_users_" + std::to_string(getpid());
  std::ofstream(file, std::ios::binary) << content;
  return " <" + file;
}

std::string quoted(const std::string& text) { return JsonValue(text).toJson(); }

std::string list(std::string elements) {
  if (!elements.empty()) elements.pop_back();
  return elements;
}

/// The answer about a user, built from the questions that a client has.
std::string answerOf(Evaluation about, const Project& project, std::size_t id) {
  std::string flags;
  const FlagReport values = about.getUserFeatureFlagsDetails().value();
  for (const Project::Flag& flag : project.flags()) {
    const auto value = values.find(flag.name);
    if (value == values.end()) continue;
    const auto toJson = [](const auto& typed) { return JsonValue(typed).toJson(); };
    flags += quoted(flag.name) + ":" + std::visit(toJson, value->second) + ",";
  }
  std::string experiments, holdouts, holdoutText;
  const auto handles = about.getAllUserExperiments().value();
  const auto details = about.getUserExperimentsDetails().value();
  for (std::size_t i = 0; i < handles.size(); ++i) {
    const std::string index = std::to_string(*handles[i]->groupIndex());
    const std::string name = handles[i]->name();
    const bool isHoldout = details[i].type == "holdout";
    if (isHoldout) holdoutText += (holdoutText.empty() ? "" : "|") + name + "." + index;
    (isHoldout ? holdouts : experiments) +=
        "{\"name\":" + quoted(name) + ",\"groupIndex\":" + index +
        ",\"groupName\":" + quoted(*handles[i]->userGroupName()) + "},";
  }
  EXPECT_EQ(holdoutText, about.getAllUserHoldouts().value().value_or(""));
  return "{\"id\":" + std::to_string(id) + ",\"flags\":{" + list(flags) + "},\"experiments\":[" +
         list(experiments) + "],\"holdouts\":[" + list(holdouts) + "]}\n";
}

TEST(Assign, AnswersAsTheTranscriptSays) {
  std::string text = tests::contentsOf(CORVO_TOOL_CASES "assign.txt");
  tests::replaceAll(text, "CR\n", "\r\n");
  const std::size_t count = replay(text, kFolder);
  EXPECT_EQ(count, 9U);
}

TEST(Assign, AgreesWithTheEngineInTheOrderOfTheLines) {
  const Project shop =
      Project::decode(tests::contentsOf(CORVO_SHOP "/config.json"), Project::Filter::client)
          .value();
  std::string lines, expected;
  for (std::size_t i = 0; i < 5'000; ++i) {
    const std::string number = std::to_string(i);
    CorvoUser user{{{"userId", "user-" + number},
                    {"custom.plan", i % 2 == 0 ? "gold" : "free"},
                    {"custom.basket", number},
                    {"email", "ann" + number + "@shop.example"},
                    {"profileId", "profile-" + number}},
                   PropertyMap()};
    JsonObject texts, line{{"id", static_cast<std::int64_t>(i)}};
    for (const auto& [name, value] : user.properties) {
      texts.emplace(name, value);
      const bool isOver = i % 3 == 0 && name == "custom.plan";
      user.corvoExpiration->emplace(name, isOver ? "2024-05-01 11:59:59" : "2024-05-01 12:00:00");
    }
    line.emplace("properties", std::exchange(texts, {}));
    for (const auto& [name, value] : *user.corvoExpiration) texts.emplace(name, value);
    if (i % 3 == 0) line.emplace("corvoExpiration", std::exchange(texts, {}));
    EvaluationContext context{
        .user = &user,
        .now = kNoon,
        .timeZone = std::make_shared<fakes::FakeTimeZone>(i % 7 == 0 ? "Europe/Lisbon" : "UTC")};
    if (i % 7 == 0) line.emplace("zone", "Europe/Lisbon");
    if (i % 7 == 0) context.now = kNoon - 3'600;
    if (i % 7 == 0) line.emplace("now", "2024-05-01T12:00:00");
    context.location.emplace(i % 2 == 0 ? "code" : "city", i % 2 == 0 ? "PT" : "Faro");
    if (i % 2 == 0) line.emplace("geo", JsonObject{{"code", "PT"}});
    context.device.vendorIdentifier = "device-" + number;
    line.emplace("device", JsonObject{{"deviceId", "device-" + number}});
    lines += JsonValue(std::move(line)).toJson() + '\n';
    expected += answerOf(shop.evaluate(context), shop, i);
  }
  const std::string geo = testing::TempDir() + "corvo_geo_" + std::to_string(getpid());
  std::ofstream(geo) << R"({"city": "Faro"})";
  for (const char* jobs : {"1", "2", "7"}) {
    const Ran ran = runCorvo("assign --config " CORVO_SHOP "/config.json --now 1714564800 --geo " +
                             geo + " --jobs " + jobs + inFile(lines));
    EXPECT_TRUE(ran.out == expected) << jobs;
    EXPECT_EQ(ran.err, "");
  }
}

TEST(Assign, SkipsALineThatIsTooLong) {
  const auto line = [](std::size_t id, std::size_t size) {
    const std::string text = "{\"id\":" + std::to_string(id) + "}";
    return text + std::string(size - text.size(), ' ');
  };
  const auto answer = [](std::size_t id) {
    return "{\"id\":" + std::to_string(id) +
           ",\"flags\":{\"yes\":true},\"experiments\":[],\"holdouts\":[]}\n";
  };
  const auto tooLong = [](std::size_t number) {
    return R"({"id":null,"error":{"code":"line-too-long","message":"line )" +
           std::to_string(number) + R"(, column 1: longer than 16 MiB"}})" + "\n";
  };
  const Ran ran = runCorvo(
      "assign --config config.json --flag yes" +
          inFile(line(1, 20) + "\n" + line(2, kLongest + 1) + "\n" + line(3, kLongest) + "\r\n" +
                 line(4, 3 * kLongest) + "\n" + line(5, 20) + "\n" + line(6, kLongest + 1)),
      kFolder);
  EXPECT_TRUE(ran.out == answer(1) + tooLong(2) + answer(3) + tooLong(4) + answer(5) + tooLong(6));
  EXPECT_EQ(ran.err, "3 of 6 lines are invalid: their answers say why\n");
  EXPECT_EQ(ran.status, 1);
  const std::string last = inFile(line(1, kLongest) + "\r");
  EXPECT_EQ(runCorvo("assign --config config.json --flag yes" + last, kFolder).out, answer(1));
}

TEST(Assign, AnswersAllThatItHasBeforeItWaits) {
  const std::string pipe = testing::TempDir() + "corvo_pipe_" + std::to_string(getpid());
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  const std::string command =
      CORVO_COMMAND " assign --flag yes --config " + std::string(kFolder) + "/config.json <" + pipe;
  alarm(60);  // instead of waiting forever
  FILE* const answers = popen(command.c_str(), "r");
  FILE* const users = std::fopen(pipe.c_str(), "w");
  // The input, and the number of lines answered after it.
  const std::pair<const char*, int> steps[] = {
      {"{\"id\":1}\n", 1}, {"{\"id\":2}\n\n{\"id\":", 2}, {"4}\r\n{\"id\":5}\n{", 2}, {"}", 0}};
  std::string all;
  std::array<char, 256> line{};
  for (const auto& [given, answered] : steps) {
    std::fputs(given, users);
    std::fflush(users);
    for (int i = 0; i < answered; ++i) all += std::fgets(line.data(), line.size(), answers);
  }
  std::fclose(users);
  while (std::fgets(line.data(), line.size(), answers)) all += line.data();
  EXPECT_EQ(WEXITSTATUS(pclose(answers)), 1) << "one line was empty";
  alarm(0);
  unlink(pipe.c_str());
  EXPECT_THAT(all, testing::MatchesRegex(
                       ".*:1,[^\n]*\n.*:2,[^\n]*\n.*empty-line[^\n]*\n.*:4,[^\n]*\n.*:5,[^\n]*\n"
                       ".*:null,\"flags\":.*\n"));
}

TEST(Assign, EndsIfItCannotReadOrWrite) {
  const std::string command = "assign --config config.json ";
  const Ran unreadable = runCorvo(command + " <.", kFolder);
  EXPECT_EQ(unreadable.err, "cannot read standard input: Is a directory\n");
  EXPECT_EQ(unreadable.status, 1);
  std::string many;
  for (int i = 0; i < 20'000; ++i) many += "{}\n";
  const Ran satisfied = runCorvo(command + inFile(many) + " | head -n 2", kFolder);
  EXPECT_EQ(std::ranges::count(satisfied.out, '\n'), 2);
  EXPECT_EQ(satisfied.err, "");
}

TEST(Assign, RefusesAProjectThatWouldAbortAClient) {
  const Ran inverted = runCorvo("assign --config ../explain/inverted.json </dev/null", kFolder);
  EXPECT_EQ(inverted.status, 1);
  EXPECT_THAT(inverted.err, testing::EndsWith("[inverted-bounds]\n"));
}

}  // namespace
}  // namespace corvo::tool
