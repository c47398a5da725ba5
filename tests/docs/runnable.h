// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace corvo::tests {

/// A block of a document, named after the document and the block's line: "README.md:17". All blocks
/// are registered before `main` runs.
struct Runnable {
  Runnable(const char* name, int (*block)());
  Runnable(const char* name, int (*program)(int argc, char** argv));
};

/// The address of the backend that documents call "http://127.0.0.1:8080".
const char* backend();

}  // namespace corvo::tests
