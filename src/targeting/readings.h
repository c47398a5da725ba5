#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "base/md5.h"
#include "base/text_index.h"
#include "targeting/version.h"

namespace corvo::corvo_internal::targeting {

/// A value that is made when it is first asked for.
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

/// What has been read out of one property while a context serves: each at most once, however
/// many conditions need it. Refers to the property's text.
struct Readings {
  explicit Readings(const std::string_view& text) : of(&text) {}

  const std::string_view* of;
  Once<base::Md5Hex> digest;
  Once<std::optional<std::string>> decomposition;  // none where that is the text itself
  Once<std::optional<double>> number;
  Once<std::optional<OrderedVersion>> version;
  Once<std::optional<std::int64_t>> moment;  // as a date
  std::uint32_t searches = 0;                // for parts, without the index
  Once<base::TextIndex> index;
};

}  // namespace corvo::corvo_internal::targeting
