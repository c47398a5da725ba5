// SPDX-License-Identifier: Apache-2.0

// Statements of a coroutine in an application that has a client, on the fakes.
#include "tests/client/coroutine.h"

#include <corvo/corvo.h>
#include <corvo/fakes.h>

#include <cstdint>
#include <iostream>
#include <memory>
#include <optional>
#include <string>

#include "tests/docs/shop.h"

using namespace corvo;

tests::FireAndForget statements([[maybe_unused]] std::shared_ptr<CorvoClient> client) {
  // block
}

int run() {
  tests::Shop shop;
  statements(shop.client());
  shop.fake.time->run();
  return 0;
}
