// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "base/md5.h"
#include "base/text_index.h"
#include "targeting/version.h"

namespace corvo::corvo_internal::targeting {

/// A value that is computed on first use.
template <class Value>
class Once {
 public:
  template <class Make>
  const Value& get(Make make) {
    if (!value_) value_.emplace(make());
    return *value_;
  }

 private:
  std::optional<Value> value_;
};

/// Values derived from one property while a context is in use: each is computed at most once,
/// however many conditions need it. Refers to the property's text.
struct Readings {
  explicit Readings(const std::string_view& text) : of(&text) {}

  const std::string_view* of;
  Once<base::Md5Hex> digest;
  Once<std::optional<std::string>> decomposition;  // empty if it equals the text itself
  Once<std::optional<double>> number;
  Once<std::optional<OrderedVersion>> version;
  Once<std::optional<std::int64_t>> moment;  // the property read as a date
  std::uint32_t searches = 0;                // for parts, without the index
  Once<base::TextIndex> index;
};

}  // namespace corvo::corvo_internal::targeting
