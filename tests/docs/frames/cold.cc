// SPDX-License-Identifier: Apache-2.0

// Statements of an application that starts without cached copies; answers take a moment.
#include <corvo/client_registry.h>
#include <corvo/fakes.h>

#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tests/docs/shop.h"

using namespace corvo;

int run() {
  auto shop = std::make_unique<tests::Shop>(0.1);
  auto client = shop->client();
  const std::vector<std::string> flags(20, "new-checkout");
  auto show = [](std::optional<bool>) {};
  auto wait = [&] { shop->fake.time->runUntil([] { return false; }); };
  auto requests = [&] { return shop->fake.session->requests().size(); };
  auto restart = [&] {
    client.reset();
    shop = std::make_unique<tests::Shop>(0.1);
    client = shop->client();
  };
  // block
  return 0;
}
