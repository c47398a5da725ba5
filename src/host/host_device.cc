// SPDX-License-Identifier: Apache-2.0

#include "host/host_device.h"

#include <exception>
#include <string_view>

#include "host/system.h"
#include "host/uuid.h"

namespace corvo::corvo_internal::host {
namespace {

/// The leading numbers joined by dots. A Linux release continues with the distribution's suffix.
std::string numericPart(std::string_view version) {
  version = version.substr(0, version.find_first_not_of("0123456789."));
  while (version.ends_with('.')) version.remove_suffix(1);
  return std::string(version);
}

std::optional<std::string> unlessEmpty(std::string text) {
  if (text.empty()) return std::nullopt;
  return text;
}

}  // namespace

std::optional<std::string> HostDevice::vendorIdentifier() const try {
  if (database_ == nullptr) return std::nullopt;
  return database_->installation(randomUuid(*random_));
} catch (const std::exception&) {
  return std::nullopt;  // no random bytes, or the database is unavailable at present
}

std::optional<std::string> HostDevice::systemName() const {
  return unlessEmpty(describeSystem().name);
}

std::optional<std::string> HostDevice::systemVersion() const {
  return unlessEmpty(numericPart(describeSystem().version));
}

}  // namespace corvo::corvo_internal::host
