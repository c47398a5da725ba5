// SPDX-License-Identifier: Apache-2.0

#include <gmock/gmock.h>

#include <cstddef>
#include <optional>
#include <regex>
#include <set>
#include <string>
#include <vector>

#include "platform/system.h"
#include "tests/contract/implementations.h"

namespace corvo {
namespace {

/// Matches the whole text with std::regex, because GoogleTest's own expressions are limited on
/// Windows.
MATCHER_P(Matches, expression, "") { return std::regex_match(arg, std::regex(expression)); }

using testing::Optional;

struct FakeServices {
  static Platform make() { return fakes::FakePlatform().platform(); }
};
struct HostServices {
#ifdef CORVO_TEST_HOST
  static Platform make() { return hostPlatform({.inMemory = true, .applicationVersion = "1.2.3"}); }
#endif
};

template <class Implementation>
class ServicesContract : public testing::Test {
 protected:
  const Platform platform_ = Implementation::make();
};
using ServicesImplementations = tests::Implementations<FakeServices, HostServices>;
TYPED_TEST_SUITE(ServicesContract, ServicesImplementations);

TYPED_TEST(ServicesContract, TheClockCountsSecondsSince1970) {
  const double now = this->platform_.clock->now();
  EXPECT_GT(now, 1'700'000'000);  // 2023
  EXPECT_LT(now, 8'000'000'000);  // 2223
}

TYPED_TEST(ServicesContract, EveryByteIsFilledAndTakesManyValues) {
  std::vector<std::byte> bytes(100);
  std::vector<std::set<std::byte>> seen(bytes.size());
  for (int round = 0; round < 100; ++round) {
    this->platform_.secureRandom->fill(bytes);
    for (std::size_t i = 0; i < bytes.size(); ++i) seen[i].insert(bytes[i]);
  }
  // Of 100 draws from 256 values, about 83 differ; fewer than 32 never occur by chance.
  for (const auto& values : seen) EXPECT_GT(values.size(), 31U);
  this->platform_.secureRandom->fill({});
}

TYPED_TEST(ServicesContract, TheDeviceKeepsToTheFormsPromised) {
  const Device& device = *this->platform_.device;
  const std::optional<std::string> vendor = device.vendorIdentifier();
  EXPECT_THAT(vendor, Optional(Matches("[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-"
                                       "[0-9A-F]{12}")));
  EXPECT_EQ(device.vendorIdentifier(), vendor);
  EXPECT_THAT(device.systemName(), Optional(Matches("[A-Za-z]+")));
  EXPECT_THAT(device.systemVersion(), Optional(Matches("[0-9]+(\\.[0-9]+)*")));
  EXPECT_EQ(device.applicationVersion(), "1.2.3");
}

}  // namespace
}  // namespace corvo
