// SPDX-License-Identifier: Apache-2.0

#include <gmock/gmock.h>
#include <unistd.h>

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
  const std::filesystem::path data = std::filesystem::path(testing::TempDir()) /
                                     ("corvo_loop_examples" + std::to_string(getpid()));
  int count = 0;
  for (const auto& example : std::filesystem::directory_iterator(CORVO_LOOP_EXAMPLES)) {
    // A folder for each run, so that none finds the copies of an earlier one.
    const auto run = [&](const std::string& port) {
      return outputOf("XDG_DATA_HOME=" + (data / std::to_string(++count)).string() + " " +
                      example.path().string() + " http://127.0.0.1:" + port);
    };
    EXPECT_THAT(run(shop.port()), testing::HasSubstr("Welcome")) << example.path();
    EXPECT_THAT(run(closed.port()), testing::HasSubstr("503")) << example.path();
  }
  EXPECT_GE(count, 1);
  std::filesystem::remove_all(data);
}

}  // namespace
}  // namespace corvo::tests
