// SPDX-License-Identifier: Apache-2.0

#include "host/curl_transfer.h"

#include <algorithm>
#include <exception>
#include <utility>

#include "host/url_rules.h"

namespace corvo::corvo_internal::host {
namespace {

constexpr int kMostRedirects = 10;
constexpr std::size_t kMostHeaderBytes = std::size_t{1} << 20;
constexpr std::size_t kMostFraming = std::size_t{1} << 20;  // of the chunked coding

bool isRedirect(long status) {
  return status == 301 || status == 302 || status == 303 || status == 307 || status == 308;
}

/// In libcurl's syntax, where a field without a value needs a semicolon; otherwise it is omitted.
std::string headerLine(const std::string& name, const std::string& value) {
  const bool isBlank = value.find_first_not_of(' ') == std::string::npos;
  return isBlank ? name + ";" : name + ": " + value;
}

bool startsWith(std::string_view text, std::string_view start) {
  return text.size() >= start.size() &&
         curl_strnequal(text.data(), start.data(), start.size()) != 0;
}

/// The number of codings in a header line that must be decoded, apart from chunking.
int codingsIn(std::string_view line) {
  if (!startsWith(line, "content-encoding:") && !startsWith(line, "transfer-encoding:")) return 0;
  int count = 0;
  for (std::size_t at = line.find(':'); at != std::string_view::npos; at = line.find(',', at)) {
    at = std::min(line.find_first_not_of(" \t", at + 1), line.size());
    const std::string_view coding = line.substr(at, line.find_first_of(", \t\r\n", at) - at);
    const bool isPlain = coding.empty() || startsWith(coding, "chunked") ||
                         startsWith(coding, "identity") || startsWith(coding, "none");
    if (!isPlain) ++count;
  }
  return count;
}

}  // namespace

CurlTransfer::CurlTransfer(UrlRequest request, const TransferLimits& limits)
    : request_(std::move(request)), limits_(limits), handle_(curl_easy_init()) {
  set(CURLOPT_URL, request_.url.c_str());
  set(CURLOPT_PROTOCOLS_STR, "http,https");
  set(CURLOPT_ACCEPT_ENCODING, "");  // every coding that libcurl can decode
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
  set(CURLOPT_DEBUGFUNCTION, &onTrace);  // the only way to learn about the bytes around the body
  set(CURLOPT_DEBUGDATA, this);
  set(CURLOPT_VERBOSE, 1L);
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
  if (request_.method == "POST") add("Content-Type:");  // removes libcurl's default
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

double CurlTransfer::remainingTime(Time now) const noexcept {
  const std::chrono::duration<double> idle = now - progressed_;
  return std::min(request_.timeoutSeconds, limits_.secondsWithoutProgress) - idle.count();
}

std::size_t CurlTransfer::onBody(char* data, std::size_t /*unit*/, std::size_t size,
                                 void* self) noexcept try {
  auto& transfer = *static_cast<CurlTransfer*>(self);
  if (size > transfer.limits_.bodyBytes - transfer.body_.size()) return 0;  // aborts the transfer
  transfer.body_.append(data, size);
  return size;
} catch (const std::exception&) {
  return 0;
}

std::size_t CurlTransfer::onHeader(char* data, std::size_t /*unit*/, std::size_t size,
                                   void* self) noexcept {
  auto& transfer = *static_cast<CurlTransfer*>(self);
  transfer.noteProgress();
  return transfer.countHeaderLine({data, size}) ? size : 0;  // 0 aborts the transfer
}

// Decoding a body that was compressed twice can take hours and yield nothing.
bool CurlTransfer::countHeaderLine(std::string_view line) noexcept {
  if (startsWith(line, "HTTP/")) codings_ = 0;
  codings_ += codingsIn(line);
  headerBytes_ += line.size();
  return codings_ <= 1 && headerBytes_ <= kMostHeaderBytes;
}

int CurlTransfer::onTrace(CURL* /*handle*/, curl_infotype type, char* /*data*/, std::size_t size,
                          void* self) noexcept {
  if (type == CURLINFO_DATA_IN) static_cast<CurlTransfer*>(self)->messageBytes_ += size;
  return 0;
}

int CurlTransfer::onProgress(void* self, curl_off_t /*total*/, curl_off_t received,
                             curl_off_t /*toSend*/, curl_off_t sent) noexcept {
  auto& transfer = *static_cast<CurlTransfer*>(self);
  if (transfer.moved_ != received + sent) transfer.noteProgress();
  transfer.moved_ = received + sent;
  const std::size_t most = transfer.limits_.bodyBytes;
  const std::size_t message =
      transfer.messageBytes_ - std::min(transfer.messageBytes_, kMostFraming);
  const bool isTooMuch = static_cast<std::size_t>(received) > most || message > most;
  return isTooMuch ? 1 : 0;  // 1 aborts the transfer
}

}  // namespace corvo::corvo_internal::host
