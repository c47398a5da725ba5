// SPDX-License-Identifier: Apache-2.0

#include <corvo/argument.h>
#include <corvo/callback.h>
#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

namespace corvo {
namespace {

using Count = Callback<void(int)>;

int seen = 0;
void see(int value) { seen = value; }

template <class To, class... Froms>
constexpr bool fromNone = (!std::is_convertible_v<Froms, To> && ...);
constexpr auto kCaptureless = [] {};

// Only null pointers are null, not the number or anything else that compares equal to one.
static_assert(std::is_convertible_v<std::nullptr_t, Count>);
static_assert(fromNone<Count, int, long, bool, void*, void (*)(std::string), const Count&>);
static_assert(std::is_nothrow_move_constructible_v<Count> &&
              std::is_nothrow_move_assignable_v<Count>);
static_assert(std::is_convertible_v<bool, ExactBool>);
static_assert(fromNone<ExactBool, int, const char*, std::nullptr_t, decltype(kCaptureless)>);
static_assert(std::is_convertible_v<int, OptionalIndex> &&
              std::is_convertible_v<std::size_t, OptionalIndex> &&
              std::is_convertible_v<std::optional<short>, OptionalIndex> &&
              std::is_convertible_v<std::nullopt_t, OptionalIndex>);
static_assert(fromNone<OptionalIndex, bool, double, char, char8_t, wchar_t, std::nullptr_t,
                       std::optional<bool>, decltype(kCaptureless)>);
static_assert(std::is_convertible_v<const char*, NonNullText> &&
              std::is_convertible_v<std::string_view, NonNullText> &&
              std::is_convertible_v<std::string&, NonNullText>);
static_assert(fromNone<NonNullText, std::nullptr_t, char, int, std::optional<std::string>>);
static_assert(fromNone<NonNegative, bool, double, char, std::nullptr_t, std::optional<unsigned>>);
static_assert(NonNegative(7).value == 7 && NonNegative(UINT64_MAX).value == UINT64_MAX &&
              NonNegative::checked(7)->value == 7 && !NonNegative::checked(-1));

TEST(OptionalIndex, KeepsWhatItIsGiven) {
  EXPECT_EQ(OptionalIndex().value, std::nullopt);
  EXPECT_EQ(OptionalIndex(std::optional<unsigned>()).value, std::nullopt);
  EXPECT_EQ(OptionalIndex(std::optional<signed char>(-3)).value, -3);
  EXPECT_EQ(OptionalIndex(std::optional<std::uint64_t>(UINT64_MAX)).value, INT64_MAX);
}

TEST(NonNullText, KeepsWhatItIsGiven) {
  EXPECT_EQ(NonNullText(std::string_view("a\0b", 3)).value, std::string("a\0b", 3));
  EXPECT_EQ(NonNullText(static_cast<const char*>(nullptr)).value, "");
}

TEST(Callback, IsNullFromEveryNullTarget) {
  void (*noFunction)(int) = nullptr;
  const std::function<void(int)> empty;
  Count callbacks[]{
      Count(), nullptr, noFunction, empty, std::function<void(long)>(), Callback<void(long)>()};
  for (Count& callback : callbacks) {
    EXPECT_FALSE(callback);
    callback(1);
  }
}

TEST(Callback, TakesEveryKindOfTarget) {
  const std::function<void(int)> function = see;
  auto lambda = [](int value) { see(value); };
  auto owned = std::make_unique<int>(1);
  Count callbacks[]{see,
                    &see,
                    function,
                    lambda,
                    std::ref(lambda),
                    Callback<void(long)>(lambda),
                    [owned = std::move(owned)](int value) { see(value * *owned); },
                    [large = std::array<int, 100>{0, 1}](int value) { see(value * large[1]); }};
  int value = 0;
  for (Count& callback : callbacks) {
    ASSERT_TRUE(callback);
    callback(++value);
    EXPECT_EQ(seen, value);
    EXPECT_FALSE(callback);
  }
  Callback<void(std::string&)> member = &std::string::clear;
  std::string text = "text";
  member(text);
  EXPECT_EQ(text, "");
  Callback<void(std::unique_ptr<int>)> moved = [](std::unique_ptr<int> given) { see(*given); };
  moved(std::make_unique<int>(70));
  EXPECT_EQ(seen, 70);
}

// A target that counts its living instances, in two sizes: one fits inside the callback, one needs
// the heap.
template <class Size>
class CallbackTargets : public testing::Test {
 protected:
  struct Target {
    std::shared_ptr<int> alive;
    std::function<void()> body;
    std::array<char, Size::value> ballast{};

    void operator()() const { body(); }
  };
  Target target(std::function<void()> body) { return {alive_, std::move(body)}; }
  [[nodiscard]] long living() const { return alive_.use_count() - 1; }

 private:
  std::shared_ptr<int> alive_ = std::make_shared<int>();
};
using Sizes = testing::Types<std::integral_constant<std::size_t, 1>,
                             std::integral_constant<std::size_t, 1000>>;
TYPED_TEST_SUITE(CallbackTargets, Sizes);

TYPED_TEST(CallbackTargets, AreCalledOnceAndThenForgottenEvenWhenTheyThrow) {
  Callback<void()> callback = this->target([] { throw std::runtime_error("no"); });
  EXPECT_EQ(this->living(), 1);
  EXPECT_THROW(callback(), std::runtime_error);
  EXPECT_FALSE(callback);
  EXPECT_EQ(this->living(), 0);
  EXPECT_NO_THROW(callback());
}

TYPED_TEST(CallbackTargets, MoveAndDieWithTheirCallback) {
  {
    Callback<void()> first = this->target({});
    Callback<void()> second = std::move(first);
    EXPECT_FALSE(first);  // NOLINT(bugprone-use-after-move)
    EXPECT_TRUE(second);
    first = std::move(second);
    Callback<void()>& self = first;
    first = std::move(self);
    EXPECT_TRUE(first);
    EXPECT_EQ(this->living(), 1);
  }
  EXPECT_EQ(this->living(), 0);
}

TYPED_TEST(CallbackTargets, MayDestroyOrReplaceTheCallbackThatHoldsThem) {
  std::optional<Callback<void()>> holder;
  int calls = 0;
  const auto next = [&] { ++calls; };
  holder.emplace(this->target([&] { holder.reset(), ++calls; }));
  (*holder)();
  holder.emplace(this->target([&] { *holder = next; }));
  (*holder)();
  ASSERT_TRUE(*holder);
  (*holder)();
  EXPECT_EQ(calls, 2);
  EXPECT_EQ(this->living(), 0);
}

TYPED_TEST(CallbackTargets, MayOwnTheCallbackThatReplacesThem) {
  auto chain = std::make_shared<Callback<void()>>(this->target({}));
  Callback<void()>& next = *chain;
  Callback<void()> callback = this->target([kept = std::move(chain)] {});
  callback = std::move(next);
  EXPECT_TRUE(callback);
  EXPECT_EQ(this->living(), 1);
}

}  // namespace
}  // namespace corvo
