# SPDX-License-Identifier: Apache-2.0

# CMake 3.25 does not know this system: static libraries, no files of its own.
set(WASI 1)
set_property(GLOBAL PROPERTY TARGET_SUPPORTS_SHARED_LIBS FALSE)
set(CMAKE_EXECUTABLE_SUFFIX .wasm)
