# SPDX-License-Identifier: Apache-2.0

include(CorvoPackage)

# Warnings and sanitizers, for all of the project's own targets.
function(corvo_configure target)
  if(MSVC)
    target_compile_options(${target} PRIVATE /W4 /utf-8 $<$<BOOL:${CORVO_WARNINGS_AS_ERRORS}>:/WX>)
  else()
    target_compile_options(${target} PRIVATE -Wall -Wextra -Wconversion -Wshadow
      $<$<BOOL:${CORVO_WARNINGS_AS_ERRORS}>:-Werror>)
    # Lets an application link only the parts of a library that it uses.
    target_compile_options(${target} PRIVATE -ffunction-sections -fdata-sections)
  endif()
  if(CORVO_SANITIZE)
    target_compile_options(${target} PRIVATE -fsanitize=${CORVO_SANITIZE} -fno-omit-frame-pointer
      -fno-sanitize-recover=all
      $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)  # false positives with sanitizers and optimisation
    target_link_options(${target} PRIVATE -fsanitize=${CORVO_SANITIZE})
  endif()
endfunction()

# Most build time goes into headers, so a release is compiled as a few large files.
function(corvo_combine_files target)
  if(NOT DEFINED CMAKE_UNITY_BUILD AND CMAKE_BUILD_TYPE MATCHES "^(Release|MinSizeRel)$")
    set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE 16)
  endif()
endfunction()

# Defines a library corvo::<name> with its public headers; the folders of src list its sources.
function(corvo_library name)
  set(target corvo_${name})
  list(TRANSFORM ARGN PREPEND ${PROJECT_SOURCE_DIR}/include/corvo/)
  add_library(${target})
  target_sources(${target} PUBLIC FILE_SET HEADERS BASE_DIRS ${PROJECT_SOURCE_DIR}/include
    FILES ${ARGN})
  set_target_properties(${target} PROPERTIES VERIFY_INTERFACE_HEADER_SETS ON)
  add_library(corvo::${name} ALIAS ${target})
  set(file corvo_${name})
  if(name STREQUAL corvo)
    set(file corvo)
  endif()
  set_target_properties(${target} PROPERTIES EXPORT_NAME ${name} OUTPUT_NAME ${file})
  target_compile_features(${target} PUBLIC cxx_std_20)
  target_include_directories(${target}
    PRIVATE ${PROJECT_SOURCE_DIR}/src)
  corvo_configure(${target})
  # A fused multiply-add on one processor would move users between groups.
  target_compile_options(${target} PRIVATE
    $<IF:$<CXX_COMPILER_ID:MSVC>,/fp:precise,-fno-fast-math;-ffp-contract=off>)
  corvo_combine_files(${target})
  if(BUILD_SHARED_LIBS)
    set_target_properties(${target} PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION ${CORVO_ABI})
    target_compile_definitions(${target} PUBLIC CORVO_SHARED)
    if(NOT CORVO_SANITIZE)  # a name that another library hides is an error at once
      target_link_options(${target} PRIVATE $<$<PLATFORM_ID:Linux>:LINKER:-z,defs>)
    endif()
    # About standard library types in exported classes.
    target_compile_options(${target} PUBLIC $<$<CXX_COMPILER_ID:MSVC>:/wd4251;/wd4275>)
  endif()
  if(NOT BUILD_SHARED_LIBS)  # unused parts are left out
    target_link_options(${target} INTERFACE
      $<$<PLATFORM_ID:Linux>:LINKER:--gc-sections> $<$<PLATFORM_ID:Darwin>:LINKER:-dead_strip>)
  endif()
  corvo_install_library(${name})
endfunction()

# Sets the optimisation of a library, or of some of its files, in a release with GCC or Clang. Other
# compilers keep CMake's flags. -O3 makes code a quarter larger: use it for code that runs for every
# condition of a question, or for every value of a document. Use -Os for code that runs once per fetch,
# or for people.
set(CORVO_CAN_CHOOSE $<AND:$<CONFIG:Release>,$<NOT:$<CXX_COMPILER_ID:MSVC>>>)
function(corvo_optimise target level)
  set(option $<${CORVO_CAN_CHOOSE}:${level}>)
  if(NOT ARGN)
    target_compile_options(${target} PRIVATE ${option})
  elseif(NOT CMAKE_UNITY_BUILD)  # setting it per file would undo the unity build
    set_source_files_properties(${ARGN} TARGET_DIRECTORY ${target} PROPERTIES
      COMPILE_OPTIONS ${option})
  endif()
endfunction()

# Optimising the tests would take longer than it saves, even if the library is optimised.
function(corvo_configure_test target)
  corvo_configure(${target})
  target_compile_options(${target} PRIVATE $<$<CXX_COMPILER_ID:GNU,Clang>:-O0>)
endfunction()

# Defines a GoogleTest program for one folder of tests: corvo_test(base md5_test.cc ...).
function(corvo_test folder)
  set(target corvo_${folder}_tests)
  add_executable(${target} ${ARGN})
  target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR}/src ${PROJECT_SOURCE_DIR})
  target_link_libraries(${target} PRIVATE corvo::core corvo::fakes GTest::gmock_main)
  # Its files are independent and may use one name for different things.
  set_target_properties(${target} PROPERTIES UNITY_BUILD OFF)
  corvo_configure_test(${target})
  if(TARGET corvo_test_headers)
    target_precompile_headers(${target} REUSE_FROM corvo_test_headers)
  endif()
  add_test(NAME ${folder} COMMAND ${target} --gtest_shuffle --gtest_brief=1)
endfunction()

# Builds the program of a test when the test runs, under the label "rebuilt". For programs that compile the
# library once more, which takes too long for each build.
function(corvo_build_when_tested target test)
  set_target_properties(${target} PROPERTIES EXCLUDE_FROM_ALL ON)
  add_test(NAME ${test}-build COMMAND ${CMAKE_COMMAND} --build ${PROJECT_BINARY_DIR} --target ${target})
  set_tests_properties(${test}-build PROPERTIES FIXTURES_SETUP ${test} RUN_SERIAL ON LABELS rebuilt)
  set_tests_properties(${test} PROPERTIES FIXTURES_REQUIRED ${test} LABELS rebuilt)
endfunction()

# In place of a test whose packages are missing: a test that is skipped, and says in its name how to get them.
function(corvo_skip_test label name)
  message(NOTICE "${name}")
  add_test(NAME ${name} COMMAND ${CMAKE_COMMAND} -E echo skipped)
  set_tests_properties(${name} PROPERTIES LABELS ${label} SKIP_REGULAR_EXPRESSION skipped)
endfunction()

# The system's Python, for which Debian has packages, if it has these modules. Otherwise empty, with a skipped
# test in place of those of a label.
function(corvo_find_python result modules label skipped)
  find_program(CORVO_PYTHON python3 PATHS /usr/bin NO_DEFAULT_PATH)
  if(CORVO_PYTHON)
    execute_process(COMMAND ${CORVO_PYTHON} -c "import ${modules}" RESULT_VARIABLE missing
      OUTPUT_QUIET ERROR_QUIET)
    if(NOT missing)
      set(${result} ${CORVO_PYTHON} PARENT_SCOPE)
      return()
    endif()
  endif()
  set(${result} "" PARENT_SCOPE)
  corvo_skip_test(${label} "${skipped}")
endfunction()
