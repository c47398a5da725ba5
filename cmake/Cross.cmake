# SPDX-License-Identifier: Apache-2.0

# A toolchain file for another processor or system: compiles with Debian's cross compilers and runs
# programs in an emulator. CORVO_CROSS is aarch64, armhf, s390x or windows; CORVO_CROSS_COMPILER is gcc
# or clang. CMAKE_FIND_ROOT_PATH contains the target's libraries; this machine's are never used.

set(CMAKE_TRY_COMPILE_PLATFORM_VARIABLES CORVO_CROSS CORVO_CROSS_COMPILER)

set(triple_aarch64 aarch64-linux-gnu)
set(triple_armhf arm-linux-gnueabihf)
set(triple_s390x s390x-linux-gnu)
set(triple_windows x86_64-w64-mingw32)
set(processor_armhf arm)
set(processor_windows x86_64)

set(triple ${triple_${CORVO_CROSS}})
if(NOT triple)
  message(FATAL_ERROR "CORVO_CROSS must be aarch64, armhf, s390x or windows")
endif()
set(CMAKE_SYSTEM_PROCESSOR ${CORVO_CROSS})
if(processor_${CORVO_CROSS})
  set(CMAKE_SYSTEM_PROCESSOR ${processor_${CORVO_CROSS}})
endif()

if(CORVO_CROSS STREQUAL windows)
  set(CMAKE_SYSTEM_NAME Windows)
  set(suffix -posix)  # the variant of MinGW-w64 with std::thread
  set(CMAKE_CROSSCOMPILING_EMULATOR /usr/lib/wine/wine64)
  set(CMAKE_EXE_LINKER_FLAGS_INIT -static)
  string(APPEND CMAKE_CXX_FLAGS_INIT " -DUTF8PROC_STATIC")
  if(CORVO_CROSS_COMPILER STREQUAL gcc)
    string(APPEND CMAKE_CXX_FLAGS_INIT " -Wa,-mbig-obj")
  else()  # Clang 14 does not find Debian's variants of libgcc
    file(GLOB library /usr/lib/gcc/${triple}/*${suffix})
    string(APPEND CMAKE_CXX_FLAGS_INIT
      " -isystem ${library}/include/c++ -isystem ${library}/include/c++/${triple}")
    # GNU ld takes minutes. libgcc has a function that Clang does not treat as inline.
    string(APPEND CMAKE_EXE_LINKER_FLAGS_INIT
      " -L${library} -fuse-ld=lld -Wl,--allow-multiple-definition")
  endif()
else()
  set(CMAKE_SYSTEM_NAME Linux)
  string(REGEX REPLACE "hf$" "" qemu qemu-${CORVO_CROSS})
  set(CMAKE_CROSSCOMPILING_EMULATOR /usr/bin/${qemu} -L /usr/${triple})
endif()

if(CORVO_CROSS_COMPILER STREQUAL clang)
  set(CMAKE_C_COMPILER clang)
  set(CMAKE_CXX_COMPILER clang++)
  set(CMAKE_C_COMPILER_TARGET ${triple})
  set(CMAKE_CXX_COMPILER_TARGET ${triple})
else()
  set(CMAKE_C_COMPILER ${triple}-gcc${suffix})
  set(CMAKE_CXX_COMPILER ${triple}-g++${suffix})
endif()

list(APPEND CMAKE_FIND_ROOT_PATH /usr/${triple})  # Debian's own libraries for the target
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
foreach(kind IN ITEMS LIBRARY INCLUDE PACKAGE)
  set(CMAKE_FIND_ROOT_PATH_MODE_${kind} ONLY)
endforeach()
