include(GNUInstallDirs)

# Warnings and sanitizers, for every target of the house.
function(corvo_configure target)
  if(MSVC)
    target_compile_options(${target} PRIVATE /W4 /utf-8 $<$<BOOL:${CORVO_WARNINGS_AS_ERRORS}>:/WX>)
  else()
    target_compile_options(${target} PRIVATE -Wall -Wextra -Wconversion -Wshadow
      $<$<BOOL:${CORVO_WARNINGS_AS_ERRORS}>:-Werror>)
    # So that an application takes no more of a library than it reaches.
    target_compile_options(${target} PRIVATE -ffunction-sections -fdata-sections)
  endif()
  if(CORVO_SANITIZE)
    target_compile_options(${target} PRIVATE -fsanitize=${CORVO_SANITIZE} -fno-omit-frame-pointer
      -fno-sanitize-recover=all
      $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)  # which optimised checks mislead
    target_link_options(${target} PRIVATE -fsanitize=${CORVO_SANITIZE})
  endif()
endfunction()

# Most of the time of a build goes into headers: a release is compiled in few large files.
function(corvo_combine_files target)
  if(NOT DEFINED CMAKE_UNITY_BUILD AND CMAKE_BUILD_TYPE MATCHES "^(Release|MinSizeRel)$")
    set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE 16)
  endif()
endfunction()

# A library corvo::<name> with its public headers; its sources are listed in the folders of src.
function(corvo_library name)
  set(target corvo_${name})
  list(TRANSFORM ARGN PREPEND ${PROJECT_SOURCE_DIR}/include/corvo/)
  add_library(${target})
  target_sources(${target} PUBLIC FILE_SET HEADERS BASE_DIRS ${PROJECT_SOURCE_DIR}/include
    FILES ${ARGN})
  set_target_properties(${target} PROPERTIES VERIFY_INTERFACE_HEADER_SETS ON)
  add_library(corvo::${name} ALIAS ${target})
  set_target_properties(${target} PROPERTIES EXPORT_NAME ${name})
  target_compile_features(${target} PUBLIC cxx_std_20)
  target_include_directories(${target}
    PRIVATE ${PROJECT_SOURCE_DIR}/src)
  corvo_configure(${target})
  corvo_combine_files(${target})
  if(BUILD_SHARED_LIBS)
    target_compile_definitions(${target} PUBLIC CORVO_SHARED)
    # Of the standard library's types in exported classes.
    target_compile_options(${target} PUBLIC $<$<CXX_COMPILER_ID:MSVC>:/wd4251;/wd4275>)
  endif()
  if(NOT BUILD_SHARED_LIBS)  # leaves out what the application does not reach
    target_link_options(${target} INTERFACE
      $<$<PLATFORM_ID:Linux>:LINKER:--gc-sections> $<$<PLATFORM_ID:Darwin>:LINKER:-dead_strip>)
  endif()
  install(TARGETS ${target} EXPORT CorvoTargets FILE_SET HEADERS)
endfunction()

# How a release compiles a library, or some files of it: as CMake's own flags say where that is not
# GCC or Clang. -O3 makes code that is a quarter larger: it is for what runs for every condition of a
# question, or for every value of a document. -Os is for what runs once a fetch, or for people.
set(CORVO_CAN_CHOOSE $<AND:$<CONFIG:Release>,$<NOT:$<CXX_COMPILER_ID:MSVC>>>)
function(corvo_optimise target level)
  set(option $<${CORVO_CAN_CHOOSE}:${level}>)
  if(NOT ARGN)
    target_compile_options(${target} PRIVATE ${option})
  elseif(NOT CMAKE_UNITY_BUILD)  # which would compile each of them alone
    set_source_files_properties(${ARGN} TARGET_DIRECTORY ${target} PROPERTIES
      COMPILE_OPTIONS ${option})
  endif()
endfunction()

# What find_package(Corvo) needs of an installed library.
function(corvo_install_package)
  include(CMakePackageConfigHelpers)
  set(folder ${CMAKE_INSTALL_LIBDIR}/cmake/Corvo)
  configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/CorvoConfig.cmake.in CorvoConfig.cmake
    INSTALL_DESTINATION ${folder})
  write_basic_package_version_file(CorvoConfigVersion.cmake COMPATIBILITY SameMinorVersion)
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/CorvoConfig.cmake
    ${CMAKE_CURRENT_BINARY_DIR}/CorvoConfigVersion.cmake DESTINATION ${folder})
  install(EXPORT CorvoTargets NAMESPACE corvo:: DESTINATION ${folder})
endfunction()

# A GoogleTest program of one folder of tests: corvo_test(base md5_test.cc ...).
function(corvo_test folder)
  set(target corvo_${folder}_tests)
  add_executable(${target} ${ARGN})
  target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR}/src ${PROJECT_SOURCE_DIR})
  target_link_libraries(${target} PRIVATE corvo::core corvo::fakes GTest::gmock_main)
  # Its files are tests of their own, which may mean different things by one name.
  set_target_properties(${target} PROPERTIES UNITY_BUILD OFF)
  corvo_configure(${target})
  # Whatever the library is built with, optimising what asks it would take longer than it saves.
  target_compile_options(${target} PRIVATE $<$<CXX_COMPILER_ID:GNU,Clang>:-O0>)
  add_test(NAME ${folder} COMMAND ${target} --gtest_shuffle --gtest_brief=1)
endfunction()
