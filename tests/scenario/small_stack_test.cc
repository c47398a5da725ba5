// SPDX-License-Identifier: Apache-2.0

#include <corvo/client_registry.h>
#include <corvo/fakes.h>
#include <gtest/gtest.h>
#include <pthread.h>

#include <functional>
#include <string>
#include <string_view>
#include <system_error>

namespace corvo {
namespace {

/// Runs on a thread with a stack of 128 KiB, as on small systems.
void onSmallStack(std::function<void()> work) {
  pthread_attr_t small;
  pthread_attr_init(&small);
  pthread_attr_setstacksize(&small, 128 * 1024);
  pthread_t thread{};
  const int error = pthread_create(
      &thread, &small,
      [](void* job) -> void* {
        (*static_cast<std::function<void()>*>(job))();
        return nullptr;
      },
      &work);
  pthread_attr_destroy(&small);
  if (error != 0) throw std::system_error(error, std::generic_category());
  pthread_join(thread, nullptr);
}

/// An object of 512 levels.
std::string deepest(std::string_view open, std::string_view close, int times) {
  std::string begin = R"({"a":)";
  std::string end;
  for (int i = 0; i < times; ++i) {
    begin += open;
    end += close;
  }
  return begin + "[]" + end + '}';
}
const std::string kDeepest[] = {deepest(R"({"a":)", "}", 510), deepest("[", "]", 510),
                                deepest(R"([{"b":1,"a":)", "}]", 255)};

TEST(SmallStack, IsEnoughForTheDeepestConfigurationAndDictionary) {
  for (const std::string& text : kDeepest) {
    onSmallStack([&text] {
      fakes::FakePlatform fake;
      fake.session->always("geo", fakes::ok("{}"));
      std::string config = fakes::project().flag("f", text).toJson();
      const std::string inside = text.substr(5, text.size() - 6);  // one level is the document's
      config.replace(0, 1, R"({"unknown": )" + inside + ',');
      fake.session->always("config.json", fakes::ok(config));
      ClientRegistry registry(fake.platform());
      const auto client = registry.initializeClient("t", std::nullopt, "https://a", 60, 0, "t");
      const auto dictionary = client->checkFlag<JsonObject>("f").get();
      const FlagReport report = client->getUserFeatureFlagsDetails().get();
      ASSERT_TRUE(dictionary.has_value());
      EXPECT_EQ(report.at("f").index(), 0U);
    });
  }
}

#if defined(NDEBUG) && defined(CORVO_PLAIN_FRAMES)
TEST(SmallStack, IsEnoughForTheDeepestValueWhereOptimised) {
  for (const std::string& text : kDeepest) {
    onSmallStack([&text] {
      const JsonValue value(*fromCorvoString<JsonObject>(text));
      const JsonValue copy(value);
      EXPECT_TRUE(copy == value);
      EXPECT_EQ(copy.toJson().size(), text.size());
    });
  }
}
#endif

}  // namespace
}  // namespace corvo
