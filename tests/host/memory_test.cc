#include <corvo/host.h>
#include <gtest/gtest.h>
#include <stdlib.h>

#include <cstdlib>
#include <functional>
#include <new>
#include <string>
#include <utility>

#include "tests/host/loopback_server.h"

namespace {

thread_local int allocationsLeft = -1;  // of this thread, until one fails; negative: for ever

}  // namespace

void* operator new(std::size_t size) {
  const bool fails = allocationsLeft >= 0 && --allocationsLeft < 0;
  if (void* const memory = fails ? nullptr : std::malloc(size)) return memory;
  throw std::bad_alloc();
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }

namespace corvo {
namespace {

using tests::answer;

TEST(TransferMemoryTest, AnOrderThatWasTakenIsAnsweredOnceWhicheverAllocationFails) {
  setenv("no_proxy", "127.0.0.1,localhost", 1);
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

  int nth = 0;
  for (bool isWhole = false; !isWhole; ++nth) {
    UrlRequest first = request;
    UrlRequest second = request;
    int orders = answers = failures = 0;
    allocationsLeft = nth;
    try {
      start(std::move(first));
      ++orders;
      start(std::move(second));
      ++orders;
    } catch (const std::bad_alloc&) {  // so this one was not taken
    }
    EXPECT_TRUE(host.loop->runUntil(isIdle));
    isWhole = std::exchange(allocationsLeft, -1) >= 0;
    EXPECT_EQ(answers, orders) << nth;
    EXPECT_EQ(failures, isWhole || orders < 2 ? 0 : 1) << nth;
  }
  EXPECT_GT(nth, 10);
}

}  // namespace
}  // namespace corvo
