// SPDX-License-Identifier: Apache-2.0

#include "tool/http/http_response_head.h"

#include <array>
#include <boost/beast/http/status.hpp>
#include <chrono>
#include <cstddef>
#include <cstdio>
#include <string_view>

namespace corvo::tool {
namespace {

using std::chrono::sys_seconds;

/// "Sun, 06 Nov 1994 08:49:37 GMT"
std::string textOf(sys_seconds time) {
  constexpr const char* kDays[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
  constexpr const char* kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                     "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  const auto day = std::chrono::floor<std::chrono::days>(time);
  const std::chrono::year_month_day date(day);
  const std::chrono::hh_mm_ss clock(time - day);
  std::array<char, 40> text{};
  std::snprintf(text.data(), text.size(), "%s, %02u %s %04d %02d:%02d:%02d GMT",
                kDays[std::chrono::weekday(day).c_encoding()], unsigned(date.day()),
                kMonths[unsigned(date.month()) - 1], int(date.year()),
                static_cast<int>(clock.hours().count()), static_cast<int>(clock.minutes().count()),
                static_cast<int>(clock.seconds().count()));
  return text.data();
}

/// The current time. Written once a second by each thread.
const std::string& date() {
  thread_local sys_seconds written;
  thread_local std::string text;
  const auto now = std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
  if (text.empty() || now != written) {
    text = textOf(now);
    written = now;
  }
  return text;
}

void add(std::string& head, std::string_view name, std::string_view value) {
  head.append(name).append(": ").append(value).append("\r\n");
}

}  // namespace

std::string headOf(const HttpResponse& response, bool keepsAlive, bool readsChunks) {
  const auto status = boost::beast::http::int_to_status(static_cast<unsigned>(response.status));
  const auto reason = boost::beast::http::obsolete_reason(status);
  std::string head = "HTTP/1.1 " + std::to_string(response.status) + " ";
  head.append(reason.data(), reason.size()).append("\r\n");
  add(head, "Date", date());
  if (hasBody(response.status)) add(head, "Content-Type", response.type);
  for (const auto& [name, value] : response.headers) add(head, name, value);
  if (response.stream) {
    if (readsChunks) add(head, "Transfer-Encoding", "chunked");
  } else if (hasBody(response.status)) {
    add(head, "Content-Length", std::to_string(response.body.size()));
  } else if (response.status == 205) {
    add(head, "Content-Length", "0");
  }
  if (!keepsAlive) add(head, "Connection", "close");
  if (keepsAlive && !readsChunks) add(head, "Connection", "keep-alive");
  return head += "\r\n";
}

std::string chunkOf(const std::string& text) {
  std::array<char, 20> size{};
  std::snprintf(size.data(), size.size(), "%zx\r\n", text.size());
  return size.data() + text + "\r\n";
}

}  // namespace corvo::tool
