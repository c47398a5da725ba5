// SPDX-License-Identifier: Apache-2.0

#include <corvo/evaluation.h>

// Succeeds if the engine alone answers.
int main() {
  const auto project = corvo::Project::decode(R"({"feature_flags": [
      {"name": "on", "type": "bool", "rules": [{"is_default": true, "value": "true",
       "conditional_statement": "-", "conditions": []}]}]})");
  return project.value().evaluate({}).checkFlag<bool>("on").value() == true ? 0 : 1;
}
