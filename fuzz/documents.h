#pragma once

#include <cmath>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz/input.h"
#include "model/codec.h"
#include "model/config.h"

namespace corvo::fuzz {

using namespace corvo_internal;

/// Few, so that what is named is often there, and there more than once.
inline constexpr const char* kNames[] = {"a", "b", "c", "d", "\xC3\xA9", ""};
inline constexpr const char* kProperties[] = {
    "userId", "profileId",      "deviceId", "appVersion", "os.version",     "os.name",
    "date",   "custom.e\u0301", "geo.city", "geo.code",   "corvoExpiration"};
inline constexpr const char* kTexts[] = {"a",
                                         "b",
                                         "",
                                         "u-1",
                                         "true",
                                         "FALSE",
                                         "42",
                                         "-7",
                                         "1.5",
                                         "nan",
                                         "0x1p4",
                                         "99999999999999999999",
                                         "{\"k\":1}",
                                         "{\"k\":",
                                         "1.10",
                                         "17.4.1",
                                         "1..2",
                                         "x1",
                                         "\xC3\xA9",
                                         "e\u0301",
                                         "Berlin",
                                         "2024-05-01",
                                         "2024-05-01 12:00",
                                         "2024-03-31 02:30",
                                         "iOS",
                                         "0cc175b9c0f1b6a831c399e269772661",  // MD5 of "a"
                                         "2024-05-02 12:00:00",
                                         "2023-01-01 00:00:00"};

/// Project configurations made of the input's bytes: records of all kinds, in a small world.
class Documents {
 public:
  explicit Documents(Input& in) : in_(in) {}

  model::ConfigResponse config();

  /// A text that is nearly the document.
  std::string damaged(std::string text) {
    for (std::size_t count = 1 + in_.below(4); count > 0 && !text.empty(); --count) {
      const std::size_t at = in_.below(text.size());
      const std::size_t length = in_.below(4);
      constexpr const char* kPatches[] = {"null",    "1e999", "\"\"", "{}",
                                          "[",       "]",     "\xFF", "\\u0000",
                                          "\"inf\"", "-0.0",  ",",    "9223372036854775808"};
      text.replace(at, length,
                   in_.oneIn(2) ? std::string(in_.oneOf(kPatches)) : std::string(in_.text(length)));
    }
    return text;
  }

 private:
  template <class Make>
  auto list(std::size_t limit, Make make) {
    std::vector<decltype(make())> made;
    for (std::size_t count = in_.below(limit); count > 0; --count) made.push_back(make());
    return made;
  }
  template <class Make>
  auto maybe(Make make) {
    return in_.oneIn(2) ? std::optional(make()) : std::nullopt;
  }
  std::string name() { return in_.oneOf(kNames); }
  std::string text() { return in_.oneOf(kTexts); }
  bool flip() { return in_.oneIn(2); }
  template <class Enumeration>
  Enumeration oneUpTo(Enumeration last) {
    return static_cast<Enumeration>(in_.below(static_cast<std::size_t>(last) + 1));
  }
  double share() {
    constexpr double kShares[] = {1, 0.5, 0, 0.1, 1e-7, -1, 1e300, -0.0, 5e-324};
    return in_.oneOf(kShares);
  }

  model::Condition condition() {
    return {in_.oneOf(kProperties), oneUpTo(model::ConditionSign::notContains),
            in_.oneIn(4) ? list(4, [&] { return text(); }) : std::vector{text()}};
  }
  std::vector<model::Condition> conditions() {
    return list(3, [&] { return condition(); });
  }
  model::Rule rule() {
    return {flip(), text(), oneUpTo(model::ConditionalStatement::empty), conditions()};
  }
  std::vector<model::Rule> rules() {
    return list(4, [&] { return rule(); });
  }
  model::FeatureFlag flag() {
    return {maybe([&] { return text(); }),
            maybe([&] { return in_.number(); }),
            name(),
            "t",
            rules(),
            list(3,
                 [&] {
                   return model::FeatureFlagGroup{name(), rules()};
                 }),
            maybe([&] { return flip(); }),
            in_.oneIn(8) ? std::optional(text()) : std::nullopt};
  }
  model::LayerBounds bounds() {
    const double lower = static_cast<double>(in_.below(1'000));
    return {lower, lower + static_cast<double>(in_.below(1'000))};
  }
  model::Group group() {
    return {name(), maybe([&] { return text(); }), share(), list(2, [&] { return text(); })};
  }
  model::Param param() {
    return {name(), "t", list(3, [&] { return model::Param::Value{name(), text()}; })};
  }
  model::Experiment experiment() {
    model::Experiment made;
    made.name = name();
    made.salt = text();
    made.allocation = in_.oneIn(4) ? share() : 1;
    if (in_.oneIn(8)) made.layerId = name();
    if (in_.oneIn(4)) made.layerBounds = list(3, [&] { return bounds(); });
    made.groups = list(4, [&] { return group(); });
    made.params = list(3, [&] { return param(); });
    if (in_.oneIn(4)) made.targets = {oneUpTo(model::ConditionalStatement::empty), conditions()};
    made.featureFlags = list(3, [&] { return flag(); });
    made.forcedUserList = list(2, [&] { return text(); });
    made.isPrivate = maybe([&] { return flip(); });
    if (in_.oneIn(4)) made.splitMode = oneUpTo(model::SplitMode::profileId);
    if (in_.oneIn(16)) made.platforms = list(3, [&] { return text(); });
    made.holdouts = list(2, [&] { return name(); });
    if (flip()) made.type = static_cast<model::ExperimentType>(1 + in_.below(5));
    return made;
  }

  Input& in_;
};

inline model::ConfigResponse Documents::config() {
  return {list(4, [&] { return flag(); }), list(5, [&] { return experiment(); })};
}

}  // namespace corvo::fuzz
