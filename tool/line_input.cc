// SPDX-License-Identifier: Apache-2.0

#include "tool/line_input.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <system_error>

#include "tool/failure.h"

#ifdef _WIN32
#include <io.h>
#else
#include <poll.h>
#include <unistd.h>
#endif

namespace corvo::tool {
namespace {

constexpr std::size_t kRead = std::size_t{256} << 10;
constexpr std::size_t kKept = 4 * kRead;  // a larger buffer is freed after a long line

#ifdef _WIN32

// Some inputs cannot tell, so this assumes that they would wait.
bool wouldWait(int /*descriptor*/) { return true; }

std::ptrdiff_t readSome(int descriptor, char* place, std::size_t size) {
  return ::_read(descriptor, place, static_cast<unsigned>(size));
}

int descriptorOf(std::FILE* file) { return ::_fileno(file); }

#else

bool wouldWait(int descriptor, int timeout = 0) {
  pollfd input{descriptor, POLLIN, 0};
  return ::poll(&input, 1, timeout) != 1 || (input.revents & (POLLIN | POLLHUP | POLLERR)) == 0;
}

// Waits even if the input is non-blocking.
std::ptrdiff_t readSome(int descriptor, char* place, std::size_t size) {
  for (;;) {
    const std::ptrdiff_t count = ::read(descriptor, place, size);
    if (count >= 0 || (errno != EINTR && errno != EAGAIN)) return count;
    if (errno == EAGAIN) wouldWait(descriptor, -1);
  }
}

int descriptorOf(std::FILE* file) { return ::fileno(file); }

#endif

}  // namespace

LineInput::LineInput(const std::string& name) : name_("standard input") {
  if (name == kStandardInput) return;
  name_ = name;
  file_ = openInput(name);
  descriptor_ = descriptorOf(file_.get());
}

bool LineInput::isReady() {
  while (!findEnd() && !isAtEnd_) {
    if (wouldWait(descriptor_)) return false;
    readMore();
  }
  return true;
}

std::optional<LineInput::Line> LineInput::next() {
  while (!findEnd() && !isAtEnd_) readMore();
  if (lineEnd_ < last_) return takeLine(lineEnd_);
  if (first_ == last_ && !isTooLong_) return std::nullopt;
  return takeLine(last_);
}

void LineInput::check() const {
  if (error_ == 0) return;
  throw Failure("cannot-read",
                "cannot read " + name_ + ": " + std::generic_category().message(error_));
}

// A line that is too long is not kept, however it ends.
bool LineInput::findEnd() {
  const auto* const end = static_cast<const char*>(
      lineEnd_ < last_ ? std::memchr(buffer_.data() + lineEnd_, '\n', last_ - lineEnd_) : nullptr);
  if (end != nullptr) {
    lineEnd_ = static_cast<std::size_t>(end - buffer_.data());
    return true;
  }
  if (isTooLong_ || last_ - first_ > kLongest + 1) {
    isTooLong_ = true;
    last_ = first_;
  }
  lineEnd_ = last_;
  return false;
}

void LineInput::readMore() {
  if (first_ > 0) {
    std::copy(buffer_.data() + first_, buffer_.data() + last_, buffer_.data());
    last_ -= first_;
    lineEnd_ -= first_;
    first_ = 0;
  }
  if (last_ < kRead && buffer_.size() > kKept) {
    buffer_.resize(last_);
    buffer_.shrink_to_fit();
  }
  if (buffer_.size() - last_ < kRead) buffer_.resize(std::max(last_ + kRead, 2 * last_));
  const std::ptrdiff_t count =
      readSome(descriptor_, buffer_.data() + last_, buffer_.size() - last_);
  if (count > 0) {
    last_ += static_cast<std::size_t>(count);
    return;
  }
  isAtEnd_ = true;
  if (count == 0) return;
  error_ = errno;
  last_ = lineEnd_ = first_;  // the end of the line is unknown
  isTooLong_ = false;
}

LineInput::Line LineInput::takeLine(std::size_t end) {
  std::string_view text(buffer_.data() + first_, end - first_);
  first_ = lineEnd_ = std::min(end + 1, last_);
  if (text.ends_with('\r')) text.remove_suffix(1);
  const bool isTooLong = isTooLong_ || text.size() > kLongest;
  isTooLong_ = false;
  return {isTooLong ? "" : text, isTooLong};
}

}  // namespace corvo::tool
