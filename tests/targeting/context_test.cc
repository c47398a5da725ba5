#include "targeting/context.h"

#include <corvo/fakes.h>
#include <gtest/gtest.h>

#include <limits>
#include <map>
#include <string>

#include "targeting/device_properties.h"

namespace corvo::targeting {
namespace {

constexpr double kNow = 1'714'564'800;  // 2024-05-01 12:00:00 UTC
constexpr std::int32_t kHour = 3'600;

std::string at(const PropertyLayer& layer, std::string_view name, double now = kNow) {
  const PropertyLayer::Property* property = layer.find(name);
  return property != nullptr && property->countsAt(now) ? property->value : "(none)";
}

TEST(PropertyLayer, FindsEachOfManyByItsExactName) {
  PropertyLayer layer;
  EXPECT_EQ(at(layer, "0"), "(none)");
  for (int i = 0; i < 1'000; ++i) layer.put(std::to_string(i), "old", i);
  for (int i = 0; i < 1'000; ++i) layer.put(std::to_string(i), std::to_string(2 * i));
  for (int i = 0; i < 1'000; ++i) EXPECT_EQ(at(layer, std::to_string(i)), std::to_string(2 * i));
  layer.put("Name", "1");
  EXPECT_EQ(at(layer, "name"), "(none)");
  layer.put("cafe\u0301", "2");
  EXPECT_EQ(at(layer, "caf\u00e9"), "(none)");
}

TEST(UserLayer, KeepsWhatHasNotExpired) {
  const fakes::FakeTimeZone zone(2 * kHour);  // noon in UTC is 14:00
  const LocalTime localTime(zone);
  struct Case {
    std::optional<std::string> expiry;
    std::string expected;
  };
  const Case cases[] = {{"2024-05-01 14:00:00", "value"},  {"2024-05-01 13:59:59", "(none)"},
                        {"2024-05-01 23:59:60", "(none)"}, {"2030-02-30 00:00:00", "(none)"},
                        {"2030-01-01 00:00", "(none)"},    {"", "(none)"},
                        {std::nullopt, "(none)"}};
  for (const auto& [expiry, expected] : cases) {
    CorvoUser user{{{"name", "value"}}, PropertyMap{{"other", "2030-01-01 00:00:00"}}};
    if (expiry) (*user.corvoExpiration)["name"] = *expiry;
    const PropertyLayer layer = userLayer(user, localTime);
    EXPECT_EQ(at(layer, "name"), expected) << expiry.value_or("unstamped");
    EXPECT_EQ(at(layer, "name", kNow + 0.001), "(none)");
    EXPECT_EQ(at(layer, "other"), "(none)");
  }
  EXPECT_EQ(at(userLayer({{{"name", "value"}}, std::nullopt}, localTime), "name"), "(none)");
}

TEST(UserLayer, ReadsExpiriesByTheChangesOfTheClocks) {
  const std::int64_t spring = 1'711'846'800;  // 02:00 becomes 03:00
  const std::int64_t autumn = 1'729'990'800;  // 03:00 becomes 02:00
  const fakes::FakeTimeZone zone(kHour, {{spring, 2 * kHour}, {autumn, kHour}});
  const LocalTime localTime(zone);
  const auto last = [&](const std::string& expiry, std::int64_t moment) {
    const PropertyLayer layer = userLayer({{{"n", "v"}}, PropertyMap{{"n", expiry}}}, localTime);
    const auto now = static_cast<double>(moment);
    return at(layer, "n", now) == "v" && at(layer, "n", now + 1) == "(none)";
  };
  EXPECT_TRUE(last("2024-03-31 01:59:59", spring - 1));
  EXPECT_TRUE(last("2024-03-31 03:00:00", spring));
  EXPECT_TRUE(last("2024-10-27 02:30:00", autumn + 1'800));
  const PropertyMap skipped{{"n", "2024-03-31 02:30:00"}};
  EXPECT_EQ(at(userLayer({{{"n", "v"}}, skipped}, localTime), "n", 0), "(none)");
}

TEST(UserLayer, LetsAPropertyTellTheExpiryOfTheUserId) {
  const fakes::FakeTimeZone zone;
  const LocalTime localTime(zone);
  const std::string past = "2000-01-01 00:00:00";
  const std::string future = "2030-01-01 00:00:00";
  struct Case {
    std::optional<std::string> property;
    std::optional<std::string> stamp;
    bool active;
  };
  const Case cases[] = {
      {{}, future, true}, {{}, past, false},     {{}, {}, false},      {future, past, true},
      {future, {}, true}, {past, future, false}, {"?", future, false}, {"", future, false},
  };
  for (const Case& c : cases) {
    CorvoUser user{{{"userId", "u"}, {"email", "e"}}, PropertyMap{{"email", past}}};
    if (c.property) user.properties["corvoExpiration"] = *c.property;
    if (c.stamp) (*user.corvoExpiration)["userId"] = *c.stamp;
    const PropertyLayer layer = userLayer(user, localTime);
    const Context context{.user = &layer, .now = kNow, .localTime = localTime};
    EXPECT_EQ(context.findOwn("userId") != nullptr, c.active) << &c - cases;
    EXPECT_EQ(context.findOwn("email"), nullptr) << &c - cases;
  }
}

TEST(Context, AsksUserThenDeviceThenLocation) {
  const fakes::FakeTimeZone zone;
  const LocalTime localTime(zone);
  PropertyLayer user;
  user.put("os.name", "tvOS", kNow);
  user.put("geo.city", "Graz", kNow - 1);
  user.put("gone", "1", kNow - 1);
  const PropertyLayer device = lastingLayer({{"os.name", "iOS"}, {"deviceId", "d"}});
  const PropertyLayer location =
      lastingLayer({{"geo.city", "Wien"}, {"deviceId", "x"}, {"os.name", "y"}});
  PropertyNames names;
  const std::uint32_t osName = names.numberOf("os.name");
  const std::uint32_t city = names.numberOf("geo.city");
  const std::uint32_t deviceId = names.numberOf("deviceId");
  const std::uint32_t gone = names.numberOf("gone");
  EXPECT_EQ(names.numberOf("geo.city"), city);
  const PropertyTable table(names, {&user, &device, &location});
  const Context context{&user, &table, kNow, localTime};
  EXPECT_EQ(*context.find(osName), "tvOS");
  EXPECT_EQ(*context.find(city), "Wien");  // an expired one does not hide it
  EXPECT_EQ(*context.find(deviceId), "d");
  EXPECT_EQ(context.find(gone), nullptr);
  EXPECT_EQ((Context{.localTime = localTime}.find(osName)), nullptr);
  const double noNumber = std::numeric_limits<double>::quiet_NaN();
  EXPECT_EQ(*table.find(deviceId, noNumber), "d");
  EXPECT_EQ(*table.find(gone, noNumber), "1");
  EXPECT_EQ(*table.find(deviceId, -kNever), "d");
}

TEST(DeviceProperties, DescribeDeviceAndApplication) {
  const fakes::FakeTimeZone zone;
  const LocalTime localTime(zone);
  DeviceProperties known({"1.2", "6F96-19FF", "iOS", "17.4.1"});
  DeviceProperties unknown({});
  const std::string expected[][3] = {{"appVersion", "1.2", ""},
                                     {"deviceId", "6F96-19FF", ""},
                                     {"os.name", "iOS", ""},
                                     {"os.version", "17.4.1", "0.0"}};
  for (const auto& [name, text, otherwise] : expected) {
    EXPECT_EQ(at(known.at(kNow, 0, localTime), name), text);
    EXPECT_EQ(at(unknown.at(kNow, 0, localTime), name), otherwise);
  }
}

TEST(DeviceProperties, NormaliseTheSystemVersion) {
  const std::map<std::string, std::string> cases{
      {"16.0", "16.0"},    {"17.0.0", "17.0"},     {"16.4.1", "16.4.1"}, {"17", "17.0"},
      {"", "0.0"},         {"17.4.1.9", "17.4.1"}, {"17.x.2", "17.0.2"}, {"beta", "0.0"},
      {"17..3", "17.0.3"}, {"17.04", "17.4"},      {"17.4.", "17.4"}};
  for (const auto& [version, normalised] : cases) EXPECT_EQ(normalisedVersion(version), normalised);
}

TEST(DeviceProperties, ShowDateAndMinute) {
  fakes::FakeTimeZone zone;
  const LocalTime localTime(zone);
  DeviceProperties device({});
  const auto expectClock = [&](double now, std::string_view text) {
    const PropertyLayer& layer = device.at(now, zone.identifier(), localTime);
    EXPECT_EQ(at(layer, "time"), text);
    EXPECT_EQ(at(layer, "date"), text);
  };
  expectClock(kNow, "2024-05-01 12:00");
  expectClock(kNow + 59.999, "2024-05-01 12:00");
  expectClock(kNow + 60, "2024-05-01 12:01");
  zone.change(kHour + 30);  // local minutes need not begin with those of UTC
  expectClock(kNow + 60, "2024-05-01 13:01");
  expectClock(kNow + 89.9, "2024-05-01 13:01");
  expectClock(kNow + 90, "2024-05-01 13:02");
  expectClock(kNow - 86'400, "2024-04-30 13:00");
  zone.change(0, {{static_cast<std::int64_t>(kNow) + 1, kHour}});
  expectClock(kNow, "2024-05-01 12:00");
  expectClock(kNow + 1, "2024-05-01 13:00");
  expectClock(-1, "1969-12-31 23:59");
  expectClock(std::numeric_limits<double>::quiet_NaN(), "1970-01-01 00:00");
}

}  // namespace
}  // namespace corvo::targeting
