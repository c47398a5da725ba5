// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/platform/url_session.h>
#include <curl/curl.h>

#include <chrono>
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

namespace corvo::corvo_internal::host {

/// The limits of a transfer.
struct TransferLimits {
  double secondsWithoutProgress;
  double seconds;         // in total, including redirects
  std::size_t bodyBytes;  // as sent, and after decoding
};

struct FreeEasy {
  void operator()(CURL* handle) const noexcept { curl_easy_cleanup(handle); }
};
struct FreeList {
  void operator()(curl_slist* list) const noexcept { curl_slist_free_all(list); }
};

/// A request in progress, including the redirects that it follows. Only for the thread that runs
/// the loop. Owns its libcurl handle, which points back to this object.
class CurlTransfer {
 public:
  using Time = std::chrono::steady_clock::time_point;

  /// Prepares a handle for a request that `refusal` permits.
  CurlTransfer(UrlRequest request, const TransferLimits& limits);
  CurlTransfer(const CurlTransfer&) = delete;
  CurlTransfer& operator=(const CurlTransfer&) = delete;

  [[nodiscard]] CURL* handle() const noexcept { return handle_.get(); }
  /// False if libcurl refused to prepare the handle.
  [[nodiscard]] bool isPrepared() const noexcept { return prepared_; }

  /// The current address, or the next one after a redirect.
  [[nodiscard]] const std::string& url() const noexcept { return request_.url; }

  /// After an answer: points the handle to the redirect's target. Returns whether the redirect is
  /// followed.
  bool follow();
  /// After the transfer: its outcome.
  [[nodiscard]] UrlResponse response(CURLcode result);

  void noteProgress() noexcept { progressed_ = std::chrono::steady_clock::now(); }
  /// The remaining time without progress until the transfer fails, in seconds.
  [[nodiscard]] double remainingTime(Time now) const noexcept;

 private:
  template <class Value>
  void set(CURLoption option, Value value);
  void setHeaders();
  bool countHeaderLine(std::string_view line) noexcept;

  static std::size_t onBody(char* data, std::size_t unit, std::size_t size, void* self) noexcept;
  static std::size_t onHeader(char* data, std::size_t unit, std::size_t size, void* self) noexcept;
  static int onProgress(void* self, curl_off_t total, curl_off_t received, curl_off_t toSend,
                        curl_off_t sent) noexcept;
  static int onTrace(CURL* handle, curl_infotype type, char* data, std::size_t size,
                     void* self) noexcept;

  UrlRequest request_;
  const TransferLimits limits_;
  std::unique_ptr<curl_slist, FreeList> headers_;
  std::string body_;
  char error_[CURL_ERROR_SIZE] = "";
  int redirects_ = 0;
  int codings_ = 0;               // of the current answer
  std::size_t headerBytes_ = 0;   // of all answers
  std::size_t messageBytes_ = 0;  // of all answers: everything after the headers, including framing
  curl_off_t moved_ = 0;
  Time progressed_ = std::chrono::steady_clock::now();
  bool prepared_ = true;
  std::unique_ptr<CURL, FreeEasy> handle_;  // last: destroyed before the data it points to
};

}  // namespace corvo::corvo_internal::host
