// SPDX-License-Identifier: Apache-2.0

// Declarations outside of functions; they only need to compile.
#include <corvo/corvo.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

// block

int run() { return 0; }
