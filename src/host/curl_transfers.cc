// SPDX-License-Identifier: Apache-2.0

#include "host/curl_transfers.h"

#include <algorithm>
#include <cmath>
#include <exception>
#include <iterator>
#include <new>
#include <optional>
#include <utility>

#include "host/sigpipe.h"
#include "host/url_rules.h"

namespace corvo::corvo_internal::host {
namespace {

constexpr int kMostPerOrigin = 6;  // as browsers do

CURLM* makeMulti() {
  static const CURLcode started = curl_global_init(CURL_GLOBAL_DEFAULT);  // once per process
  CURLM* const multi = started == CURLE_OK ? curl_multi_init() : nullptr;
  if (multi == nullptr) throw std::bad_alloc();
  return multi;
}

UrlResponse failed(std::string reason) { return {{}, {}, std::move(reason)}; }

/// Short enough not to allocate.
UrlResponse failedByMemory() noexcept { return failed("out of memory"); }

/// Visits all transfers of a list. The visitor may remove the visited one.
template <class Visit>
void forEach(TransferJobs& jobs, Visit visit) {
  for (auto each = jobs.begin(); each != jobs.end();) {
    const auto job = each++;
    visit(job);
  }
}

}  // namespace

CurlTransfers::~CurlTransfers() {
  const SigpipeBlocker quiet;
  for (TransferJob& job : active_) leave(job);
  multi_.reset();  // closes the connections
}

CURLM* CurlTransfers::multi() {
  const std::lock_guard lock(mutex_);
  if (multi_ == nullptr) {
    multi_.reset(makeMulti());
    if (isWoken_) curl_multi_wakeup(multi_.get());
  }
  return multi_.get();
}

void CurlTransfers::wake() noexcept {
  const std::lock_guard lock(mutex_);
  if (multi_ == nullptr) {
    isWoken_ = true;
  } else {
    curl_multi_wakeup(multi_.get());
  }
}

void CurlTransfers::start(TransferJobs jobs) noexcept {
  const auto now = std::chrono::steady_clock::now();
  for (TransferJob& job : jobs) job.since = now;
  count_ += jobs.size();
  waiting_.splice(waiting_.end(), jobs);
}

void CurlTransfers::perform() {
  if (count_ == 0) return;
  const SigpipeBlocker quiet;
  dropOrphans();
  bool hasEnded = false;
  do {
    advanceWaiting();
    int running = 0;
    if (!active_.empty()) curl_multi_perform(multi_.get(), &running);
    hasEnded = settleFinished();
    hasEnded = failOverdue() || hasEnded;
  } while (hasEnded && !waiting_.empty());  // slots have become free
}

void CurlTransfers::dropOrphans() {
  TransferJobs orphans;  // destroyed last, because their completions may own anything
  for (TransferJobs* const jobs : {&waiting_, &active_}) {
    forEach(*jobs, [&](TransferJobs::iterator job) {
      if (!job->owner.expired()) return;
      if (jobs == &active_) leave(*job);
      orphans.splice(orphans.end(), *jobs, job);
      --count_;
    });
  }
}

void CurlTransfers::advanceWaiting() {
  forEach(waiting_, [this](TransferJobs::iterator job) { advance(job); });
}

void CurlTransfers::advance(TransferJobs::iterator waiting) noexcept try {
  if (waiting->origin == nullptr) {
    if (std::optional<std::string> reason = refusal(waiting->request)) {
      return answer(waiting_, waiting, failed(*std::move(reason)));
    }
    waiting->origin = originOf(waiting->request.url);
  }
  if (waiting->origin->underWay < kMostPerOrigin) begin(waiting);
} catch (const std::exception&) {
  answer(waiting_, waiting, failedByMemory());
}

void CurlTransfers::begin(TransferJobs::iterator waiting) {
  TransferJob& job = *waiting;
  CURLM* const handles = multi();
  if (job.transfer == nullptr) {
    job.transfer = std::make_unique<CurlTransfer>(std::move(job.request), limits_);
    job.since = std::chrono::steady_clock::now();
  }
  job.transfer->noteProgress();
  if (!job.transfer->isPrepared() ||
      curl_multi_add_handle(handles, job.transfer->handle()) != CURLM_OK) {
    return answer(waiting_, waiting, failed("the transfer could not be prepared"));
  }
  ++job.origin->underWay;
  active_.splice(active_.end(), waiting_, waiting);
}

bool CurlTransfers::settleFinished() {
  if (active_.empty()) return false;
  bool hasEnded = false;
  int left = 0;
  while (const CURLMsg* const message = curl_multi_info_read(multi_.get(), &left)) {
    if (message->msg != CURLMSG_DONE) continue;
    const auto job = std::find_if(active_.begin(), active_.end(), [&](const TransferJob& each) {
      return each.transfer->handle() == message->easy_handle;
    });
    settle(job, message->data.result);
    hasEnded = true;
  }
  return hasEnded;
}

bool CurlTransfers::failOverdue() {
  const auto now = std::chrono::steady_clock::now();
  const std::size_t before = answered_.size();
  forEach(active_, [&](TransferJobs::iterator job) {
    const double left = std::min(secondsLeft(*job, now), job->transfer->remainingTime(now));
    if (!(left > 0)) settle(job, CURLE_OPERATION_TIMEDOUT);
  });
  forEach(waiting_, [&](TransferJobs::iterator job) {
    if (!(secondsLeft(*job, now) > 0)) answer(waiting_, job, failed("out of time"));
  });
  return answered_.size() > before;
}

// A redirect is queued again, because it may lead to another port. It goes before transfers that
// came later.
void CurlTransfers::settle(TransferJobs::iterator active, CURLcode result) noexcept try {
  leave(*active);
  CurlTransfer& transfer = *active->transfer;
  if (result != CURLE_OK || !transfer.follow()) {
    return answer(active_, active, transfer.response(result));
  }
  active->origin = originOf(transfer.url());
  waiting_.splice(waiting_.begin(), active_, active);
} catch (const std::exception&) {
  answer(active_, active, failedByMemory());
}

void CurlTransfers::leave(TransferJob& active) noexcept {
  curl_multi_remove_handle(multi_.get(), active.transfer->handle());
  --active.origin->underWay;
}

void CurlTransfers::answer(TransferJobs& from, TransferJobs::iterator job,
                           UrlResponse response) noexcept {
  job->response = std::move(response);
  job->transfer.reset();
  job->origin.reset();
  answered_.splice(answered_.end(), from, job);
}

TransferJobs CurlTransfers::takeAnswered() {
  while (!answered_.empty()) {
    TransferJobs first;
    first.splice(first.end(), answered_, answered_.begin());
    --count_;
    if (!first.front().owner.expired()) return first;
  }
  return {};
}

std::shared_ptr<Origin> CurlTransfers::originOf(const std::string& url) {
  std::string name = originName(url);
  std::erase_if(origins_, [](const auto& known) { return known.use_count() == 1; });
  const auto found = std::find_if(origins_.begin(), origins_.end(),
                                  [&](const auto& known) { return known->name == name; });
  if (found != origins_.end()) return *found;
  return origins_.emplace_back(std::make_shared<Origin>(Origin{std::move(name)}));
}

double CurlTransfers::secondsLeft(const TransferJob& job, Time now) const noexcept {
  return limits_.seconds - std::chrono::duration<double>(now - job.since).count();
}

void CurlTransfers::wait() {
  double left = 1e6;
  const auto now = std::chrono::steady_clock::now();
  for (const TransferJob& job : waiting_) left = std::min(left, secondsLeft(job, now));
  for (const TransferJob& job : active_) {
    left = std::min({left, secondsLeft(job, now), job.transfer->remainingTime(now)});
  }
  const auto milliseconds = static_cast<int>(std::ceil(std::max(left, 0.0) * 1000));
  curl_multi_poll(multi(), nullptr, 0, milliseconds, nullptr);
}

}  // namespace corvo::corvo_internal::host
