#include "host/curl_transfer.h"

#include <algorithm>
#include <exception>
#include <utility>

#include "host/url_rules.h"

namespace corvo::host {
namespace {

constexpr int kMostRedirects = 10;

bool isRedirect(long status) {
  return status == 301 || status == 302 || status == 303 || status == 307 || status == 308;
}

/// As libcurl takes it: a field without a value needs a semicolon, else it would be left out.
std::string headerLine(const std::string& name, const std::string& value) {
  const bool isBlank = value.find_first_not_of(' ') == std::string::npos;
  return isBlank ? name + ";" : name + ": " + value;
}

}  // namespace

CurlTransfer::CurlTransfer(UrlRequest request, const TransferLimits& limits)
    : request_(std::move(request)), limits_(limits), handle_(curl_easy_init()) {
  set(CURLOPT_URL, request_.url.c_str());
  set(CURLOPT_PROTOCOLS_STR, "http,https");
  set(CURLOPT_ACCEPT_ENCODING, "");  // every coding that libcurl can undo
  set(CURLOPT_NOSIGNAL, 1L);
  set(CURLOPT_QUICK_EXIT, 1L);
  set(CURLOPT_ERRORBUFFER, error_);
  set(CURLOPT_WRITEFUNCTION, &onBody);
  set(CURLOPT_WRITEDATA, this);
  set(CURLOPT_HEADERFUNCTION, &onHeader);
  set(CURLOPT_HEADERDATA, this);
  set(CURLOPT_XFERINFOFUNCTION, &onProgress);
  set(CURLOPT_XFERINFODATA, this);
  set(CURLOPT_NOPROGRESS, 0L);
  if (request_.method == "POST") {
    set(CURLOPT_POST, 1L);
    set(CURLOPT_POSTFIELDSIZE, 0L);
    set(CURLOPT_POSTFIELDS, "");
  }
  setHeaders();
}

template <class Value>
void CurlTransfer::set(CURLoption option, Value value) {
  prepared_ = prepared_ && curl_easy_setopt(handle(), option, value) == CURLE_OK;
}

void CurlTransfer::setHeaders() {
  const auto add = [this](const std::string& line) {
    curl_slist* const longer = curl_slist_append(headers_.get(), line.c_str());
    prepared_ = prepared_ && longer != nullptr;
    if (longer != nullptr && headers_ == nullptr) headers_.reset(longer);
  };
  if (request_.method == "POST") add("Content-Type:");  // libcurl's own idea of it is left out
  for (const auto& [name, value] : request_.headers) add(headerLine(name, value));
  set(CURLOPT_HTTPHEADER, headers_.get());
}

bool CurlTransfer::follow() {
  long status = 0;
  const char* next = nullptr;
  curl_easy_getinfo(handle(), CURLINFO_RESPONSE_CODE, &status);
  curl_easy_getinfo(handle(), CURLINFO_REDIRECT_URL, &next);
  if (!isRedirect(status) || next == nullptr || redirects_ == kMostRedirects) return false;
  if (!mayFollow(request_.url, next)) return false;
  ++redirects_;
  request_.url = next;
  body_.clear();
  noteProgress();
  set(CURLOPT_URL, request_.url.c_str());
  if (status <= 303) set(CURLOPT_HTTPGET, 1L);  // as browsers do; 307 and 308 keep the method
  return prepared_;
}

UrlResponse CurlTransfer::response(CURLcode result) {
  if (result != CURLE_OK) {
    return {{}, {}, error_[0] == '\0' ? curl_easy_strerror(result) : error_};
  }
  long status = 0;
  curl_easy_getinfo(handle(), CURLINFO_RESPONSE_CODE, &status);
  return {static_cast<int>(status), std::move(body_), {}};
}

double CurlTransfer::patience(Time now) const noexcept {
  const std::chrono::duration<double> idle = now - progressed_;
  return std::min(request_.timeoutSeconds, limits_.secondsWithoutProgress) - idle.count();
}

std::size_t CurlTransfer::onBody(char* data, std::size_t /*unit*/, std::size_t size,
                                 void* self) noexcept try {
  auto& transfer = *static_cast<CurlTransfer*>(self);
  if (size > transfer.limits_.bodyBytes - transfer.body_.size()) return 0;  // ends the transfer
  transfer.body_.append(data, size);
  return size;
} catch (const std::exception&) {
  return 0;
}

std::size_t CurlTransfer::onHeader(char* /*data*/, std::size_t /*unit*/, std::size_t size,
                                   void* self) noexcept {
  static_cast<CurlTransfer*>(self)->noteProgress();
  return size;
}

int CurlTransfer::onProgress(void* self, curl_off_t /*total*/, curl_off_t received,
                             curl_off_t /*toSend*/, curl_off_t sent) noexcept {
  auto& transfer = *static_cast<CurlTransfer*>(self);
  if (transfer.moved_ != received + sent) transfer.noteProgress();
  transfer.moved_ = received + sent;
  return 0;
}

}  // namespace corvo::host
