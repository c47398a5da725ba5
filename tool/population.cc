// SPDX-License-Identifier: Apache-2.0

#include "tool/population.h"

#include <CLI/CLI.hpp>
#include <cerrno>
#include <cstdio>
#include <exception>
#include <mutex>
#include <optional>
#include <system_error>
#include <thread>
#include <utility>

#include "json/json_places.h"
#include "tool/failure.h"
#include "tool/input.h"
#include "tool/line_batch.h"
#include "tool/line_input.h"
#include "tool/output.h"
#include "tool/progress.h"
#include "tool/user_line.h"

namespace corvo::tool {
namespace {

// A batch takes about a millisecond: long enough to be worth a lock, and short enough that all
// threads end at about the same time.
constexpr std::size_t kMostUsers = 256;
constexpr std::size_t kTextBytes = std::size_t{256} << 10;

constexpr std::size_t kMostSynthetic = 1'000'000'000'000;

struct Range {
  std::size_t first = 0;
  std::size_t count = 0;
};

/// Users that several threads share out among themselves, in batches of ascending positions.
class Supply {
 public:
  /// Of lines if there is an input, otherwise so many synthetic users.
  Supply(std::optional<LineInput>& input, std::size_t count) : input_(input), count_(count) {}

  /// The next users, and their lines if there are any. The range is empty at the end, or after
  /// `fail`.
  Range take(LineBatch& lines) {
    const std::lock_guard lock(mutex_);
    if (failure_) return {};
    const Range range{taken_, input_ ? takeLines(lines) : std::min(kMostUsers, count_ - taken_)};
    taken_ += range.count;
    progress_.advance(range.count);
    return range;
  }

  /// Ends the supply. Of several failures, the one with the lowest position counts, so that it does
  /// not depend on the threads: users before it have already been taken.
  void fail(std::size_t position, std::exception_ptr failure) {
    const std::lock_guard lock(mutex_);
    if (failure_ && failedAt_ < position) return;
    failure_ = std::move(failure);
    failedAt_ = position;
  }

  /// How many users there were. Throws the failure if there is one. For use after all threads.
  [[nodiscard]] std::size_t total() const {
    if (failure_) std::rethrow_exception(failure_);
    if (input_) input_->check();
    return taken_;
  }

 private:
  std::size_t takeLines(LineBatch& batch) {
    batch.clear();
    batch.firstNumber = taken_ + 1;
    while (batch.lines.size() < kMostUsers && batch.text.size() < kTextBytes) {
      const auto line = input_->next();
      if (!line) break;
      batch.text += line->text;
      batch.lines.push_back({line->text.size(), line->isTooLong});
    }
    return batch.lines.size();
  }

  std::mutex mutex_;
  std::optional<LineInput>& input_;
  const std::size_t count_;
  std::size_t taken_ = 0;
  std::size_t failedAt_ = 0;
  std::exception_ptr failure_;
  Progress progress_{"users"};
};

/// Makes synthetic users of positions.
class Synthesis {
 public:
  Synthesis(const Variations& variations, EvaluationContext defaults)
      : user_(variations), context_(std::move(defaults)) {}

  const EvaluationContext& at(std::size_t position) {
    user_.become(position);
    const UserDocument* const documents[] = {&user_.document()};
    described_.describe(documents, context_);
    return context_;
  }

 private:
  SyntheticUser user_;
  DescribedUser described_;
  EvaluationContext context_;
};

/// Reads the users of a batch of lines, one after the other.
class LineReader {
 public:
  LineReader(const std::string& name, const EvaluationContext& defaults)
      : name_(name), line_(defaults, {}) {}

  void begin(const LineBatch& batch) {
    rest_ = batch.text;
    next_ = 0;
    batch_ = &batch;
  }

  /// Throws a `Failure` if the line is invalid.
  const EvaluationContext& next() {
    const auto [size, isTooLong] = batch_->lines[next_];
    const std::string_view text = rest_.substr(0, size);
    rest_.remove_prefix(size);
    ++next_;
    if (isTooLong) refuse({"line-too-long", "longer than 16 MiB"}, 1);
    if (const auto fault = line_.read(text)) {
      const auto [ignored, column] = corvo_internal::json::LineCounter(text).at(fault->place);
      refuse(*fault, column);
    }
    return line_.context();
  }

 private:
  [[noreturn]] void refuse(const UserLine::Fault& fault, std::size_t column) const {
    throw Failure(fault.code, shownName(name_) + ":" +
                                  std::to_string(batch_->firstNumber + next_ - 1) + ":" +
                                  std::to_string(column) + ": " + fault.reason);
  }

  const std::string& name_;
  UserLine line_;
  const LineBatch* batch_ = nullptr;
  std::string_view rest_;
  std::size_t next_ = 0;
};

/// Visits users until the supply ends. `contextAt` takes a batch's lines and a position.
template <class Begin, class ContextAt>
void visitSome(Supply& supply, const Population::Visit& visit, Begin begin, ContextAt contextAt) {
  LineBatch lines;
  std::size_t position = 0;
  try {
    for (Range range = supply.take(lines); range.count > 0; range = supply.take(lines)) {
      position = range.first;
      begin(lines);
      for (; position < range.first + range.count; ++position) visit(position, contextAt(position));
    }
  } catch (...) {
    supply.fail(position, std::current_exception());
  }
}

/// Runs the work for each visitor: for the first on this thread, for the others on as many threads
/// as the system can create.
template <class Work>
void runForEach(std::span<const Population::Visit> visitors, Work work) {
  std::vector<std::jthread> threads;
  threads.reserve(visitors.size());
  try {
    for (const Population::Visit& each : visitors.subspan(1)) {
      threads.emplace_back([&work, &each] { work(each); });
    }
  } catch (const std::system_error&) {
    // The other threads do its part.
  }
  work(visitors.front());
}

}  // namespace

void addPopulationOptions(CLI::App& command, PopulationOptions& options) {
  CLI::Option* const users =
      command
          .add_option("--users", options.users, "The number of synthetic users; by default 100000")
          ->check(CLI::Range(std::size_t{1}, kMostSynthetic))
          ->type_name("COUNT");
  CLI::Option* const vary =
      command
          .add_option("--vary", options.variations,
                      "Give a property to a share of the synthetic users; may be repeated")
          ->check(CLI::Validator(complainAboutVariation, "NAME=SHARE:VALUE"))
          ->allow_extra_args(false);
  CLI::Option* const out =
      command
          .add_option("--users-out", options.out,
                      "Write the synthetic users to a file, as input for corvo assign")
          ->check(complainAboutName)
          ->type_name("FILE");
  command
      .add_option("--from", options.from,
                  "Read users from such a file instead; - is standard input")
      ->check(complainAboutName)
      ->type_name("FILE")
      ->excludes(users)
      ->excludes(vary)
      ->excludes(out);
}

Population::Population(const PopulationOptions& options)
    : options_(options), variations_(options.variations) {}

std::size_t Population::visit(const EvaluationContext& defaults,
                              std::span<const Visit> visitors) const {
  if (!options_.out.empty()) write();
  std::optional<LineInput> input;
  if (!options_.from.empty()) input.emplace(options_.from);
  Supply supply(input, options_.users);
  runForEach(visitors, [&](const Visit& visit) {
    if (input) {
      LineReader reader(options_.from, defaults);
      visitSome(
          supply, visit, [&](const LineBatch& lines) { reader.begin(lines); },
          [&](std::size_t) -> const EvaluationContext& { return reader.next(); });
    } else {
      Synthesis synthesis(variations_, defaults);
      visitSome(
          supply, visit, [](const LineBatch&) {},
          [&](std::size_t position) -> const EvaluationContext& { return synthesis.at(position); });
    }
  });
  return supply.total();
}

void Population::write() const {
  errno = 0;
  File file(std::fopen(options_.out.c_str(), "wb"));
  SyntheticUser user(variations_);
  bool isWritten = file != nullptr;
  for (std::size_t i = 0; isWritten && i < options_.users; ++i) {
    user.become(i);
    isWritten = std::fputs(user.line().c_str(), file.get()) >= 0;
  }
  if (!isWritten || std::fclose(file.release()) != 0) failToWrite(options_.out);
}

}  // namespace corvo::tool
