// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/client_registry.h>
#include <corvo/fakes.h>

#include <memory>
#include <string>

#include "tests/base/case_table.h"

namespace corvo::tests {

/// The sample shop's backend and one of its applications, on the fakes.
struct Shop {
  /// The backend delays each answer by this time.
  explicit Shop(double seconds = 0) {
    const auto answer = [&](const char* route, const std::string& file) {
      fake.session->always(route, fakes::after(seconds, fakes::ok(contentsOf(file))));
    };
    answer("config.json", CORVO_SHOP "/config.json");
    answer("geo", CORVO_SHOP "/geo.json");
  }

  std::shared_ptr<CorvoClient> client() {
    return registry.initializeClient("shop-token", CorvoUser::Builder().setUserId("ann").build(),
                                     "https://flags.example.com", 300, 2, "shop");
  }

  fakes::FakePlatform fake;
  ClientRegistry registry{fake.platform()};
};

}  // namespace corvo::tests
