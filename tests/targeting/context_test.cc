#include "targeting/context.h"

#include <corvo/fakes.h>
#include <gtest/gtest.h>

#include <limits>
#include <map>
#include <string>

#include "targeting/device_properties.h"

namespace corvo::corvo_internal::targeting {
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
}  // namespace corvo::corvo_internal::targeting
