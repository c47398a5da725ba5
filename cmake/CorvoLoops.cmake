# SPDX-License-Identifier: Apache-2.0

# Defines a target corvo_loop_<name> for each installed loop that has an adapter in corvo/loops. For this
# project's tests and examples; an application links its own loop and includes the header.

find_package(PkgConfig QUIET)
find_package(Threads QUIET)
pkg_check_modules(GLIB QUIET IMPORTED_TARGET glib-2.0)
find_path(CORVO_ASIO_INCLUDE_DIR asio/any_io_executor.hpp)
find_package(Qt6 QUIET COMPONENTS Core)
if(NOT Qt6_FOUND)
  find_package(Qt5 5.15 QUIET COMPONENTS Core)
endif()

set(loops glib asio qt)
function(corvo_loop name)
  set(target corvo_loop_${name})
  add_library(${target} INTERFACE)
  target_sources(${target} INTERFACE FILE_SET HEADERS BASE_DIRS ${PROJECT_SOURCE_DIR}/include
    FILES ${PROJECT_SOURCE_DIR}/include/corvo/loops/${name}.h)
  set_target_properties(${target} PROPERTIES VERIFY_INTERFACE_HEADER_SETS ON)
  target_link_libraries(${target} INTERFACE corvo::host ${ARGN})
endfunction()

if(GLIB_FOUND)
  corvo_loop(glib PkgConfig::GLIB)
endif()
if(CORVO_ASIO_INCLUDE_DIR AND Threads_FOUND)
  corvo_loop(asio Threads::Threads)
  target_include_directories(corvo_loop_asio SYSTEM INTERFACE ${CORVO_ASIO_INCLUDE_DIR})
  if(CORVO_SANITIZE MATCHES "thread")  # which understands Asio's locks, but not its fences
    target_compile_options(corvo_loop_asio INTERFACE $<$<CXX_COMPILER_ID:GNU>:-Wno-tsan>)
  endif()
  # Not every version of Asio supports every compiler's coroutines.
  include(CheckCXXSourceCompiles)
  set(CMAKE_REQUIRED_INCLUDES ${CORVO_ASIO_INCLUDE_DIR})
  check_cxx_source_compiles("#include <asio/awaitable.hpp>
    asio::awaitable<void> task() { co_return; }
    int main() {}" CORVO_ASIO_AWAITS)
  unset(CMAKE_REQUIRED_INCLUDES)
endif()
if(Qt6_FOUND OR Qt5_FOUND)
  corvo_loop(qt $<IF:$<TARGET_EXISTS:Qt6::Core>,Qt6::Core,Qt5::Core>)
endif()
