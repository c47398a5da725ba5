// SPDX-License-Identifier: Apache-2.0

// Statements of an application that has a client on the ready-made platform.
#include <corvo/corvo.h>

#include <chrono>
#include <cstdint>
#include <iostream>
#include <optional>
#include <thread>

#include "tests/docs/runnable.h"

using namespace corvo;

int run() {
  auto client = Corvo::initializeClient({.projectToken = "t", .apiURL = tests::backend()});
  // block
  return 0;
}
