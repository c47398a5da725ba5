// SPDX-License-Identifier: Apache-2.0

#include "tests/tool/transcript.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <sstream>
#include <vector>

#include "tests/tool/backend.h"

namespace corvo::tool {
std::vector<Exchange> readTranscript(const std::string& text) {
  const std::string command = "$ ";
  std::vector<Exchange> all;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) {
    if (line.starts_with(command)) {
      all.push_back({line.substr(command.size()), "", "", "", 0});
    } else if (line == "<" || line.starts_with("< ")) {
      all.back().in += line.substr(std::min<std::size_t>(2, line.size())) + '\n';
    } else if (line.starts_with("! ")) {
      all.back().err += line.substr(2) + '\n';
      if (!line.starts_with("! warning: ")) all.back().status = 1;
    } else if (line.starts_with("? ")) {
      all.back().status = std::stoi(line.substr(2));
    } else if (!line.empty() && line.front() != '#') {
      all.back().out += line + '\n';
    }
  }
  return all;
}

std::size_t replay(const std::string& text, const std::string& folder) {
  const std::vector<Exchange> transcript = readTranscript(text);
  const std::string given = testing::TempDir() + "corvo_given_" + std::to_string(getpid());
  for (const auto& [command, in, out, err, status] : transcript) {
    std::ofstream(given, std::ios::binary) << in;
    const Ran ran = run(in.empty() ? command : command + " <" + given, folder);
    EXPECT_EQ(ran.out, out) << command;
    EXPECT_EQ(ran.err, err) << command;
    EXPECT_EQ(ran.status, status) << command;
  }
  return transcript.size();
}

}  // namespace corvo::tool
