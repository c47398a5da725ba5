// SPDX-License-Identifier: Apache-2.0

#include "host/uuid.h"

#include <array>
#include <cstddef>

namespace corvo::corvo_internal::host {
namespace {

constexpr std::string_view kDigits = "0123456789ABCDEF";
constexpr std::string_view kForm = "xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx";

}  // namespace

std::string randomUuid(SecureRandom& random) {
  std::array<std::byte, 16> bytes{};
  random.fill(bytes);
  bytes[6] = (bytes[6] & std::byte{0x0F}) | std::byte{0x40};
  bytes[8] = (bytes[8] & std::byte{0x3F}) | std::byte{0x80};
  std::string text(kForm);
  std::size_t digit = 0;
  for (char& character : text) {
    if (character == '-') continue;
    const auto byte = std::to_integer<std::size_t>(bytes[digit / 2]);
    character = kDigits[digit % 2 == 0 ? byte >> 4 : byte & 0x0F];
    ++digit;
  }
  return text;
}

bool isUuid(std::string_view text) noexcept {
  if (text.size() != kForm.size()) return false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool sound =
        kForm[i] == '-' ? text[i] == '-' : kDigits.find(text[i]) != std::string_view::npos;
    if (!sound) return false;
  }
  return true;
}

}  // namespace corvo::corvo_internal::host
