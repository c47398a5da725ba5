#include <corvo/error.h>
#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <type_traits>

#include "tests/base/case_table.h"

namespace corvo {
namespace {

using Network = CorvoNetworkError;
using Error = CorvoError;

// In the order of the cases, like the descriptions in the tables.
const std::vector<Network::Payload> kNetworkErrors{
    Network::IncorrectURL{"http:// x"}, Network::UrlError{"the line is cut"},
    Network::WrongStatusCode{404},      Network::DecodingError{"/a: no list"},
    Network::CustomError{"as it is"},   Network::NoData{}};

const std::vector<Error::Payload> kErrors{
    Error::InitializationOfExistingClient{"main"},
    Error::RequestConfigFailed{{Network::NoData{}}},
    Error::RequestLocationFailed{{Network::WrongStatusCode{-1}}},
    Error::FeatureFlagNotFound{"f"},
    Error::FeatureFlagNoRules{"f"},
    Error::FeatureFlagRulesNotSatisfied{"f"},
    Error::ExperimentNotFound{"exp"},
    Error::ExperimentGroupNotMatchingFeatureFlagGroup{"exp", "f", "b", {"x", "y\"\n"}},
    Error::ExperimentSplitIdNotFound{"exp"},
    Error::ExperimentGroupIndexNotFound{"exp", 3},
    Error::ExperimentAlreadyContainsUser{"exp"},
    Error::ExperimentGroupAlreadyContainsUser{"exp", INT64_MIN},
    Error::HoldoutNotFound{"a\"b"},
    Error::ExperimentsEmpty{},
    Error::NoForceIncludedExperiments{}};

template <class AnyError>
void expectTable(const std::vector<typename AnyError::Payload>& payloads, const std::string& file) {
  const auto table = tests::caseTable<2>(file);
  ASSERT_EQ(payloads.size(), std::variant_size_v<typename AnyError::Payload>);
  ASSERT_EQ(payloads.size(), table.size());
  std::vector<AnyError> errors;
  for (const auto& any : payloads) {
    std::visit([&](const auto& payload) { errors.emplace_back(payload); }, any);
  }
  for (std::size_t i = 0; i < payloads.size(); ++i) {
    const AnyError& error = errors[i];
    EXPECT_EQ(static_cast<std::size_t>(error.which()), i);
    EXPECT_EQ(error.description(), table[i][1]) << table[i][0];
    EXPECT_EQ(error.what(), error.description());
    EXPECT_TRUE(error.payload() == payloads[i]) << i;
    for (std::size_t j = 0; j < errors.size(); ++j) {
      AnyError other = errors[j];
      EXPECT_EQ(error == other, i == j) << i << ' ' << j;
      other = error;  // each case assigned to each
      EXPECT_EQ(other, error) << i << ' ' << j;
    }
    AnyError taken = errors[i];
    EXPECT_EQ(AnyError(std::move(taken)), error) << i;
  }
}

TEST(Errors, DescribeEveryCase) {
  expectTable<Network>(kNetworkErrors, CORVO_BASE_CASES "network_errors.txt");
  expectTable<Error>(kErrors, CORVO_BASE_CASES "errors.txt");
}

TEST(Errors, CompareAndGiveTheirPayloads) {
  const Error error(Error::RequestConfigFailed{{Network::WrongStatusCode{404}}});
  EXPECT_NE(error, Error(Error::RequestConfigFailed{{Network::WrongStatusCode{500}}}));
  EXPECT_EQ(error.as<Error::RequestLocationFailed>(), nullptr);
  const auto& wrapped = error.as<Error::RequestConfigFailed>()->error;
  EXPECT_EQ(wrapped.as<Network::WrongStatusCode>()->statusCode, 404);
}

TEST(Errors, KeepWhatPerValueAndForAllThreads) {
  Error first(Error::HoldoutNotFound{"one"});
  const char* texts[2]{};
  std::thread other([&] { texts[0] = first.what(); });
  texts[1] = first.what();
  other.join();
  EXPECT_EQ(texts[0], texts[1]);

  const Error copy = first;
  EXPECT_NE(copy.what(), first.what());
  first = Error(Error::HoldoutNotFound{"two"});
  EXPECT_STREQ(first.what(), R"(Corvo warn: Holdout with name "two" not found)");
  EXPECT_STREQ(copy.what(), R"(Corvo warn: Holdout with name "one" not found)");
  static_assert(std::is_nothrow_move_constructible_v<Error>);
  static_assert(std::is_base_of_v<std::exception, Error>);
  static_assert(std::is_base_of_v<std::exception, Network>);
}

}  // namespace
}  // namespace corvo
