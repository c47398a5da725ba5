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
  corvo_error error{sizeof(corvo_error), CORVO_OK, CORVO_NETWORK_NONE, {}, -1, 0};
  std::array<char, 1024> text{};
};

LastError& lastError() {
  thread_local LastError last;
  return last;
}

/// Keeps the beginning of a longer text, up to the end of a character.
void keepText(LastError& last, std::string_view text) noexcept {
  std::size_t size = std::min(text.size(), last.text.size());
  const auto continues = [&] { return (text[size] & 0xC0) == 0x80; };
  while (size > 0 && size < text.size() && continues()) --size;
  std::copy_n(text.data(), size, last.text.data());
  last.error.text = {last.text.data(), size};
}

/// The failed fetch that an error is about, or null.
const CorvoNetworkError* networkErrorOf(const CorvoError& error) {
  if (const auto* config = error.as<CorvoError::RequestConfigFailed>()) return &config->error;
  if (const auto* location = error.as<CorvoError::RequestLocationFailed>()) return &location->error;
  return nullptr;
}

}  // namespace

corvo_error described(const CorvoError& error) {
  const auto status = static_cast<corvo_status>(static_cast<int>(error.which()) + 1);
  corvo_error result = errorOf(status, error.what());
  const CorvoNetworkError* const network = networkErrorOf(error);
  if (network == nullptr) return result;
  result.network = static_cast<corvo_network_error>(static_cast<int>(network->which()) + 1);
  if (const auto* wrong = network->as<CorvoNetworkError::WrongStatusCode>()) {
    result.http_status = wrong->statusCode;
  }
  const auto* const decoding = network->as<CorvoNetworkError::DecodingError>();
  if (decoding != nullptr && decoding->offset) {
    result.offset = static_cast<std::int64_t>(*decoding->offset);
  }
  return result;
}

corvo_error errorOf(corvo_status status, std::string_view text) {
  return {sizeof(corvo_error), status, CORVO_NETWORK_NONE, asText(text), -1, 0};
}

corvo_status failed(const corvo_error& error) noexcept {
  LastError& last = lastError();
  last.error = error;
  keepText(last, {error.text.data, error.text.size});
  return error.status;
}

corvo_status failed(corvo_status status, std::string_view text) noexcept {
  return failed(errorOf(status, text));
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
    case CORVO_PENDING:
      return "pending";
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
  *error = last.error;
  return CORVO_OK;
}
