// SPDX-License-Identifier: Apache-2.0
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
#include "host/transfer_job.h"

namespace corvo::corvo_internal::host {

/// All transfers of one loop, with their connections, which are kept open for reuse. At most six
/// transfers per origin run at once; the others wait. Only for the thread that runs the loop,
/// except `wake` and `count`. Does not call completions itself, so libcurl is never on the stack
/// when an answer is delivered. Initialises libcurl, which takes longer than creating a client,
/// only when a transfer or a wait needs it.
class CurlTransfers {
 public:
  explicit CurlTransfers(const TransferLimits& limits) : limits_(limits) {}
  CurlTransfers(const CurlTransfers&) = delete;
  CurlTransfers& operator=(const CurlTransfers&) = delete;
  ~CurlTransfers();

  /// Each transfer is answered once whatever fails, unless it is dropped.
  void start(TransferJobs jobs) noexcept;
  /// Advances all transfers as far as possible without waiting.
  void perform();
  /// The next transfer that has its answer; an empty list if there is none.
  [[nodiscard]] TransferJobs takeAnswered();

  /// Waits until a transfer can advance or times out, or until `wake`. Throws `std::bad_alloc` if
  /// libcurl cannot be initialised.
  void wait();
  /// Ends the current `wait`, or else the next one.
  void wake() noexcept;

  /// The number of transfers that were started and not yet taken or dropped.
  [[nodiscard]] std::size_t count() const noexcept { return count_; }

 private:
  using Time = std::chrono::steady_clock::time_point;
  struct FreeMulti {
    void operator()(CURLM* multi) const noexcept { curl_multi_cleanup(multi); }
  };

  /// Created on first use. Throws `std::bad_alloc` if libcurl cannot be initialised.
  [[nodiscard]] CURLM* multi();
  void dropOrphans();
  void advanceWaiting();
  void advance(TransferJobs::iterator waiting) noexcept;
  void begin(TransferJobs::iterator waiting);
  bool settleFinished();
  bool failOverdue();
  void settle(TransferJobs::iterator active, CURLcode result) noexcept;
  void leave(TransferJob& active) noexcept;
  void answer(TransferJobs& from, TransferJobs::iterator job, UrlResponse response) noexcept;
  [[nodiscard]] std::shared_ptr<Origin> originOf(const std::string& url);
  [[nodiscard]] double secondsLeft(const TransferJob& job, Time now) const noexcept;

  const TransferLimits limits_;
  std::mutex mutex_;
  std::unique_ptr<CURLM, FreeMulti> multi_;  // guarded for its creation and for `wake`
  bool isWoken_ = false;                     // guarded; for a `wake` before the handle exists
  TransferJobs waiting_;                     // in order; a redirected one goes first
  TransferJobs active_;                      // all of them are in the multi handle
  TransferJobs answered_;                    // in the order of completion
  std::vector<std::shared_ptr<Origin>> origins_;
  std::atomic<std::size_t> count_ = 0;
};

}  // namespace corvo::corvo_internal::host
