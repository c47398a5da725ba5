// SPDX-License-Identifier: Apache-2.0

#include "c/caller_bytes.h"

#include <thread>

#include "c/call.h"
#include "c/handle_table.h"
#include "c/objects.h"

namespace corvo::corvo_internal::c {
namespace {

auto& places() {
  static auto& table = *new HandleTable<CallerBytes::Bytes, 11, false>();
  return table;
}

}  // namespace

CallerBytes::CallerBytes() : handle_(static_cast<corvo_bytes*>(places().add(bytes_))) {}

CallerBytes::~CallerBytes() {
  // Another thread, against the rules, may be using it at this moment.
  while (call([&] { freeHandle(places(), handle_); }) == CORVO_BUSY) std::this_thread::yield();
}

}  // namespace corvo::corvo_internal::c

using namespace corvo::corvo_internal::c;

corvo_status corvo_bytes_set(corvo_bytes* bytes, corvo_text value) {
  return call([&] {
    useAlone(places(), bytes, [&](CallerBytes::Bytes& place) { place = viewOf(value); });
  });
}
