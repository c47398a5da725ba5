// SPDX-License-Identifier: Apache-2.0

#include "c/call.h"

#include <corvo/c/base.h>
#include <corvo/version.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>
#include <stdexcept>
#include <string_view>
#include <utility>
#include <variant>

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

corvo_error described(const CorvoError& error, std::string_view description) {
  const auto status = static_cast<corvo_status>(static_cast<int>(error.which()) + 1);
  corvo_error result = errorOf(status, description);
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

corvo_status failedByException() noexcept {
  try {
    try {
      throw;
    } catch (const CorvoError& error) {  // not its `what()`, which ends at a NUL
      return failed(described(error, error.description()));
    }
  } catch (const Misuse& misuse) {
    return failed(misuse.status, misuse.text);
  } catch (const std::bad_alloc&) {
    return failed(CORVO_OUT_OF_MEMORY, kNoMemory);
  } catch (const std::length_error&) {  // an absurd size
    return failed(CORVO_OUT_OF_MEMORY, kNoMemory);
  } catch (const std::exception& error) {
    return failed(CORVO_PLATFORM_FAILED, error.what());
  }
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
  static constexpr std::pair<corvo_status, const char*> kNames[] = {
      {CORVO_OK, "ok"},
      {CORVO_INVALID_HANDLE, "invalidHandle"},
      {CORVO_INVALID_ARGUMENT, "invalidArgument"},
      {CORVO_BUSY, "busy"},
      {CORVO_OUT_OF_MEMORY, "outOfMemory"},
      {CORVO_DROPPED, "dropped"},
      {CORVO_CANCELLED, "cancelled"},
      {CORVO_PLATFORM_FAILED, "platformFailed"},
      {CORVO_UNAVAILABLE, "unavailable"},
      {CORVO_PENDING, "pending"},
  };
  for (const auto& [named, name] : kNames) {
    if (named == status) return name;
  }
  static constexpr int kCases = std::variant_size_v<CorvoError::Payload>;
  if (status < 1 || status > kCases) return nullptr;
  return to_string(static_cast<CorvoError::Case>(status - 1)).data();  // zero-terminated
}

const char* corvo_version() { return CORVO_VERSION; }

corvo_status corvo_last_error(corvo_error* error) {
  const LastError& last = lastError();
  if (error == nullptr || error->size != sizeof(corvo_error)) return CORVO_INVALID_ARGUMENT;
  *error = last.error;
  return CORVO_OK;
}
