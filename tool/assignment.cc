// SPDX-License-Identifier: Apache-2.0

#include "tool/assignment.h"

#include <algorithm>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tool/answer_form.h"
#include "tool/failure.h"
#include "tool/line_answerer.h"
#include "tool/line_batch.h"
#include "tool/line_input.h"
#include "tool/line_workers.h"
#include "tool/output.h"
#include "tool/progress.h"

namespace corvo::tool {
namespace {

// A batch takes about a millisecond: long enough to be worth passing to a thread, and small in
// memory.
constexpr std::size_t kTextBytes = std::size_t{64} << 10;
constexpr std::size_t kAnswerBytes = std::size_t{256} << 10;
constexpr std::size_t kMostLines = 4'096;
constexpr std::size_t kMostBytes = LineInput::kLongest;  // under way, plus one line
constexpr std::size_t kKeptBytes = std::size_t{4} << 20;

std::vector<LineWorkers::Work> answerers(const Project& project, const AnswerForm& form,
                                         const EvaluationContext& defaults,
                                         std::span<const UserDocument* const> common,
                                         std::size_t count) {
  std::vector<LineWorkers::Work> work;
  for (std::size_t i = 0; i < count; ++i) {
    const auto answerer = std::make_shared<LineAnswerer>(project, form, defaults, common);
    work.emplace_back([answerer](LineBatch& batch) { answerer->answer(batch); });
  }
  return work;
}

/// Reads batches, passes them to the workers, and writes their answers.
class Assignment {
 public:
  explicit Assignment(std::vector<LineWorkers::Work> work) : workers_(std::move(work)) {}

  void run() {
    do {
      while (hasEnough() || (!workers_.areIdle() && !input_.isReady())) writeFirst();
    } while (beginNext());
    while (!workers_.areIdle()) writeFirst();
    input_.check();
    if (badCount_ == 0) return;
    throw Failure("bad-lines", std::to_string(badCount_) + " of " + std::to_string(lineCount_) +
                                   " lines are invalid: their answers say why");
  }

 private:
  [[nodiscard]] bool hasEnough() const { return workers_.areBusy() || bytesUnderWay_ > kMostBytes; }

  // Takes lines as long as they are available without waiting; waits only for the first.
  bool beginNext() {
    std::unique_ptr<LineBatch> batch = std::exchange(spare_, nullptr);
    if (!batch) batch = std::make_unique<LineBatch>();
    batch->clear();
    batch->firstNumber = lineCount_ + 1;
    do {
      const auto line = input_.next();
      if (!line) break;
      batch->text += line->text;
      batch->lines.push_back({line->text.size(), line->isTooLong});
    } while (batch->lines.size() < linesOfBatch_ && batch->text.size() < kTextBytes &&
             input_.isReady());
    if (batch->lines.empty()) return false;
    lineCount_ += batch->lines.size();
    bytesUnderWay_ += batch->text.size();
    workers_.begin(std::move(batch));
    return true;
  }

  void writeFirst() {
    std::unique_ptr<LineBatch> batch = workers_.finish();
    print(batch->answers);
    badCount_ += batch->badCount;
    bytesUnderWay_ -= batch->text.size();
    progress_.advance(batch->lines.size());
    const std::size_t bytesOfLine = batch->answers.size() / batch->lines.size();
    linesOfBatch_ = std::clamp(kAnswerBytes / bytesOfLine, std::size_t{1}, kMostLines);
    if (batch->text.capacity() + batch->answers.capacity() < kKeptBytes) spare_ = std::move(batch);
  }

  LineInput input_;
  Progress progress_{"users"};
  std::size_t linesOfBatch_ = 16;
  std::size_t bytesUnderWay_ = 0;
  std::size_t lineCount_ = 0;
  std::size_t badCount_ = 0;
  std::unique_ptr<LineBatch> spare_;
  LineWorkers workers_;
};

}  // namespace

void assign(const Project& project, const EvaluationContext& defaults,
            std::span<const UserDocument* const> common, const AssignOptions& options) {
  const AnswerForm form(project, options.flags, options.experiments);
  Assignment(answerers(project, form, defaults, common, options.jobs)).run();
}

}  // namespace corvo::tool
