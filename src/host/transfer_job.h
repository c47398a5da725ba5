// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/callback.h>
#include <corvo/platform/url_session.h>

#include <chrono>
#include <list>
#include <memory>
#include <string>

#include "host/curl_transfer.h"

namespace corvo::corvo_internal::host {

/// A server by scheme, host and port, with the number of its active transfers.
struct Origin {
  std::string name;
  int underWay = 0;
};

/// A request with its completion and its progress. The answer is dropped if the owner has been
/// destroyed.
struct TransferJob {
  UrlRequest request;  // until the transfer takes it
  Callback<void(UrlResponse)> completion;
  std::weak_ptr<const void> owner;

  std::chrono::steady_clock::time_point since{};  // the start of the wait, then of the transfer
  std::shared_ptr<Origin> origin{};               // of the next connection; null at first
  std::unique_ptr<CurlTransfer> transfer{};       // once the first connection is started
  UrlResponse response{};                         // at the end
};

/// A transfer keeps its address and is spliced from list to list, so that none is lost when memory
/// runs out.
using TransferJobs = std::list<TransferJob>;

}  // namespace corvo::corvo_internal::host
