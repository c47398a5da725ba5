# SPDX-License-Identifier: Apache-2.0

# A toolchain file for WebAssembly with WASI: compiles with Debian's Clang 19. CMAKE_FIND_ROOT_PATH
# contains the libraries; this machine's are never used.

list(APPEND CMAKE_MODULE_PATH ${CMAKE_CURRENT_LIST_DIR})  # the platform
set(CMAKE_SYSTEM_NAME WASI)
set(CMAKE_SYSTEM_PROCESSOR wasm32)

set(CMAKE_C_COMPILER clang-19)
set(CMAKE_CXX_COMPILER clang++-19)
set(CMAKE_C_COMPILER_TARGET wasm32-wasi)
set(CMAKE_CXX_COMPILER_TARGET wasm32-wasi)
set(CMAKE_CXX_FLAGS_INIT "-fno-exceptions -fno-rtti")
# The C library's ordinary `strtod` rounds hexadecimal numbers twice.
set(CMAKE_CXX_STANDARD_LIBRARIES_INIT -lc-printscan-long-double)

set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
foreach(kind IN ITEMS LIBRARY INCLUDE PACKAGE)
  set(CMAKE_FIND_ROOT_PATH_MODE_${kind} ONLY)
endforeach()
