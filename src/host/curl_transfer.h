#pragma once

#include <corvo/platform/url_session.h>
#include <curl/curl.h>

#include <chrono>
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

namespace corvo::corvo_internal::host {

/// What a transfer may take.
struct TransferLimits {
  double secondsWithoutProgress;
  double seconds;         // in all, with its redirects
  std::size_t bodyBytes;  // as they are sent, and decoded
};

struct FreeEasy {
  void operator()(CURL* handle) const noexcept { curl_easy_cleanup(handle); }
};
struct FreeList {
  void operator()(curl_slist* list) const noexcept { curl_slist_free_all(list); }
};

/// One request on its way, through the redirects that it follows. For the thread that runs the
/// loop. Owns its libcurl handle, which points back at this object.
class CurlTransfer {
 public:
  using Time = std::chrono::steady_clock::time_point;

  /// Prepares a handle for a request that nothing speaks against.
  CurlTransfer(UrlRequest request, const TransferLimits& limits);
  CurlTransfer(const CurlTransfer&) = delete;
  CurlTransfer& operator=(const CurlTransfer&) = delete;

  [[nodiscard]] CURL* handle() const noexcept { return handle_.get(); }
  /// False when libcurl refused to prepare it.
  [[nodiscard]] bool isPrepared() const noexcept { return prepared_; }

  /// Where it goes, or would go next.
  [[nodiscard]] const std::string& url() const noexcept { return request_.url; }

  /// After an answer: turns the handle to where it redirects, if that is followed.
  bool follow();
  /// After the end: what came of it.
  [[nodiscard]] UrlResponse response(CURLcode result);

  void noteProgress() noexcept { progressed_ = std::chrono::steady_clock::now(); }
  /// How long it may still go without progress, in seconds.
  [[nodiscard]] double patience(Time now) const noexcept;

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
  int codings_ = 0;               // of the present answer
  std::size_t headerBytes_ = 0;   // of all answers
  std::size_t messageBytes_ = 0;  // of all answers: what follows their headers, with the framing
  curl_off_t moved_ = 0;
  Time progressed_ = std::chrono::steady_clock::now();
  bool prepared_ = true;
  std::unique_ptr<CURL, FreeEasy> handle_;  // last: it dies before what it points at
};

}  // namespace corvo::corvo_internal::host
