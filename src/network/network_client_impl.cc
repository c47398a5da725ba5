// SPDX-License-Identifier: Apache-2.0

#include "network/network_client_impl.h"

#include <corvo/version.h>

#include <new>
#include <utility>

#include "network/request_url.h"

namespace corvo::corvo_internal::network {
namespace {

UrlRequest makeRequest(const NetworkRoute& route, std::string url) {
  UrlRequest request{.method = route.method == Method::post ? "POST" : "GET",
                     .url = std::move(url),
                     .headers = route.headers,
                     .timeoutSeconds = 60};
  request.headers.insert({{"Content-Type", "application/json"},
                          {"sdk-name", "ios"},
                          {"sdk-version", CORVO_VERSION}});  // the route's own take precedence
  return request;
}

}  // namespace

struct NetworkClientImpl::Exchange {
  std::weak_ptr<NetworkClientImpl> client;
  // Weak, because a session and a queue that are one object would otherwise own themselves.
  std::weak_ptr<MainQueue> mainQueue;
  UrlRequest request;
  std::uint64_t retriesLeft;
  Callback<void(Answer)> done;
  UrlResponse response;
};

NetworkClientImpl::NetworkClientImpl(std::shared_ptr<UrlSession> session,
                                     std::shared_ptr<MainQueue> mainQueue, std::string apiURL,
                                     std::uint64_t retryCount)
    : session_(std::move(session)),
      mainQueue_(std::move(mainQueue)),
      apiURL_(std::move(apiURL)),
      retryCount_(retryCount) {}

void NetworkClientImpl::send(const NetworkRoute& route, Callback<void(Answer)> done) {
  std::string address = joinAddress(apiURL_, route.path);
  auto url = requestUrl(address, route.queryItems);
  if (!url) {
    return done(CorvoNetworkError(CorvoNetworkError::IncorrectURL{std::move(address)}));
  }
  start(std::make_shared<Exchange>(Exchange{weak_from_this(),
                                            mainQueue_,
                                            makeRequest(route, std::move(*url)),
                                            retryCount_,
                                            std::move(done),
                                            {}}));
}

// Everything that a response needs is allocated with the exchange, so a lack of memory cannot lose
// it.
void NetworkClientImpl::start(const ExchangePointer& exchange) {
  session_->start(exchange->request, [exchange](UrlResponse response) {
    if (const auto queue = exchange->mainQueue.lock()) {
      exchange->response = std::move(response);
      queue->post([exchange] { handle(exchange); });
    }
  });
}

// If there is no memory for another attempt, the last answer stands.
bool NetworkClientImpl::startAgain(const ExchangePointer& exchange) try {
  --exchange->retriesLeft;
  start(exchange);
  return true;
} catch (const std::bad_alloc&) {
  return false;
}

void NetworkClientImpl::handle(const ExchangePointer& exchange) {
  Answer answer = answerOf(std::move(exchange->response));
  {
    const auto alive = exchange->client.lock();
    if (alive == nullptr) return;
    if (std::holds_alternative<CorvoNetworkError>(answer) && exchange->retriesLeft > 0 &&
        alive->startAgain(exchange)) {
      return;
    }
  }
  exchange->done(std::move(answer));
}

NetworkClient::Answer NetworkClientImpl::answerOf(UrlResponse response) {
  if (response.failure) return CorvoNetworkError(CorvoNetworkError::NoData{});
  if (response.status && (*response.status < 200 || *response.status > 299)) {
    return CorvoNetworkError(CorvoNetworkError::WrongStatusCode{*response.status});
  }
  if (response.body.empty()) return CorvoNetworkError(CorvoNetworkError::NoData{});
  return std::move(response.body);
}

}  // namespace corvo::corvo_internal::network
