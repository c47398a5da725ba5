// SPDX-License-Identifier: Apache-2.0

// Declarations of an application's own platform. The last one starts an application on it.
#include <corvo/client_registry.h>

#include <memory>
#include <optional>
#include <string>

// block

int run() {
  startApplication();
  phone::runMainThread();
  return 0;
}
