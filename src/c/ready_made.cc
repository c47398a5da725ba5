// SPDX-License-Identifier: Apache-2.0

#include "c/ready_made.h"

#include <optional>
#include <string>
#include <utility>

#include "c/call.h"

namespace corvo::corvo_internal::c {
namespace {

std::optional<std::string> optionalText(corvo_text text) {
  if (text.data == nullptr && text.size == 0) return std::nullopt;
  return std::string(viewOf(text));
}

/// Zero stands for the default.
template <class Number>
void setUnlessZero(Number& option, Number given) {
  if (given != 0) option = given;
}

}  // namespace

Host readyMade(const corvo_host_options* given) {
  HostOptions options;
  if (given != nullptr) {
    const corvo_host_options& from = sizedAt(given);
    if (auto folder = optionalText(from.data_folder)) options.dataFolder = *std::move(folder);
    options.dataFile = optionalText(from.data_file);
    options.inMemory = from.in_memory;
    options.applicationVersion = optionalText(from.application_version);
    setUnlessZero(options.timeoutSeconds, from.timeout_seconds);
    setUnlessZero(options.transferSeconds, from.transfer_seconds);
    setUnlessZero(options.maxBodyBytes, from.max_body_bytes);
  }
  return makeHost(std::move(options));
}

}  // namespace corvo::corvo_internal::c
