// SPDX-License-Identifier: Apache-2.0

#include <corvo/c/client.h>

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "c/answers.h"
#include "c/call.h"
#include "c/client_objects.h"
#include "c/handle_table.h"
#include "c/objects.h"

namespace corvo::corvo_internal::c {
namespace {

/// An answer with all of its texts. Frees its handles unless they have been handed over.
class KeptAnswer {
 public:
  /// Takes over the handles, whether or not there is memory for the texts.
  explicit KeptAnswer(const corvo_answer& answer) : answer_(answer) {
    const corvo_status status = call([&] { keep(); });
    if (status == CORVO_OK) return;
    dropHandles();
    error_ = errorOf(status, kNoMemory);
    answer_ = {};
    answer_.error = &error_;
  }
  KeptAnswer(const KeptAnswer&) = delete;
  KeptAnswer& operator=(const KeptAnswer&) = delete;
  ~KeptAnswer() { dropHandles(); }

  [[nodiscard]] const corvo_error* error() const { return answer_.error; }
  /// The receiver owns the handles from now on, and sees them once.
  const corvo_answer& handOver() {
    handedOver_ = answer_;
    answer_.project = nullptr;
    answer_.experiment_count = 0;
    return handedOver_;
  }

 private:
  void keep() {
    experiments_.assign(answer_.experiments, answer_.experiments + answer_.experiment_count);
    answer_.experiments = experiments_.data();
    if (answer_.value.text.data != nullptr) answer_.value.text = kept(answer_.value.text);
    if (answer_.error != nullptr) {
      error_ = *answer_.error;
      error_.text = kept(error_.text);
      answer_.error = &error_;
    }
  }
  corvo_text kept(corvo_text text) {
    text_ = viewOf(text);
    return asText(text_);
  }
  void dropHandles() {
    if (answer_.project != nullptr) corvo_project_free(answer_.project);
    for (std::size_t i = 0; i < answer_.experiment_count; ++i) {
      corvo_experiment_free(answer_.experiments[i]);
    }
  }

  std::string text_;  // of the value or of the error
  std::vector<corvo_experiment*> experiments_;
  corvo_error error_{};
  corvo_answer answer_;
  corvo_answer handedOver_{};
};

class ReplyObject {
 public:
  explicit ReplyObject(const ClientObject& asked)
      : registry_(asked.registry), queue_(asked.client->mainQueue()) {}

  /// False while a question is under way.
  bool begin() {
    const std::lock_guard lock(mutex_);
    if (isPending_) return false;
    isPending_ = true;
    answer_.reset();
    return true;
  }
  void set(const corvo_answer& answer) {
    const std::lock_guard lock(mutex_);
    answer_.emplace(answer);
  }
  void end() {
    const std::lock_guard lock(mutex_);
    isPending_ = false;
  }
  bool isReady() {
    const std::lock_guard lock(mutex_);
    return !isPending_ || answer_;
  }

  /// Runs the client's queue until the answer is there, or none can come.
  void wait() {
    const OneThread::Stay waiting(waiting_);
    if (isReady()) return;
    std::optional<OneThread::Stay> running;
    if (queue_ == registry_->loop) running.emplace(registry_->running);
    queue_->runUntil([this] { return isReady(); });
  }

  /// The status of the answer; the answer itself if that is `CORVO_OK`.
  corvo_status take(const corvo_answer*& result) {
    const std::lock_guard lock(mutex_);
    if (!answer_ && isPending_) throw Misuse(CORVO_PENDING, "the answer has not come yet");
    if (!answer_) throw Misuse(CORVO_DROPPED, "the question was dropped: no answer will come");
    if (const corvo_error* error = answer_->error()) return failed(*error);
    result = &answer_->handOver();
    return CORVO_OK;
  }

 private:
  const std::shared_ptr<RegistryObject> registry_;
  const std::shared_ptr<MainQueue> queue_;
  OneThread waiting_;
  std::mutex mutex_;
  bool isPending_ = false;
  std::optional<KeptAnswer> answer_;
};

auto& replies() { return tableOf<ReplyObject, Mark::reply, true>(); }

void endQuestion(void* reply) {
  if (const auto object = replies().share(reply)) object->end();
}

}  // namespace

void takeAnswer(void* reply, const corvo_answer* answer) {
  if (answer == nullptr) return;
  if (const auto object = replies().share(reply)) {
    object->set(*answer);
  } else {  // it has been freed, and frees the handles
    const KeptAnswer freed(*answer);
  }
}

void beginReply(const void* reply) {
  if (!shared(replies(), reply)->begin()) throwBusy();
}

}  // namespace corvo::corvo_internal::c

using namespace corvo::corvo_internal::c;

corvo_status corvo_reply_create(corvo_client* client, corvo_reply** reply) {
  return call([&] {
    corvo_reply*& result = resultAt(reply);
    auto object = std::make_shared<ReplyObject>(*shared(clients(), client));
    result = handleIn<corvo_reply>(replies(), std::move(object));
  });
}

corvo_status corvo_reply_free(corvo_reply* reply) {
  return call([&] { freeHandle(replies(), reply); });
}

corvo_callback corvo_reply_callback(corvo_reply* reply) {
  return {reply, &takeAnswer, &endQuestion};
}

corvo_status corvo_reply_is_ready(corvo_reply* reply, bool* is_ready) {
  return call([&] {
    bool& result = resultAt(is_ready);
    result = shared(replies(), reply)->isReady();
  });
}

corvo_status corvo_reply_wait(corvo_reply* reply, const corvo_answer** answer) {
  corvo_status status = CORVO_OK;
  const corvo_status misuse = call([&] {
    const corvo_answer*& result = resultAt(answer);
    const auto object = shared(replies(), reply);
    object->wait();
    if (replies().share(reply) != object) throwInvalidHandle();  // it was freed meanwhile
    status = object->take(result);
  });
  return misuse == CORVO_OK ? status : misuse;
}
