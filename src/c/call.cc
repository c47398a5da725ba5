// SPDX-License-Identifier: Apache-2.0

#include "c/call.h"

#include <corvo/c/base.h>
#include <corvo/version.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace corvo::corvo_internal::c {
namespace {

/// Needs no destructor, since programs may still call while a thread ends.
struct LastError {
  corvo_status status = CORVO_OK;
  std::array<char, 1024> text{};
  std::size_t size = 0;
  std::int64_t offset = -1;
};

LastError& lastError() {
  thread_local LastError last;
  return last;
}

/// Keeps the beginning of a longer text, up to the end of a character.
void keepText(LastError& last, std::string_view text) noexcept {
  last.size = std::min(text.size(), last.text.size());
  const auto continues = [&] { return (text[last.size] & 0xC0) == 0x80; };
  while (last.size > 0 && last.size < text.size() && continues()) --last.size;
  std::copy_n(text.data(), last.size, last.text.data());
}

/// Where in a document an error lies, or -1.
std::int64_t offsetOf(const CorvoError& error) {
  const auto* failure = error.as<CorvoError::RequestConfigFailed>();
  if (failure == nullptr) return -1;
  const auto* decoding = failure->error.as<CorvoNetworkError::DecodingError>();
  if (decoding == nullptr || !decoding->offset) return -1;
  return static_cast<std::int64_t>(*decoding->offset);
}

}  // namespace

corvo_error described(const CorvoError& error) {
  const auto status = static_cast<corvo_status>(static_cast<int>(error.which()) + 1);
  return {sizeof(corvo_error), status, asText(error.what()), offsetOf(error)};
}

corvo_status failed(const corvo_error& error) noexcept {
  LastError& last = lastError();
  last.status = error.status;
  last.offset = error.offset;
  keepText(last, {error.text.data, error.text.size});
  return error.status;
}

corvo_status failed(corvo_status status, std::string_view text) noexcept {
  return failed({sizeof(corvo_error), status, asText(text), -1});
}

std::string_view viewOf(corvo_text text) {
  if (text.data == nullptr && text.size > 0) {
    throw Misuse(CORVO_INVALID_ARGUMENT, "a text has a size but no data");
  }
  return {text.data == nullptr ? "" : text.data, text.size};
}

std::optional<std::string_view> optionalViewOf(corvo_text text) {
  const std::string_view view = viewOf(text);
  return text.data == nullptr ? std::nullopt : std::optional(view);
}

}  // namespace corvo::corvo_internal::c

using namespace corvo;
using namespace corvo::corvo_internal::c;

corvo_text corvo_text_of(const char* terminated) {
  return {terminated, terminated == nullptr ? 0 : std::strlen(terminated)};
}

const char* corvo_status_name(corvo_status status) {
  switch (status) {
    case CORVO_OK:
      return "ok";
    case CORVO_INVALID_HANDLE:
      return "invalidHandle";
    case CORVO_INVALID_ARGUMENT:
      return "invalidArgument";
    case CORVO_BUSY:
      return "busy";
    case CORVO_OUT_OF_MEMORY:
      return "outOfMemory";
    case CORVO_DROPPED:
      return "dropped";
    case CORVO_CANCELLED:
      return "cancelled";
    case CORVO_PLATFORM_FAILED:
      return "platformFailed";
    case CORVO_UNAVAILABLE:
      return "unavailable";
    default: {
      if (status < 1 || status > 15) return nullptr;
      const std::string_view name = to_string(static_cast<CorvoError::Case>(status - 1));
      return name.data();  // zero-terminated, as it is a literal
    }
  }
}

const char* corvo_version() { return CORVO_VERSION; }

corvo_status corvo_last_error(corvo_error* error) {
  const LastError& last = lastError();
  if (error == nullptr || error->size != sizeof(corvo_error)) return CORVO_INVALID_ARGUMENT;
  *error = {sizeof(corvo_error), last.status, {last.text.data(), last.size}, last.offset};
  return CORVO_OK;
}
