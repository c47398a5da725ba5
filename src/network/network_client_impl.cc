#include "network/network_client_impl.h"

#include <utility>

#include "network/request_url.h"

#ifndef CORVO_VERSION
#define CORVO_VERSION "unknown"
#endif

namespace corvo::network {
namespace {

UrlRequest makeRequest(const NetworkRoute& route, std::string url) {
  UrlRequest request{.method = route.method == Method::post ? "POST" : "GET",
                     .url = std::move(url),
                     .headers = route.headers,
                     .timeoutSeconds = 60};
  request.headers.insert({{"Content-Type", "application/json"},
                          {"sdk-name", "ios"},
                          {"sdk-version", CORVO_VERSION}});  // the route's own stay
  return request;
}

}  // namespace

struct NetworkClientImpl::Exchange {
  UrlRequest request;
  std::uint64_t retriesLeft;
  Callback<void(Answer)> done;
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
  start(std::make_unique<Exchange>(
      Exchange{makeRequest(route, std::move(*url)), retryCount_, std::move(done)}));
}

void NetworkClientImpl::start(ExchangePointer exchange) {
  UrlRequest request = exchange->request;
  // The queue, too, is held weakly: a session and a queue that are one object would own themselves.
  session_->start(std::move(request),
                  [client = weak_from_this(), mainQueue = std::weak_ptr(mainQueue_),
                   exchange = std::move(exchange)](UrlResponse response) mutable {
                    if (const auto queue = mainQueue.lock()) {
                      queue->post([client = std::move(client), exchange = std::move(exchange),
                                   response = std::move(response)]() mutable {
                        handle(client, std::move(exchange), std::move(response));
                      });
                    }
                  });
}

void NetworkClientImpl::handle(const std::weak_ptr<NetworkClientImpl>& client,
                               ExchangePointer exchange, UrlResponse response) {
  Answer answer = answerOf(std::move(response));
  {
    const auto alive = client.lock();
    if (alive == nullptr) return;
    if (std::holds_alternative<CorvoNetworkError>(answer) && exchange->retriesLeft > 0) {
      --exchange->retriesLeft;
      return alive->start(std::move(exchange));
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

}  // namespace corvo::network
