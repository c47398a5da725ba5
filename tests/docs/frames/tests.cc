// SPDX-License-Identifier: Apache-2.0

// Tests, which also run.
#include <corvo/corvo.h>
#include <corvo/evaluation.h>
#include <corvo/fakes.h>
#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>

using namespace corvo;

// block

int run() { return RUN_ALL_TESTS(); }
