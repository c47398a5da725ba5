#pragma once

#include <corvo/client_registry.h>
#include <corvo/fakes.h>

#include <memory>

#include "tests/base/case_table.h"

namespace corvo::tests {

/// The sample shop's backend and an application of its, on the fakes.
struct Shop {
  Shop() {
    fake.session->always("config.json", fakes::ok(contentsOf(CORVO_SHOP "/config.json")));
    fake.session->always("geo", fakes::ok(contentsOf(CORVO_SHOP "/geo.json")));
  }

  std::shared_ptr<CorvoClient> client() {
    return registry.initializeClient("shop-token", CorvoUser::Builder().setUserId("ann").build(),
                                     "https://flags.example.com", 300, 2, "shop");
  }

  fakes::FakePlatform fake;
  ClientRegistry registry{fake.platform()};
};

}  // namespace corvo::tests
