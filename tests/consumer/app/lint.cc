// SPDX-License-Identifier: Apache-2.0

#include <corvo/lint.h>

// Succeeds if a document is checked.
int main() { return corvo::lint(R"({"flags": []})").size() == 1 ? 0 : 1; }
