# A toolchain file: another processor or system by Debian's cross compilers, its programs run by an
# emulator. CORVO_CROSS is aarch64, armhf, s390x or windows; CORVO_CROSS_COMPILER gcc or clang.
# CMAKE_FIND_ROOT_PATH is where the libraries for it are; this machine's own are never taken.

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
  set(suffix -posix)  # the flavour of MinGW-w64 that has the standard library's threads
  set(CMAKE_CROSSCOMPILING_EMULATOR /usr/lib/wine/wine64)
  set(CMAKE_EXE_LINKER_FLAGS_INIT -static)
  string(APPEND CMAKE_CXX_FLAGS_INIT " -DUTF8PROC_STATIC")
  if(CORVO_CROSS_COMPILER STREQUAL gcc)
    string(APPEND CMAKE_CXX_FLAGS_INIT " -Wa,-mbig-obj")
  else()  # Clang 14 does not find Debian's flavours of GCC's library
    file(GLOB library /usr/lib/gcc/${triple}/*${suffix})
    string(APPEND CMAKE_CXX_FLAGS_INIT
      " -isystem ${library}/include/c++ -isystem ${library}/include/c++/${triple}")
    # GNU's linker takes minutes. GCC's library has a function that Clang does not take for inline.
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

set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
foreach(kind IN ITEMS LIBRARY INCLUDE PACKAGE)
  set(CMAKE_FIND_ROOT_PATH_MODE_${kind} ONLY)
endforeach()
