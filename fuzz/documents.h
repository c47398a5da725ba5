// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "fuzz/input.h"
#include "model/codec.h"

namespace corvo::fuzz {

using namespace corvo_internal;

/// Few names, so that a reference often has a target, and often more than one.
inline constexpr const char* kNames[] = {"a", "b", "\xC3\xA9", ""};
inline constexpr const char* kProperties[] = {
    "userId", "profileId",      "deviceId", "appVersion", "os.version",     "os.name",
    "date",   "custom.e\u0301", "geo.city", "geo.code",   "corvoExpiration"};
/// A bar follows each. "0cc1..." is the MD5 of "a".
inline const std::vector<std::string> kTexts = [] {
  std::istringstream all(
      "a|b||u-1|true|FALSE|42|-7|1.5|nan|0x1p4|99999999999999999999|{\"k\":1}|{\"k\":|1.10|17.4.1|"
      "1..2|x1|\xC3\xA9|e\u0301|Berlin|iOS|0cc175b9c0f1b6a831c399e269772661|2024-05-01|2024-05-01 "
      "12:00|2024-03-31 02:30|2024-05-02 12:00:00|2023-01-01 00:00:00|");
  std::vector<std::string> texts;
  for (std::string text; std::getline(all, text, '|');) texts.push_back(text);
  return texts;
}();

/// Decodes a text if possible. Then encodes, decodes and encodes the value again, unless it
/// contains a number that JSON cannot express.
template <class T>
std::optional<T> roundTrip(std::string_view text) {
  const auto first = model::decodeJson<T>(text);
  if (const auto* failure = std::get_if<model::DecodingFailure>(&first)) {
    require(!failure->description().empty(), "a failure has a description");
    return std::nullopt;
  }
  const T& value = std::get<T>(first);
  if (const auto written = model::encodeJson(value)) {
    const auto second = model::decodeJson<T>(*written);
    require(std::holds_alternative<T>(second), "an encoded value can be decoded");
    require(std::get<T>(second) == value, "an encoded value decodes as the same");
    require(model::encodeJson(std::get<T>(second)) == written, "it is encoded the same way again");
  }
  return value;
}

/// Project configurations generated from the input bytes: records of all kinds, with few names.
class Documents {
 public:
  explicit Documents(Input& in) : in_(in) {}

  model::ConfigResponse config() {
    return {records(4, &D::flag), records(5, &D::experiment), {pool_}};
  }

  /// The document with some damage.
  std::string damaged(std::string text) {
    constexpr const char* kPatches[] = {"null",    "1e999", "\"\"", "{}",
                                        "[",       "]",     "\xFF", "\\u0000",
                                        "\"inf\"", "-0.0",  ",",    "9223372036854775808"};
    for (std::size_t count = 1 + in_.below(4); count > 0 && !text.empty(); --count) {
      const std::size_t at = in_.below(text.size());
      const std::size_t length = in_.below(4);
      text.replace(at, length, in_.oneIn(2) ? in_.oneOf(kPatches) : in_.text(length));
    }
    return text;
  }

 private:
  using D = Documents;

  template <class T>
  std::vector<T> records(std::size_t limit, T (D::*make)()) {
    std::vector<T> made;
    for (std::size_t count = in_.below(limit); count > 0; --count) made.push_back((this->*make)());
    return made;
  }
  template <class T>
  model::List<T> list(std::size_t limit, T (D::*make)()) {
    return pool_->list(records(limit, make));
  }
  template <class T>
  std::optional<T> maybe(std::size_t chances, T (D::*make)()) {
    return in_.oneIn(chances) ? std::optional((this->*make)()) : std::nullopt;
  }
  template <auto last>
  decltype(last) oneUpTo() {
    return static_cast<decltype(last)>(in_.below(static_cast<std::size_t>(last) + 1));
  }

  model::Text name() { return pool_->text(in_.oneOf(kNames)); }
  model::Text text() { return pool_->text(in_.oneOf(kTexts)); }
  model::Text type() { return pool_->text("t"); }
  std::int64_t number() { return in_.number(); }
  bool flip() { return in_.oneIn(2); }
  double share() {
    constexpr double kShares[] = {1, 1, 1, 0.5, 0.5, 0.1, 0, -0.0, 1e-7, -1, 1e300, 5e-324};
    return in_.oneOf(kShares);
  }
  model::ExperimentType experimentType() {
    return static_cast<model::ExperimentType>(1 + in_.below(5));
  }

  model::Condition condition() {
    return {pool_->text(in_.oneOf(kProperties)), oneUpTo<model::ConditionSign::notContains>(),
            in_.oneIn(4) ? list(4, &D::text) : pool_->list(std::vector{text()})};
  }
  model::Target target() {
    return {oneUpTo<model::ConditionalStatement::empty>(), list(3, &D::condition)};
  }
  model::Rule rule() {
    return {text(), list(3, &D::condition), oneUpTo<model::ConditionalStatement::empty>(), flip()};
  }
  model::FeatureFlagGroup flagGroup() { return {name(), list(5, &D::rule)}; }
  model::FeatureFlag flag() {
    return {maybe(2, &D::text),
            maybe(2, &D::number),
            name(),
            type(),
            list(4, &D::rule),
            list(4, &D::flagGroup),
            maybe(2, &D::flip),
            maybe(8, &D::text)};
  }
  model::LayerBounds bounds() {
    const double lower = static_cast<double>(in_.below(1'000));
    return {lower, lower + static_cast<double>(in_.below(1'000))};
  }
  model::Group group() { return {name(), maybe(2, &D::text), share(), list(2, &D::text)}; }
  model::Param::Value value() { return {name(), text()}; }
  model::Param param() { return {name(), type(), list(3, &D::value)}; }
  model::Experiment experiment() {
    return {name(),
            text(),
            in_.oneIn(4) ? share() : 1,
            maybe(8, &D::name),
            list(in_.oneIn(4) ? 3 : 1, &D::bounds),
            list(4, &D::group),
            list(3, &D::param),
            maybe(4, &D::target),
            list(3, &D::flag),
            list(2, &D::text),
            maybe(2, &D::flip),
            maybe(4, &D::oneUpTo<model::SplitMode::profileId>),
            list(in_.oneIn(16) ? 3 : 1, &D::text),
            list(2, &D::name),
            maybe(2, &D::experimentType),
            {}};
  }

  Input& in_;
  std::shared_ptr<base::Pool> pool_ = std::make_shared<base::Pool>();
};

}  // namespace corvo::fuzz
