// SPDX-License-Identifier: Apache-2.0

#include <corvo/error.h>
#include <gtest/gtest.h>

#include <array>
#include <cctype>
#include <filesystem>
#include <sstream>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

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
    EXPECT_EQ(to_string(error.which()), table[i][0]);
    EXPECT_EQ(error.description(), table[i][1]);
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

/// The first two columns of the document's table rows that begin with a name, "| `name` | `text`
/// |".
std::vector<std::array<std::string, 2>> rowsOf(const std::string& document) {
  std::vector<std::array<std::string, 2>> rows;
  std::istringstream in(document);
  for (std::string line; std::getline(in, line);) {
    const std::size_t end = line.find("` |", 3);
    if (!line.starts_with("| `") || end == std::string::npos) continue;
    const std::string rest = line.substr(end + 3);
    rows.push_back({line.substr(3, end - 3), ""});
    if (rest.starts_with(" `") && rest.ends_with("` |")) {
      rows.back()[1] = rest.substr(2, rest.size() - 5);
    }
  }
  return rows;
}

constexpr int kIndex = 123456789;  // shown as the field's name in the document

// Every field contains its own name, as in the catalogue.
const std::vector<Error> kCatalogue{
    Error::InitializationOfExistingClient{"{tag}"},
    Error::RequestConfigFailed{{Network::CustomError{"{error}"}}},
    Error::RequestLocationFailed{{Network::CustomError{"{error}"}}},
    Error::FeatureFlagNotFound{"{featureFlag}"},
    Error::FeatureFlagNoRules{"{featureFlag}"},
    Error::FeatureFlagRulesNotSatisfied{"{featureFlag}"},
    Error::ExperimentNotFound{"{experiment}"},
    Error::ExperimentGroupNotMatchingFeatureFlagGroup{
        "{experiment}", "{featureFlag}", "{userGroup}", {"a", "b"}},
    Error::ExperimentSplitIdNotFound{"{experiment}"},
    Error::ExperimentGroupIndexNotFound{"{experiment}", kIndex},
    Error::ExperimentAlreadyContainsUser{"{experiment}"},
    Error::ExperimentGroupAlreadyContainsUser{"{experiment}", kIndex},
    Error::HoldoutNotFound{"{holdout}"},
    Error::ExperimentsEmpty{},
    Error::NoForceIncludedExperiments{}};

const std::vector<Network> kNetworkCatalogue{
    Network::IncorrectURL{"{address}"}, Network::UrlError{"{localizedDescription}"},
    Network::WrongStatusCode{kIndex},   Network::DecodingError{"{localizedDescription}"},
    Network::CustomError{"{text}"},     Network::NoData{}};

TEST(Errors, AreListedInTheCatalogueWithTheirTexts) {
  const auto rows = rowsOf(tests::contentsOf(CORVO_ROOT "/docs/errors.md"));
  std::size_t row = 0;
  // Each case has a row with its text, and another row in the next table.
  const auto expectRows = [&](const auto& errors, const auto& names, const std::string& index) {
    for (const bool hasText : {true, false}) {
      for (std::size_t i = 0; i < errors.size(); ++i, ++row) {
        std::string name = names[i][0];
        name[0] = static_cast<char>(std::tolower(name[0]));
        std::string text = errors[i].description();
        tests::replaceAll(text, std::to_string(kIndex), index);
        ASSERT_LT(row, rows.size());
        EXPECT_EQ(rows[row][0], name);
        EXPECT_EQ(rows[row][1], hasText ? text : "");
      }
    }
  };
  expectRows(kCatalogue, tests::caseTable<2>(CORVO_BASE_CASES "errors.txt"), "{index}");
  expectRows(kNetworkCatalogue, tests::caseTable<2>(CORVO_BASE_CASES "network_errors.txt"),
             "{statusCode}");
}

TEST(Errors, AbortTheProcessWithTheLinesOfTheCatalogue) {
  std::string sources;
  for (const auto& each : std::filesystem::recursive_directory_iterator(CORVO_ROOT "/src")) {
    if (each.is_regular_file()) sources += tests::contentsOf(each.path().string());
  }
  std::size_t found = 0;
  for (const auto& row : rowsOf(tests::contentsOf(CORVO_ROOT "/docs/errors.md"))) {
    if (!row[0].starts_with("Corvo: ")) continue;
    EXPECT_NE(sources.find('"' + row[0].substr(7) + '"'), std::string::npos) << row[0];
    ++found;
  }
  EXPECT_EQ(found, 3U);
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
