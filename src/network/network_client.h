// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/callback.h>
#include <corvo/error.h>

#include <new>
#include <string>
#include <string_view>
#include <utility>
#include <variant>

#include "model/codec.h"
#include "network/network_route.h"

namespace corvo::corvo_internal::network {

/// The interface through which a client talks to its backend.
///
/// For the thread that asks questions. Each call completes at most once, on the main queue. It
/// never completes if this object has been destroyed by then.
class NetworkClient {
 public:
  virtual ~NetworkClient() = default;

  /// Sends the request. Passes the decoded answer to `onSuccess`, or the error to `onFailure`.
  /// Fails before returning only if the address is not a valid URI reference.
  template <class Route>
  void request(const Route& route, Callback<void(typename Route::ResponseType)> onSuccess,
               Callback<void(const CorvoNetworkError&)> onFailure) {
    send(route, [onSuccess = std::move(onSuccess),
                 onFailure = std::move(onFailure)](Answer answer) mutable {
      if (const auto* error = std::get_if<CorvoNetworkError>(&answer)) return onFailure(*error);
      using Response = typename Route::ResponseType;
      auto decoded = decode<Response>(std::get<std::string>(answer));
      if (auto* response = std::get_if<Response>(&decoded)) return onSuccess(std::move(*response));
      const auto& failure = std::get<model::DecodingFailure>(decoded);
      onFailure(CorvoNetworkError(CorvoNetworkError::DecodingError{failure.description()}));
    });
  }

 protected:
  /// The body of a usable answer, never empty, or the error.
  using Answer = std::variant<std::string, CorvoNetworkError>;

  virtual void send(const NetworkRoute& route, Callback<void(Answer)> done) = 0;

 private:
  template <class Response>
  static model::Decoded<Response> decode(std::string_view body) try {
    return model::decodeJson<Response>(body);
  } catch (const std::bad_alloc&) {
    return model::DecodingFailure{"out of memory", ""};
  }
};

}  // namespace corvo::corvo_internal::network
