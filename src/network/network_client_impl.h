// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/platform/main_queue.h>
#include <corvo/platform/url_session.h>

#include <cstdint>
#include <memory>
#include <string>

#include "network/network_client.h"

namespace corvo::corvo_internal::network {

/// Sends requests over a URL session. Retries while the answers are unusable and attempts remain.
///
/// The session may complete on any thread, even inside `start`. The completion only posts to the
/// main queue, where everything else happens. There are no locks. Must be owned by a `shared_ptr`;
/// requests under way refer to it weakly.
class NetworkClientImpl final : public NetworkClient,
                                public std::enable_shared_from_this<NetworkClientImpl> {
 public:
  /// The base address is kept unchanged. A request is sent at most `retryCount` + 1 times.
  NetworkClientImpl(std::shared_ptr<UrlSession> session, std::shared_ptr<MainQueue> mainQueue,
                    std::string apiURL, std::uint64_t retryCount);

 protected:
  void send(const NetworkRoute& route, Callback<void(Answer)> done) override;

 private:
  struct Exchange;  // a request and its remaining attempts
  using ExchangePointer = std::shared_ptr<Exchange>;

  void start(const ExchangePointer& exchange);
  static void handle(const ExchangePointer& exchange);
  bool startAgain(const ExchangePointer& exchange);
  static Answer answerOf(UrlResponse response);

  std::shared_ptr<UrlSession> session_;
  std::shared_ptr<MainQueue> mainQueue_;
  std::string apiURL_;
  std::uint64_t retryCount_;
};

}  // namespace corvo::corvo_internal::network
