// SPDX-License-Identifier: Apache-2.0

#include <corvo/explanation.h>
#include <gmock/gmock.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "tests/base/case_table.h"
#include "tests/docs/blocks.h"
#include "tests/tool/backend.h"
#include "tests/tool/transcript.h"

namespace corvo::tool {
namespace {

constexpr const char* kFolder = CORVO_TOOL_CASES "explain";

TEST(Explain, AnswersAsTheTranscriptSays) {
  std::string text = tests::contentsOf(CORVO_TOOL_CASES "explain.txt");
  tests::replaceAll(
      text, "\nDROPPED",
      "\n! warning: config.json:16:5: dropped /feature_flags/3: its platform is \"iOS\""
      "\n! warning: config.json:17:5: dropped /feature_flags/4: expected object, found "
      "number");
  tests::replaceAll(text, "ESC", "\x1b");
  tests::replaceAll(text, "STORE", testing::TempDir() + "corvo_store_" + std::to_string(getpid()));
  const std::size_t count = replay(text, kFolder);
  EXPECT_GT(count, 20U);
}

TEST(Lint, AnswersAsTheTranscriptSays) {
  std::string text = tests::contentsOf(CORVO_TOOL_CASES "lint.txt");
  tests::replaceAll(text, "ESC", "\x1b");
  const std::size_t count = replay(text, kFolder);
  EXPECT_GT(count, 8U);
}

TEST(Explain, IsDocumentedWithExamplesOfEachCode) {
  const std::string document = tests::contentsOf(CORVO_DOCS "explain.md");
  std::string consoles;
  for (const tests::Block& block : tests::blocksOf(document)) {
    if (block.language == "console") consoles += block.text;
  }
  const auto last = static_cast<int>(Explanation::Code::value);
  for (int i = 0; i <= last; ++i) {
    const std::string code(textOf(static_cast<Explanation::Code>(i)));
    EXPECT_THAT(document, testing::HasSubstr("\n| `" + code + "` |"));
    Explanation one;
    one.steps.push_back({.code = static_cast<Explanation::Code>(i)});
    std::string line = one.toText();
    line = line.substr(line.find('\n') + 3);
    line.pop_back();
    EXPECT_THAT(consoles, testing::ContainsRegex("\n[ >] *" + line + "[: ]"));
  }
}

TEST(Explain, AsksABackendAsItReadsAFile) {
  const std::string shop = CORVO_SHOP;
  const std::string files = "--config " + shop + "/config.json --geo " + shop + "/geo.json";
  const std::string question = "explain experiment gold-offer --user-id ann 2>/dev/null ";
  Backend backend(files);
  const std::string url = "--url " + backend.url() + " --timeout 5 ";
  const std::string expected = runCorvo(question + files).out;
  EXPECT_THAT(expected, testing::HasSubstr("targets: does not hold"));
  EXPECT_EQ(runCorvo(question + url + "--token t").out, expected);
  setenv("CORVO_TOKEN", "t", 1);
  EXPECT_EQ(runCorvo(question + url).out, expected);
  setenv("CORVO_URL", "http://127.0.0.1:9", 1);
  EXPECT_EQ(runCorvo(question + files).out, expected) << "options override the environment";
  const Ran refused = runCorvo(question + "2>&1");
  unsetenv("CORVO_URL");
  unsetenv("CORVO_TOKEN");
  EXPECT_EQ(refused.status, 1);
  EXPECT_THAT(refused.out, testing::HasSubstr("the last request failed: "));
}

}  // namespace
}  // namespace corvo::tool
