#include "host/curl_transfers.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <new>
#include <utility>
#include <vector>

#include "host/url_rules.h"

namespace corvo::host {
namespace {

CURLM* makeMulti() {
  static const CURLcode started = curl_global_init(CURL_GLOBAL_DEFAULT);  // once per process
  CURLM* const multi = started == CURLE_OK ? curl_multi_init() : nullptr;
  if (multi == nullptr) throw std::bad_alloc();
  return multi;
}

UrlResponse failed(std::string reason) { return {{}, {}, std::move(reason)}; }

}  // namespace

CurlTransfers::CurlTransfers(const TransferLimits& limits) : limits_(limits), multi_(makeMulti()) {}

CurlTransfers::~CurlTransfers() {
  for (const auto& [handle, active] : active_) curl_multi_remove_handle(multi_.get(), handle);
}

void CurlTransfers::start(Order order) {
  ++count_;
  if (std::optional<std::string> reason = refusal(order.request)) {
    answer(std::move(order), failed(*std::move(reason)));
    return;
  }
  auto transfer = std::make_unique<CurlTransfer>(order.request, limits_);
  CURL* const handle = transfer->handle();
  if (!transfer->isPrepared() || curl_multi_add_handle(multi_.get(), handle) != CURLM_OK) {
    answer(std::move(order), failed("the transfer could not be prepared"));
    return;
  }
  active_.emplace(handle, Active{std::move(order), std::move(transfer)});
}

void CurlTransfers::perform() {
  dropOrphans();
  if (active_.empty()) return;
  int running = 0;
  curl_multi_perform(multi_.get(), &running);
  int left = 0;
  while (const CURLMsg* const message = curl_multi_info_read(multi_.get(), &left)) {
    if (message->msg == CURLMSG_DONE) settle(message->easy_handle, message->data.result);
  }
  failStalled();
}

void CurlTransfers::settle(CURL* handle, CURLcode result) {
  curl_multi_remove_handle(multi_.get(), handle);
  const auto found = active_.find(handle);
  CurlTransfer& transfer = *found->second.transfer;
  if (result == CURLE_OK && transfer.follow() &&
      curl_multi_add_handle(multi_.get(), handle) == CURLM_OK) {
    return;
  }
  UrlResponse response = transfer.response(result);
  const auto active = active_.extract(found);
  answer(std::move(active.mapped().order), std::move(response));
}

void CurlTransfers::failStalled() {
  const auto now = std::chrono::steady_clock::now();
  std::vector<CURL*> stalled;
  for (const auto& [handle, active] : active_) {
    if (active.transfer->patience(now) <= 0) stalled.push_back(handle);
  }
  for (CURL* const handle : stalled) settle(handle, CURLE_OPERATION_TIMEDOUT);
}

void CurlTransfers::dropOrphans() {
  std::vector<Active> orphans;  // destroyed last: their completions may own anything
  for (auto each = active_.begin(); each != active_.end();) {
    const auto next = std::next(each);
    if (each->second.order.owner.expired()) {
      curl_multi_remove_handle(multi_.get(), each->first);
      orphans.push_back(std::move(each->second));
      active_.erase(each);
      --count_;
    }
    each = next;
  }
}

void CurlTransfers::answer(Order order, UrlResponse response) {
  answered_.push_back({std::move(order), std::move(response)});
}

std::optional<Answered> CurlTransfers::takeAnswered() {
  while (!answered_.empty()) {
    Answered first = std::move(answered_.front());
    answered_.pop_front();
    --count_;
    if (!first.order.owner.expired()) return first;
  }
  return std::nullopt;
}

void CurlTransfers::wait() {
  double patience = 1e6;
  const auto now = std::chrono::steady_clock::now();
  for (const auto& [handle, active] : active_) {
    patience = std::min(patience, active.transfer->patience(now));
  }
  const auto milliseconds = static_cast<int>(std::ceil(std::max(patience, 0.0) * 1000));
  curl_multi_poll(multi_.get(), nullptr, 0, milliseconds, nullptr);
}

}  // namespace corvo::host
