// SPDX-License-Identifier: Apache-2.0

#include <corvo/fakes.h>
#include <gtest/gtest.h>

#include <limits>
#include <map>
#include <string>
#include <vector>

#include "targeting/context_source.h"
#include "targeting/device_properties.h"

namespace corvo::corvo_internal::targeting {
namespace {

constexpr double kNow = 1'714'564'800;  // 2024-05-01 12:00:00 UTC
constexpr std::int32_t kHour = 3'600;

std::string at(const DeviceProperties& device, std::string_view name) {
  for (const auto& [each, value] : device.list()) {
    if (each.text == name) return value;
  }
  return "(none)";
}

// What a context contains about a user, a device and a location, one after the other.
TEST(ContextSource, AsksUserThenDeviceThenLocation) {
  const fakes::FakeTimeZone zone;
  PropertyNames names;
  const std::uint32_t osName = names.numberOf("os.name");
  const std::uint32_t city = names.numberOf("geo.city");
  const std::uint32_t deviceId = names.numberOf("deviceId");
  const std::uint32_t gone = names.numberOf("gone");
  const std::uint32_t mended = names.numberOf("custom.\uFFFD");
  const std::string past = "2024-05-01 11:59:59";
  const std::string present = "2024-05-01 12:00:00";
  const CorvoUser user{{{"os.name", "tvOS"}, {"geo.city", "Graz"}, {"gone", "1"}, {"other", "2"}},
                       PropertyMap{{"geo.city", past}, {"gone", past}, {"os.name", present}}};
  const PropertyMap location{{"geo.city", "Wien"}, {"deviceId", "x"}, {"os.name", "y"}};
  ContextSource source(zone);
  EXPECT_EQ(source.bare(kNow).find(osName), nullptr);
  source.setNames(names);
  source.setUser(user);
  source.setDevice({.vendorIdentifier = "d", .systemName = "iOS"});
  source.setLocation(location);
  const Context context = source.at(kNow);
  EXPECT_EQ(*context.find(osName), "tvOS");
  EXPECT_EQ(*context.find(city), "Wien");  // an expired one does not hide it
  EXPECT_EQ(*context.find(deviceId), "d");
  EXPECT_EQ(context.find(gone), nullptr);
  EXPECT_EQ(*source.at(kNow + 1).find(osName), "iOS");
  const Context never = source.at(std::numeric_limits<double>::quiet_NaN());
  EXPECT_EQ(*never.find(deviceId), "d");
  EXPECT_EQ(*never.find(gone), "1");
  const LastingProperty properties[] = {{"geo.city", "Linz"},   {"geo.city", "Graz"},
                                        {"userId", ""},         {"custom.\xFF", "\xFF, mended"},
                                        {"custom.\uFFFD", "x"}, {"\xFF", "\xFF"}};
  source.setUser(properties);
  const Context next = source.at(kNow);
  EXPECT_EQ(*next.find(city), "Linz");
  EXPECT_EQ(*next.find(osName), "iOS");
  EXPECT_EQ(next.find(gone), nullptr);
  EXPECT_EQ(*next.find(mended), "\uFFFD, mended");
  EXPECT_EQ(*next.findOwn(model::SplitMode::userId), "");
  EXPECT_EQ(next.findOwn(model::SplitMode::deviceId), nullptr)
      << "the device's identifier is not the user's own";
}

TEST(DeviceProperties, DescribeDeviceAndApplication) {
  const DeviceProperties known({"1.2", "6F96-19FF", "iOS", "17.4.1"});
  const DeviceProperties unknown;
  const std::string expected[][3] = {{"appVersion", "1.2", ""},
                                     {"deviceId", "6F96-19FF", ""},
                                     {"os.name", "iOS", ""},
                                     {"os.version", "17.4.1", "0.0"}};
  for (const auto& [name, text, otherwise] : expected) {
    EXPECT_EQ(at(known, name), text);
    EXPECT_EQ(at(unknown, name), otherwise);
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
  DeviceProperties device;
  const auto expectClock = [&](double now, std::string_view text) {
    device.show(now, zone.identifier(), localTime);
    EXPECT_EQ(at(device, "time"), text);
    EXPECT_EQ(at(device, "date"), text);
  };
  expectClock(kNow, "2024-05-01 12:00");
  expectClock(kNow + 59.999, "2024-05-01 12:00");
  expectClock(kNow + 60, "2024-05-01 12:01");
  zone.change(kHour + 30);  // local minutes need not start when those of UTC do
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
