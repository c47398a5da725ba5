#pragma once

#include <corvo/client.h>

#include <memory>
#include <utility>

#include "client/question.h"

namespace corvo::client {

/// The question for one flag. Refers to the asker's sink, or, where it waits, owns one.
class FlagQuestion final : public Question {
 public:
  FlagQuestion(Name flagName, FlagSink& sink) : flagName_(std::move(flagName)), sink_(&sink) {}
  FlagQuestion(Name flagName, std::unique_ptr<FlagSink> sink)
      : flagName_(std::move(flagName)), ownSink_(std::move(sink)), sink_(ownSink_.get()) {}

  [[nodiscard]] About about(const experiments::Project& /*project*/) const override {
    return About::user;
  }
  void answer(const Evidence& evidence) override;
  void fail(CorvoError error) override { sink_->keepError(std::move(error)); }

 protected:
  void callBack() override { sink_->deliver(); }
  std::unique_ptr<Question> detach() override {
    return std::make_unique<FlagQuestion>(flagName_.detach(), sink_->detach());
  }

 private:
  Name flagName_;
  std::unique_ptr<FlagSink> ownSink_;
  FlagSink* sink_;
};

/// The report on all flags: those with a value, each typed by its text.
[[nodiscard]] FlagReport reportFlags(const Evidence& evidence);

}  // namespace corvo::client
