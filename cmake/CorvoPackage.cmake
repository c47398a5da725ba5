# SPDX-License-Identifier: Apache-2.0

# What an installation has besides the command: libraries, headers, the licence, and the files by which
# CMake and pkg-config find them. Paths in those are relative, so an installation may be moved.

include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

# Only libraries of one ABI work with each other. Before 1.0, a minor version may change it.
set(CORVO_ABI ${PROJECT_VERSION_MAJOR})
if(PROJECT_VERSION_MAJOR EQUAL 0)
  set(CORVO_ABI 0.${PROJECT_VERSION_MINOR})
endif()

# Installs library corvo::<name> with its public headers.
function(corvo_install_library name)
  set_property(GLOBAL APPEND PROPERTY CORVO_LIBRARIES ${name})
  if(CORVO_INSTALL)
    install(TARGETS corvo_${name} EXPORT corvo-targets FILE_SET HEADERS)
  endif()
endfunction()

# Libraries by their CMake targets, with _ in place of ::, for the linker and, if ours, for pkg-config:
# the facade's package is `corvo`, another part's `corvo-core`.
set(corvo_link_simdjson_simdjson -lsimdjson)
set(corvo_link_PkgConfig_UTF8PROC -lutf8proc)
set(corvo_link_CURL_libcurl -lcurl)
set(corvo_link_SQLite_SQLite3 -lsqlite3)
foreach(part IN ITEMS engine core lint host fakes c)
  set(corvo_package_of_corvo_${part} corvo-${part})
endforeach()
set(corvo_package_of_corvo_corvo corvo)

# The C++ runtime, which a compiler for C does not link by itself.
set(corvo_runtime "${CMAKE_CXX_IMPLICIT_LINK_LIBRARIES}")
list(FILTER corvo_runtime INCLUDE REGEX "^((std)?c\\+\\+(abi)?|m)$")
list(REMOVE_DUPLICATES corvo_runtime)
list(TRANSFORM corvo_runtime PREPEND -l)

# Writes and installs a part's file for pkg-config. A static library needs others to be linked: they
# stand in Libs.private, since Requires.private would add all that a static libcurl needs. A shared one
# has linked them itself. A part without a library of its own is in the core.
function(corvo_install_pkg_config part)
  set(libs "")
  set(needs corvo::core)
  if(TARGET corvo_${part})
    get_target_property(needs corvo_${part} INTERFACE_LINK_LIBRARIES)
    get_target_property(file corvo_${part} OUTPUT_NAME)
    set(libs "-L\${libdir} -l${file}")
  endif()
  set(requires "")
  set(libs_private "")
  foreach(need IN LISTS needs)
    string(REGEX REPLACE "^\\$<LINK_ONLY:(.+)>$" "\\1" library "${need}")
    string(REPLACE "::" "_" library "${library}")
    list(APPEND requires ${corvo_package_of_${library}})
    list(APPEND libs_private ${corvo_link_${library}})
  endforeach()
  if(part STREQUAL "engine" AND TARGET corvo_engine)  # it is static, and all others need it
    list(APPEND libs_private ${corvo_runtime})
  endif()
  list(JOIN requires ", " requires)
  list(JOIN libs_private " " libs_private)
  set(shared "")
  if(BUILD_SHARED_LIBS)
    set(shared -DCORVO_SHARED)
  endif()
  set(package ${corvo_package_of_corvo_${part}})
  set(folder ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
  file(RELATIVE_PATH up /prefix/${folder} /prefix)
  configure_file(${PROJECT_SOURCE_DIR}/cmake/corvo.pc.in ${package}.pc @ONLY)
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${package}.pc DESTINATION ${folder})
endfunction()

# Installs all that is not part of one library. CMake finds `corvo-config.cmake` by both spellings:
# find_package(Corvo) and find_package(corvo).
function(corvo_install_package)
  if(NOT CORVO_INSTALL)
    return()
  endif()
  get_property(parts GLOBAL PROPERTY CORVO_LIBRARIES)
  list(APPEND parts engine lint)
  list(REMOVE_DUPLICATES parts)
  set(folder ${CMAKE_INSTALL_LIBDIR}/cmake/corvo)
  configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/corvo-config.cmake.in
    corvo-config.cmake INSTALL_DESTINATION ${folder})
  write_basic_package_version_file(corvo-config-version.cmake COMPATIBILITY SameMinorVersion)
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/corvo-config.cmake
    ${CMAKE_CURRENT_BINARY_DIR}/corvo-config-version.cmake DESTINATION ${folder})
  install(EXPORT corvo-targets NAMESPACE corvo:: DESTINATION ${folder})
  foreach(part IN LISTS parts)
    corvo_install_pkg_config(${part})
  endforeach()
  install(FILES ${PROJECT_SOURCE_DIR}/LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR})
endfunction()
