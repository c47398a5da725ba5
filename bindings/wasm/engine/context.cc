// SPDX-License-Identifier: Apache-2.0

#include "context.h"

#include <cstring>
#include <memory>
#include <optional>
#include <utility>

/// The offset from UTC in seconds. JavaScript knows the zones by number, and caches.
extern "C" __attribute__((import_module("corvo"), import_name("offset_at"))) std::int32_t
corvoOffsetAt(std::uint32_t zone, double moment);

namespace corvo::corvo_internal::wasm {
namespace {

class NumberedZone final : public TimeZone {
 public:
  explicit NumberedZone(std::uint32_t number) : number_(number) {}

  [[nodiscard]] std::int32_t offsetAt(std::int64_t moment) const override {
    return corvoOffsetAt(number_, static_cast<double>(moment));
  }
  [[nodiscard]] std::uint64_t identifier() const override { return number_; }

 private:
  std::uint32_t number_;
};

/// An evaluation goes on with what it knows about a zone as long as the object is the same.
const std::shared_ptr<const TimeZone>& zoneOf(std::uint32_t number) {
  static std::vector<std::shared_ptr<const TimeZone>> zones;  // by number, which are few
  while (zones.size() <= number) {
    zones.push_back(std::make_shared<NumberedZone>(static_cast<std::uint32_t>(zones.size())));
  }
  return zones[number];
}

}  // namespace

/// Reads the texts one by one.
class WrittenContext::Texts {
 public:
  Texts(const char* sizes, std::size_t count)
      : size_(sizes), text_(sizes + count * sizeof(std::uint32_t)) {}

  std::optional<std::string_view> next() {
    std::uint32_t size = 0;
    std::memcpy(&size, size_, sizeof size);
    size_ += sizeof size;
    if (size == kAbsent) return std::nullopt;
    return std::string_view(std::exchange(text_, text_ + size), size);
  }
  std::string_view text() { return next().value_or(std::string_view()); }
  std::optional<std::string> fact() {
    const auto text = next();
    return text ? std::optional<std::string>(*text) : std::nullopt;
  }

 private:
  const char* size_;
  const char* text_;
};

void WrittenContext::take(std::vector<char>& bytes) {
  bytes_.swap(bytes);
  Header header;
  std::memcpy(&header, bytes_.data(), sizeof header);
  Texts texts(bytes_.data() + sizeof header, 4 + 2 * (header.locationCount + header.propertyCount));

  context_.now = header.now;
  context_.timeZone = zoneOf(header.zone);
  DeviceFacts& device = context_.device;
  for (auto* fact : {&device.applicationVersion, &device.vendorIdentifier, &device.systemName,
                     &device.systemVersion}) {
    *fact = texts.fact();
  }
  context_.location.clear();
  for (std::uint32_t i = 0; i < header.locationCount; ++i) {
    const std::string_view name = texts.text();
    context_.location.emplace(name, texts.text());
  }
  properties_.clear();
  for (std::uint32_t i = 0; i < header.propertyCount; ++i) {
    const std::string_view name = texts.text();
    properties_.emplace_back(name, texts.text());
  }
  context_.properties = properties_;
}

}  // namespace corvo::corvo_internal::wasm
