#pragma once

#include <corvo/callback.h>
#include <corvo/platform/url_session.h>

#include <chrono>
#include <list>
#include <memory>
#include <string>

#include "host/curl_transfer.h"

namespace corvo::corvo_internal::host {

/// Whom one speaks to, and how many transfers with them are under way.
struct Origin {
  std::string name;
  int underWay = 0;
};

/// A request with the one who waits for it, and how far it is. Its answer is dropped when the owner
/// is gone.
struct Order {
  UrlRequest request;  // until the transfer has it
  Callback<void(UrlResponse)> completion;
  std::weak_ptr<const void> owner;

  std::chrono::steady_clock::time_point since{};  // when its wait began, then its transfer
  std::shared_ptr<Origin> origin{};               // that of the next connection; null when new
  std::unique_ptr<CurlTransfer> transfer{};       // from its first connection on
  UrlResponse response{};                         // at the end
};

/// An order keeps its place in memory and is spliced from list to list, so that none is lost where
/// memory runs out.
using Orders = std::list<Order>;

}  // namespace corvo::corvo_internal::host
