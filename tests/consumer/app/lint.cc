#include <corvo/lint.h>

// Succeeds when a document is checked.
int main() { return corvo::lint(R"({"flags": []})").size() == 1 ? 0 : 1; }
