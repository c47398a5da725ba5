#include "base/exclusive_access.h"

#include <gtest/gtest.h>

#include <thread>

namespace corvo::corvo_internal::base {
namespace {

template <Noticing noticing>
void expectStops() {
  using Access = ExclusiveAccess<noticing>;
  Access access("for one thread at a time");
  const auto another = [&](auto&& use) { std::thread(use).join(); };
  const auto take = [&] { typename Access::Scope scope(access); };

  typename Access::Scope outer(access);
  take();
  EXPECT_DEATH(another(take), "Corvo: for one thread at a time") << "kept after an inner scope";
  outer.release();
  outer.release();
  another(take);
  typename Access::Scope again(access);
  EXPECT_DEATH(another(take), "Corvo: for one thread at a time");
}

TEST(ExclusiveAccessDeathTest, BelongsToOneThreadUntilItGivesItUp) {
  expectStops<Noticing::practicallyAlways>();
  expectStops<Noticing::always>();
}

}  // namespace
}  // namespace corvo::corvo_internal::base
