// SPDX-License-Identifier: Apache-2.0

#include "c/ready_made.h"

#include <utility>

#include "c/call.h"

namespace corvo::corvo_internal::c {
namespace {

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
    if (const auto folder = optionalViewOf(from.data_folder)) options.dataFolder = *folder;
    options.dataFile = optionalViewOf(from.data_file);
    options.inMemory = isTrue(from.in_memory);
    options.applicationVersion = optionalViewOf(from.application_version);
    setUnlessZero(options.timeoutSeconds, from.timeout_seconds);
    setUnlessZero(options.transferSeconds, from.transfer_seconds);
    setUnlessZero(options.maxBodyBytes, from.max_body_bytes);
  }
  return makeHost(std::move(options));
}

}  // namespace corvo::corvo_internal::c
