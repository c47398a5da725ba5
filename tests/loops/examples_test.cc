#include <gmock/gmock.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <string>

#include "tests/base/case_table.h"
#include "tests/host/loopback_server.h"

namespace corvo::tests {
namespace {

/// The complete output of a program.
std::string outputOf(const std::string& command) {
  std::string output;
  std::array<char, 256> line{};
  FILE* const pipe = popen((command + " 2>&1").c_str(), "r");
  while (std::fgets(line.data(), line.size(), pipe) != nullptr) output += line.data();
  pclose(pipe);
  return output;
}

TEST(LoopExamplesTest, PrintTheAnswersOrTheErrors) {
  const std::string config = contentsOf(CORVO_SHOP "config.json");
  LoopbackServer shop([&](const std::string& head) {
    return answer(200, head.starts_with("GET /geo") ? "{}" : config);
  });
  LoopbackServer closed([](const std::string&) { return answer(503, ""); });
  int count = 0;
  for (const auto& example : std::filesystem::directory_iterator(CORVO_LOOP_EXAMPLES)) {
    const std::string program = example.path().string() + " http://127.0.0.1:";
    EXPECT_THAT(outputOf(program + shop.port()), testing::HasSubstr("Welcome")) << program;
    EXPECT_THAT(outputOf(program + closed.port()), testing::HasSubstr("503")) << program;
    ++count;
  }
  EXPECT_GE(count, 1);
}

}  // namespace
}  // namespace corvo::tests
