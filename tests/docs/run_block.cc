// SPDX-License-Identifier: Apache-2.0

// Runs one block of a document: run_block README.md:17. Each block needs its own process, because a
// process has only one registry of clients and one data folder.

#include <gtest/gtest.h>

#include <cstdlib>
#include <exception>
#include <functional>
#include <iostream>
#include <map>
#include <string>

#include "tests/docs/runnable.h"

namespace {

/// By name; each receives this program's arguments.
std::map<std::string, std::function<int(int, char**)>>& blocks() {
  static std::map<std::string, std::function<int(int, char**)>> all;
  return all;
}

}  // namespace

namespace corvo::tests {

Runnable::Runnable(const char* name, int (*block)()) {
  blocks().emplace(name, [block](int, char**) { return block(); });
}

Runnable::Runnable(const char* name, int (*program)(int, char**)) {
  blocks().emplace(name, program);
}

const char* backend() { return std::getenv("CORVO_DOCS_BACKEND"); }

}  // namespace corvo::tests

int main(int argc, char** argv) try {
  testing::InitGoogleTest(&argc, argv);
  if (argc != 2 || !blocks().contains(argv[1])) return 2;
  return blocks().at(argv[1])(1, argv);
} catch (const std::exception& exception) {
  std::cerr << "uncaught: " << exception.what() << '\n';
  return 1;
}
