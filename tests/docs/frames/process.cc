// SPDX-License-Identifier: Apache-2.0

// Statements of a process that has not used the library yet.
#include <corvo/corvo.h>

#include <filesystem>
#include <iostream>
#include <string>
#include <vector>

#include "tests/docs/runnable.h"

using namespace corvo;

int run() {
  // block
  return 0;
}
