#pragma once

#include <corvo/callback.h>
#include <corvo/platform/url_session.h>

#include <atomic>
#include <cstddef>
#include <deque>
#include <map>
#include <memory>
#include <optional>

#include "host/curl_transfer.h"

namespace corvo::host {

/// A request with the one who waits for it. Its answer is dropped when the owner is gone.
struct Order {
  UrlRequest request;
  Callback<void(UrlResponse)> completion;
  std::weak_ptr<const void> owner;
};

/// An order with its answer.
struct Answered {
  Order order;
  UrlResponse response;
};

/// All the transfers of one loop, with the connections that they leave open for the next ones. For
/// the thread that runs the loop, except `wake` and `count`. Calls no completion itself: libcurl is
/// never on the stack when an answer is handed over.
class CurlTransfers {
 public:
  /// Throws `std::bad_alloc` when libcurl cannot be had.
  explicit CurlTransfers(const TransferLimits& limits);
  CurlTransfers(const CurlTransfers&) = delete;
  CurlTransfers& operator=(const CurlTransfers&) = delete;
  ~CurlTransfers();

  void start(Order order);
  /// Moves everything on as far as it goes without waiting.
  void perform();
  /// The next order that has its answer.
  [[nodiscard]] std::optional<Answered> takeAnswered();

  /// Waits until a transfer can move on or has waited too long, or until `wake`.
  void wait();
  /// Ends the present `wait`, or else the next.
  void wake() noexcept { curl_multi_wakeup(multi_.get()); }

  /// How many have been started and not yet been taken or dropped.
  [[nodiscard]] std::size_t count() const noexcept { return count_; }

 private:
  struct FreeMulti {
    void operator()(CURLM* multi) const noexcept { curl_multi_cleanup(multi); }
  };
  struct Active {
    Order order;
    std::unique_ptr<CurlTransfer> transfer;
  };

  void settle(CURL* handle, CURLcode result);
  void dropOrphans();
  void failStalled();
  void answer(Order order, UrlResponse response);

  const TransferLimits limits_;
  std::unique_ptr<CURLM, FreeMulti> multi_;
  std::map<CURL*, Active> active_;  // each is in the multi handle
  std::deque<Answered> answered_;
  std::atomic<std::size_t> count_ = 0;
};

}  // namespace corvo::host
