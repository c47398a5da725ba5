#pragma once

#include <corvo/client.h>

#include <memory>
#include <string>
#include <string_view>

#include "client/question.h"

namespace corvo::client {

/// The question for one flag. Refers to the asker's name and sink, or, where it waits, owns both.
class FlagQuestion final : public Question {
 public:
  FlagQuestion(std::string_view flagName, FlagSink& sink) : flagName_(flagName), sink_(&sink) {}
  FlagQuestion(std::string flagName, std::unique_ptr<FlagSink> sink)
      : ownName_(std::move(flagName)),
        ownSink_(std::move(sink)),
        flagName_(ownName_),
        sink_(ownSink_.get()) {}
  FlagQuestion(const FlagQuestion&) = delete;  // refers to itself
  FlagQuestion& operator=(const FlagQuestion&) = delete;

  void answer(const Evidence& evidence) override;
  void fail(const CorvoError& error) override { sink_->onError(error); }
  std::unique_ptr<Question> detach() override {
    return std::make_unique<FlagQuestion>(std::string(flagName_), sink_->detach());
  }

 private:
  std::string ownName_;
  std::unique_ptr<FlagSink> ownSink_;
  std::string_view flagName_;
  FlagSink* sink_;
};

/// The report on all flags: those with a value, each typed by its text.
[[nodiscard]] FlagReport reportFlags(const Evidence& evidence);

}  // namespace corvo::client
