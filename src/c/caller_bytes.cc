// SPDX-License-Identifier: Apache-2.0

#include "c/caller_bytes.h"

#include "c/call.h"
#include "c/handle_table.h"
#include "c/objects.h"

namespace corvo::corvo_internal::c {
namespace {

auto& places() { return tableOf<CallerBytes::Bytes, Mark::bytes, false>(); }

}  // namespace

CallerBytes::CallerBytes() : handle_(handleIn<corvo_bytes>(places(), bytes_)) {}

CallerBytes::~CallerBytes() { freeWhenIdle(places(), handle_); }

}  // namespace corvo::corvo_internal::c

using namespace corvo::corvo_internal::c;

corvo_status corvo_bytes_set(corvo_bytes* bytes, corvo_text value) {
  return call([&] {
    useAlone(places(), bytes, [&](CallerBytes::Bytes& place) { place = viewOf(value); });
  });
}
