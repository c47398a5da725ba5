// SPDX-License-Identifier: Apache-2.0

#include <corvo/host.h>
#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <functional>
#include <new>
#include <optional>
#include <string>
#include <utility>

#include "tests/cost/allocations.h"
#include "tests/host/loopback_server.h"

namespace corvo {
namespace {

using tests::answer;

TEST(StoreMemoryTest, AChangeIsMadeCompletelyOrNotAtAllWhicheverAllocationFails) {
  const std::string before(99, '1');
  const std::string after(999, '2');
  std::size_t nth = 0;
  for (bool isMade = false; !isMade; ++nth) {
    const auto suite = hostPlatform({.inMemory = true}).preferencesStore->open("s");
    const std::array first{PreferencesChange{"a", before}, PreferencesChange{"b", before}};
    const std::array changes{PreferencesChange{"a", after}, PreferencesChange{"b", std::nullopt},
                             PreferencesChange{"a key of more than a word", after}};
    ASSERT_TRUE(suite->apply(first));
    {
      const tests::FailingAllocation failing(nth);
      isMade = suite->apply(changes);
    }
    EXPECT_EQ(suite->read("a"), isMade ? after : before) << nth;
    EXPECT_EQ(suite->read("b").has_value(), !isMade) << nth;
    EXPECT_EQ(suite->read(changes[2].key).has_value(), isMade) << nth;
    EXPECT_EQ(suite->revision(), isMade ? 2U : 1U) << nth;
  }
  EXPECT_GT(nth, 6U);
}

TEST(TransferMemoryTest, AnAcceptedRequestIsAnsweredOnceWhicheverAllocationFails) {
  tests::LoopbackServer server([](const std::string& head) {
    const std::string place = "Location: /a-longer-address-than-fits-without-an-allocation\r\n";
    return head.find(" / ") < head.size() ? answer(302, "", place)
                                          : answer(200, std::string(99, 'x'));
  });
  const Host host = makeHost({.inMemory = true});
  const UrlRequest request{"GET", server.url("/"), {{"token", std::string(99, 't')}}};
  int answers = 0;
  int failures = 0;
  const auto start = [&](UrlRequest copy) {
    host.platform.urlSession->start(std::move(copy), [&](const UrlResponse& response) {
      ++answers;
      if (response.failure) ++failures;
    });
  };
  const std::function<bool()> isIdle = [&] { return !host.loop->busy(); };

  std::size_t nth = 0;
  for (bool isWhole = false; !isWhole; ++nth) {
    UrlRequest first = request;
    UrlRequest second = request;
    int orders = answers = failures = 0;
    {
      const tests::FailingAllocation failing(nth);
      try {
        start(std::move(first));
        ++orders;
        start(std::move(second));
        ++orders;
      } catch (const std::bad_alloc&) {  // this one was not taken
      }
      host.loop->runUntil(isIdle);
      isWhole = !tests::FailingAllocation::hasFailed();
    }
    EXPECT_FALSE(host.loop->busy());
    EXPECT_EQ(answers, orders) << nth;
    EXPECT_EQ(failures, isWhole || orders < 2 ? 0 : 1) << nth;
  }
  EXPECT_GT(nth, 10U);
}

}  // namespace
}  // namespace corvo
