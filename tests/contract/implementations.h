// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/fakes.h>
#include <gtest/gtest.h>

#ifdef CORVO_TEST_HOST
#include <corvo/host.h>
#endif

namespace corvo::tests {

/// The implementations under test: the fake, and the host's if it is built.
#ifdef CORVO_TEST_HOST
template <class Fake, class... Host>
using Implementations = testing::Types<Fake, Host...>;
#else
template <class Fake, class... Host>
using Implementations = testing::Types<Fake>;
#endif

}  // namespace corvo::tests
