// SPDX-License-Identifier: Apache-2.0

#include <corvo/fakes.h>
#include <corvo/user_builder.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace corvo {
namespace {

using Builder = CorvoUser::Builder;

struct Plan {
  int level;
  [[nodiscard]] std::string description() const { return "level " + std::to_string(level); }
};
enum class Colour { red };

class UserBuilder : public testing::Test {
 protected:
  std::shared_ptr<fakes::VirtualTime> time_ = std::make_shared<fakes::VirtualTime>();
  std::shared_ptr<fakes::FakeTimeZone> zone_ = std::make_shared<fakes::FakeTimeZone>();
  Builder builder_{time_, zone_};
};

TEST_F(UserBuilder, SetsAndRemovesTheWellKnownProperties) {
  const std::map<std::string, Builder& (Builder::*)(OptionalText)> setters{
      {"userId", &Builder::setUserId},      {"profileId", &Builder::setProfileId},
      {"deviceId", &Builder::setDeviceId},  {"appVersion", &Builder::setAppVersion},
      {"os.name", &Builder::setOsName},     {"os.version", &Builder::setOsVersion},
      {"geo.code", &Builder::setGeoCode},   {"geo.country", &Builder::setGeoCountry},
      {"geo.state", &Builder::setGeoState}, {"geo.city", &Builder::setGeoCity},
      {"email", &Builder::setEmail}};
  for (const auto& [key, setter] : setters) {
    const CorvoUser set = (builder_.*setter)("text").build();
    EXPECT_EQ(set, (CorvoUser{{{key, "text"}}, PropertyMap{{key, "2024-05-02 12:00:00"}}}));
    const CorvoUser removed = (builder_.*setter)(std::nullopt).build();
    EXPECT_EQ(removed, (CorvoUser{{}, PropertyMap{}}));
  }
}

TEST_F(UserBuilder, TakesTextsOfAnyKind) {
  const char* const null = nullptr;
  const std::optional<std::string> absent;
  const std::string kept = "kept";
  builder_.setUserId(kept).setEmail(std::optional<std::string>("e")).setGeoCity("").setOsName("x");
  builder_.setGeoCode(std::string_view("AT").substr(0, 1)).setProfileId("a\xff\xf0\x9f!");
  EXPECT_EQ(builder_.properties, (PropertyMap{{"userId", "kept"},
                                              {"email", "e"},
                                              {"geo.city", ""},
                                              {"os.name", "x"},
                                              {"geo.code", "A"},
                                              {"profileId", "a\uFFFD\uFFFD!"}}));
  builder_.setUserId(null).setEmail(absent).setGeoCity(std::optional<const char*>(null));
  EXPECT_EQ(builder_.properties.size(), 3U);
  EXPECT_EQ(builder_.corvoExpiration.size(), 3U);
}

TEST_F(UserBuilder, StampsADayAheadInLocalTime) {
  builder_.setUserId("u");
  time_->set(1'714'564'800.75 + 3'600);
  zone_->change(-3'600);
  builder_.setEmail("e");
  EXPECT_EQ(builder_.corvoExpiration.at("userId"), "2024-05-02 12:00:00");
  EXPECT_EQ(builder_.corvoExpiration.at("email"), "2024-05-02 12:00:00");
  zone_->change(3'600, {{1'711'846'800, 7'200}});
  time_->set(1'711'796'400);  // 14 hours earlier: that local day has 23 hours
  EXPECT_EQ(builder_.setUserId("u").corvoExpiration.at("userId"), "2024-03-31 13:00:00");
  zone_->change(-3'600);
  time_->set(-0.5);
  EXPECT_EQ(builder_.setUserId("u").corvoExpiration.at("userId"), "1970-01-01 22:59:59");
  zone_->change(0);
  EXPECT_EQ(builder_.setUserId("u").corvoExpiration.at("userId"), "1970-01-01 23:59:59");
  time_->set(0.5);
  EXPECT_EQ(builder_.setUserId("u").corvoExpiration.at("userId"), "1970-01-02 00:00:00");
  time_->set(std::numeric_limits<double>::infinity());
  builder_.setUserId("u");
}

TEST_F(UserBuilder, DescribesCustomValues) {
  const auto text = [&](const auto& value) {
    return builder_.setCustomProperty(value, "k").properties.at("custom.k");
  };
  EXPECT_EQ(text("gold"), "gold");
  EXPECT_EQ(text("\xc3"), "\uFFFD");
  EXPECT_EQ(text(true), "true");
  EXPECT_EQ(text(false), "false");
  EXPECT_EQ(text(42), "42");
  EXPECT_EQ(text(std::uint8_t{200}), "200");
  EXPECT_EQ(text(std::int8_t{-5}), "-5");
  EXPECT_EQ(text(std::numeric_limits<std::int64_t>::min()), "-9223372036854775808");
  EXPECT_EQ(text(std::numeric_limits<std::uint64_t>::max()), "18446744073709551615");
  EXPECT_EQ(text(42.0), "42.0");
  EXPECT_EQ(text(0.1F), "0.1");
  EXPECT_EQ(text(1e16L), "1e+16");
  EXPECT_EQ(text(Plan{3}), "level 3");
  EXPECT_EQ(text(std::optional<bool>(false)), "false");
  EXPECT_EQ(text(std::optional<std::optional<int>>(7)), "7");
  EXPECT_EQ(builder_.corvoExpiration.count("custom.k"), 1U);
}

TEST_F(UserBuilder, RemovesCustomPropertiesByAnyAbsentValue) {
  const auto isRemovedBy = [&](const auto& value) {
    builder_.setCustomProperty("x", "k").setCustomProperty(value, "k");
    return builder_.properties.empty() && builder_.corvoExpiration.empty();
  };
  EXPECT_TRUE(isRemovedBy(std::nullopt));
  EXPECT_TRUE(isRemovedBy(std::optional<int>()));
  EXPECT_TRUE(isRemovedBy(std::optional<std::string>()));
  EXPECT_TRUE(isRemovedBy(std::optional<std::optional<Plan>>(std::optional<Plan>())));
  EXPECT_TRUE(isRemovedBy(static_cast<const char*>(nullptr)));
  EXPECT_TRUE(builder_.setCustomProperty("x", "\xff").properties.contains("custom.\uFFFD"));
}

template <class V>
constexpr bool isCustom = requires(Builder& builder, V value) {
  builder.setCustomProperty(value, "k");
};
template <class V>
constexpr bool isSetting = requires(Builder& builder, V value) {
  builder.setEmail(value);
};

// Values that could only be stored by accident do not compile.
static_assert(!isCustom<std::nullptr_t> && !isSetting<std::nullptr_t>);
static_assert(!isCustom<char> && !isCustom<char32_t> && !isCustom<const int*>);
static_assert(!isCustom<Colour> && !isCustom<std::optional<Colour>> && !isCustom<std::vector<int>>);
static_assert(!isSetting<int> && !isSetting<bool> && !isSetting<std::optional<int>>);

}  // namespace
}  // namespace corvo
