// SPDX-License-Identifier: Apache-2.0

// Statements of an application whose client has fresh copies, on the fakes.
#include <corvo/corvo.h>
#include <corvo/evaluation.h>
#include <corvo/fakes.h>

#include <array>
#include <cstdint>
#include <iostream>
#include <memory>
#include <optional>
#include <string>

#include "tests/docs/shop.h"

using namespace corvo;

int run() {
  tests::Shop shop;
  [[maybe_unused]] auto& fake = shop.fake;
  [[maybe_unused]] auto& registry = shop.registry;
  [[maybe_unused]] auto client = shop.client();
  (void)client->checkFlag<bool>("new-checkout").get();
  {
    // block
  }
  return 0;
}
