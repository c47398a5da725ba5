// SPDX-License-Identifier: Apache-2.0

#include <gmock/gmock.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "tests/base/case_table.h"
#include "tests/tool/backend.h"
#include "tests/tool/transcript.h"

namespace corvo::tool {
namespace {

namespace fs = std::filesystem;

using Lines = std::vector<std::string>;

Lines linesOf(const std::string& text) {
  Lines lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

/// The output of `corvo help` for a command.
struct Help {
  explicit Help(const std::string& words) : path(words) {
    const Ran ran = runCorvo("help " + words);
    EXPECT_EQ(ran.status, 0) << ran.err;
    text = ran.out;
    std::string section;
    for (const std::string& line : linesOf(text)) {
      if (!line.empty() && line.front() != ' ') section = line;
      const bool begins = line.size() > 2 && line.starts_with("  ") && line[2] != ' ';
      if (!begins) continue;
      const std::string word = line.substr(2, line.find_first_of(" ,", 2) - 2);
      if (section == "Commands:") commands.push_back(word);
      if (word.starts_with('-')) options.push_back(line.substr(2, line.find("  ", 2) - 2));
      if (section == "Example:") example = line.substr(2);
    }
  }

  std::string path, text, example;
  Lines commands, options;
};

/// The help of the command itself and of all below it.
std::vector<Help> allHelp(const std::string& words = "") {
  std::vector<Help> all{Help(words)};
  for (const std::string& command : Lines(all.front().commands)) {
    for (Help& each : allHelp(words.empty() ? command : words + " " + command)) {
      all.push_back(std::move(each));
    }
  }
  return all;
}

/// A folder with the sample shop's files and some more.
class Manual : public testing::Test {
 protected:
  Manual() {
    fs::copy(CORVO_SHOP, folder_);
    fs::create_directory(folder_ / "a shop");
  }
  ~Manual() override { fs::remove_all(folder_); }

  /// Runs a bash script there.
  Ran bash(const std::string& script) const {
    const std::string file = folder_.string() + ".sh";
    std::ofstream(file) << script;
    return run("bash " + file, folder_);
  }

  const fs::path folder_ =
      fs::path(testing::TempDir()) / ("corvo_manual" + std::to_string(getpid()));
};

TEST(Help, IsAScreenWithAnExample) {
  const auto all = allHelp();
  EXPECT_GT(all.size(), 10U);
  for (const Help& help : all) {
    SCOPED_TRACE(help.path);
    EXPECT_EQ(runCorvo(help.path + " --help").out, help.text);
    EXPECT_THAT(help.options, testing::Contains("-h, --help"));
    EXPECT_NE(help.example, "");
    const Lines lines = linesOf(help.text);
    EXPECT_LE(lines.size(), 55U);
    for (const std::string& line : lines) {
      EXPECT_TRUE(line.size() <= 80 || line == "  " + help.example) << line;
    }
  }
  EXPECT_EQ(runCorvo("help").out, runCorvo("--help").out);
  EXPECT_THAT(Help("serve").options, testing::Contains("--listen ADDRESS:PORT"));
}

TEST_F(Manual, RunsTheExamples) {
  Backend backend{"--config " CORVO_SHOP "/config.json --geo " CORVO_SHOP "/geo.json"};
  std::ofstream(folder_ / "users.jsonl") << R"({"id": 1, "properties": {"userId": "ann"}})" << '\n';
  for (const Help& help : allHelp()) {
    std::string example = help.example;
    tests::replaceAll(example, "http://127.0.0.1:8080", backend.url());
    if (help.path == "serve") example += " --help";  // it would run until stopped
    const Ran ran = bash(example);
    EXPECT_EQ(ran.status, 0) << example << "\n" << ran.err;
    for (const std::string& line : linesOf(ran.err)) {
      EXPECT_THAT(line, testing::ContainsRegex("^warning: .*: dropped ")) << example;
    }
  }
}

TEST_F(Manual, HasAPageForEachCommand) {
  const bool canFormat = std::system("command -v groff >/dev/null") == 0;
  std::string page;
  for (const Help& help : allHelp()) {
    if (help.path.find(' ') == std::string::npos) {  // others are on their parent's page
      const std::string command = "corvo man " + help.path;
      page = bash(command).out;
      tests::replaceAll(page, "\\", "");
      const std::string check = canFormat ? command + " | groff -man -ww -z" : "";
      EXPECT_EQ(bash(check).err, "") << command;
    }
    EXPECT_THAT(page, testing::HasSubstr(help.path.empty() ? "corvo" : "corvo " + help.path));
    EXPECT_THAT(page, testing::HasSubstr(help.example));
    for (const std::string& option : help.options) {
      EXPECT_THAT(page, testing::HasSubstr("\nfB" + option + "fR\n")) << help.path;
    }
    for (const char* variable : {"CORVO_URL", "NO_COLOR"}) {
      const bool uses = page.find(variable[0] == 'C' ? "--url" : "--color") != std::string::npos;
      EXPECT_EQ(page.find(variable) != std::string::npos, uses) << help.path;
    }
  }
}

TEST_F(Manual, CompletesWhatIsTyped) {
  for (const auto& [typed, completions] : tests::caseTable<2>(CORVO_TOOL_CASES "completions.txt")) {
    const Ran ran = bash("set -u\nsource <(corvo completion bash)\nCOMP_WORDS=(" + typed +
                         ")\nCOMP_CWORD=$((${#COMP_WORDS[@]} - 1))\n_corvo\n"
                         "echo $(printf '%s\\n' \"${COMPREPLY[@]}\" | sort)\n");
    EXPECT_EQ(ran.out, completions + "\n") << typed;
    EXPECT_EQ(ran.status, 0) << typed << ran.err;
  }
}

TEST(Usage, IsCorrectedAsTheTranscriptSays) {
  const std::size_t count = replay(tests::contentsOf(CORVO_TOOL_CASES "usage.txt"), CORVO_SHOP);
  EXPECT_GT(count, 20U);
}

TEST(Usage, IsRefusedAsTheTableSays) {
  for (const auto& [arguments] : tests::caseTable<1>(CORVO_TOOL_CASES "refused.txt")) {
    const Ran ran = runCorvo(arguments + " </dev/null", CORVO_TOOL_CASES "explain");
    EXPECT_EQ(ran.status, 2) << arguments << ran.err;
    EXPECT_EQ(ran.out, "") << arguments;
    EXPECT_NE(ran.err, "") << arguments;
  }
}

}  // namespace
}  // namespace corvo::tool
