// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <string>

namespace corvo::tool {

/// Two files for a backend, in a folder of this process.
class ServedFolder : public testing::Test {
 protected:
  void write(const std::string& name, const std::string& content) const {
    std::ofstream(folder_ + name) << content;
  }
  std::string arguments() const {
    return "--config " + folder_ + "config.json --geo " + folder_ + "geo.json";
  }
  void SetUp() override {
    write("config.json", "{}");
    write("geo.json", R"({"city": "Porto"})");
  }
  void TearDown() override {
    for (const char* name : {"config.json", "geo.json", "errors"})
      std::remove((folder_ + name).c_str());
  }

  std::string folder_ = testing::TempDir() + "corvo_serve_" + std::to_string(getpid()) + "_";
};

}  // namespace corvo::tool
