// SPDX-License-Identifier: Apache-2.0

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include "model/fields.h"
#include "tests/base/case_table.h"

namespace corvo::corvo_internal::model {
namespace {

/// A field of a record: its key, and whether it is required.
using Row = std::pair<std::string, bool>;

template <class... Records>
std::vector<Row> fieldsOf() {
  std::vector<Row> rows;
  const auto add = [&](const auto&... field) {
    (rows.emplace_back(field.key, field.presence == Presence::required), ...);
  };
  (std::apply(add, Fields<Records>::list), ...);
  return rows;
}

/// The rows of a document's four-column tables that begin with a name. If a required field is
/// absent, the record is dropped.
std::vector<Row> rowsOf(const std::string& document) {
  std::vector<Row> rows;
  std::istringstream in(document);
  for (std::string line; std::getline(in, line);) {
    std::vector<std::string> cells;
    std::istringstream row(line);
    for (std::string cell; std::getline(row, cell, '|');) cells.push_back(cell);
    if (cells.size() != 5 || !cells[1].starts_with(" `")) continue;
    const bool isNeeded = cells[3].ends_with("is dropped ") || cells[3].ends_with("is invalid ");
    rows.emplace_back(cells[1].substr(2, cells[1].size() - 4), isNeeded);
  }
  return rows;
}

TEST(Config, IsDocumentedFieldByField) {
  const std::string document = tests::contentsOf(CORVO_ROOT "/docs/configuration.md");
  EXPECT_EQ(rowsOf(document),
            (fieldsOf<ConfigResponse, FeatureFlag, Rule, Condition, Experiment, Target, Group,
                      LayerBounds, Param, Param::Value, FeatureFlagGroup>()));
  for (const auto& sign : EnumTexts<ConditionSign>::list) {
    EXPECT_NE(document.find('`' + std::string(sign.text) + '`'), std::string::npos) << sign.text;
  }
}

}  // namespace
}  // namespace corvo::corvo_internal::model
