#pragma once

#include <curl/curl.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "host/curl_transfer.h"
#include "host/order.h"

namespace corvo::corvo_internal::host {

/// All the transfers of one loop, with the connections that they leave open for the next ones. Lets
/// six transfers of an origin through at once; the others wait their turn. For the thread that runs
/// the loop, except `wake` and `count`. Calls no completion itself: libcurl is never on the stack
/// when an answer is handed over. Starts libcurl, which takes longer than the start of a client,
/// when something has to wait or to be transferred.
class CurlTransfers {
 public:
  explicit CurlTransfers(const TransferLimits& limits) : limits_(limits) {}
  CurlTransfers(const CurlTransfers&) = delete;
  CurlTransfers& operator=(const CurlTransfers&) = delete;
  ~CurlTransfers();

  /// Each of them is answered once, unless it is dropped, whatever fails on its way.
  void start(Orders orders) noexcept;
  /// Moves everything on as far as it goes without waiting.
  void perform();
  /// The next order that has its answer; no order when there is none.
  [[nodiscard]] Orders takeAnswered();

  /// Waits until a transfer can move on or has taken too long, or until `wake`. Throws
  /// `std::bad_alloc` when libcurl cannot be had.
  void wait();
  /// Ends the present `wait`, or else the next.
  void wake() noexcept;

  /// How many have been started and not yet been taken or dropped.
  [[nodiscard]] std::size_t count() const noexcept { return count_; }

 private:
  using Time = std::chrono::steady_clock::time_point;
  struct FreeMulti {
    void operator()(CURLM* multi) const noexcept { curl_multi_cleanup(multi); }
  };

  /// Made on first need. Throws `std::bad_alloc` when libcurl cannot be had.
  [[nodiscard]] CURLM* multi();
  void dropOrphans();
  void letThrough();
  void advance(Orders::iterator waiting) noexcept;
  void begin(Orders::iterator waiting);
  bool settleFinished();
  bool failLate();
  void settle(Orders::iterator active, CURLcode result) noexcept;
  void leave(Order& active) noexcept;
  void answer(Orders& from, Orders::iterator order, UrlResponse response) noexcept;
  [[nodiscard]] std::shared_ptr<Origin> originOf(const std::string& url);
  [[nodiscard]] double secondsLeft(const Order& order, Time now) const noexcept;

  const TransferLimits limits_;
  std::mutex mutex_;
  std::unique_ptr<CURLM, FreeMulti> multi_;  // guarded while it is made, and for `wake`
  bool isWoken_ = false;                     // guarded: before it was made
  Orders waiting_;                           // in their order; a redirected one goes first again
  Orders active_;                            // each is in the multi handle
  Orders answered_;                          // in the order of their ends
  std::vector<std::shared_ptr<Origin>> origins_;
  std::atomic<std::size_t> count_ = 0;
};

}  // namespace corvo::corvo_internal::host
