# SPDX-License-Identifier: Apache-2.0

# The label `packages`: all further ways to get the library. They build it again, so only continuous
# integration runs them: `ctest --preset packages`.

set(moved ${CMAKE_CURRENT_BINARY_DIR}/moved)
set(shared_prefix ${CMAKE_CURRENT_BINARY_DIR}/shared-prefix)

# An installation works where it was not installed to.
add_test(NAME moved-installation COMMAND ${CMAKE_COMMAND} -E copy_directory ${prefix} ${moved})
set_tests_properties(moved-installation PROPERTIES
  FIXTURES_REQUIRED installation FIXTURES_SETUP moved-installation)
add_test(NAME shared-installation COMMAND ${CMAKE_COMMAND}
  --install ${CMAKE_CURRENT_BINARY_DIR}/shared --prefix ${shared_prefix})
set_tests_properties(shared-installation PROPERTIES
  FIXTURES_REQUIRED shared-libraries FIXTURES_SETUP shared-installation)

# By the other spelling, with components, in a parent that combines files.
corvo_consumer(lower-case-consumer corvo all -DCMAKE_PREFIX_PATH=${moved}
  "-DCORVO_PARTS=corvo$<SEMICOLON>fakes$<SEMICOLON>lint" -DCMAKE_UNITY_BUILD=ON)
corvo_consumer(shared-consumer Corvo all -DCMAKE_PREFIX_PATH=${shared_prefix})
# The engine needs neither libcurl nor SQLite.
add_test(NAME engine-component COMMAND ${CMAKE_COMMAND} -S ${CMAKE_CURRENT_SOURCE_DIR}/app
  -B ${CMAKE_CURRENT_BINARY_DIR}/engine-component -G ${CMAKE_GENERATOR}
  -DCORVO_FROM=corvo -DCORVO_PARTS=engine -DCMAKE_PREFIX_PATH=${moved}
  -DCMAKE_DISABLE_FIND_PACKAGE_CURL=ON -DCMAKE_DISABLE_FIND_PACKAGE_SQLite3=ON)
add_test(NAME unknown-component COMMAND ${CMAKE_COMMAND} -S ${CMAKE_CURRENT_SOURCE_DIR}/app
  -B ${CMAKE_CURRENT_BINARY_DIR}/unknown-component -G ${CMAKE_GENERATOR}
  -DCORVO_FROM=corvo -DCORVO_PARTS=motor -DCMAKE_PREFIX_PATH=${moved})
set_tests_properties(unknown-component PROPERTIES
  PASS_REGULAR_EXPRESSION "There is no component motor")

add_test(NAME pkg-config COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/pkg_config.sh
  ${CMAKE_CXX_COMPILER} ${moved} ${CMAKE_CURRENT_BINARY_DIR}/pkg-config --static)
add_test(NAME shared-pkg-config COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/pkg_config.sh
  ${CMAKE_CXX_COMPILER} ${shared_prefix} ${CMAKE_CURRENT_BINARY_DIR}/shared-pkg-config)

# An application in C, on static and on shared libraries.
set(shop ${PROJECT_SOURCE_DIR}/examples/shop/config.json)
foreach(kind IN ITEMS moved shared)
  set(from_moved ${moved})
  set(from_shared ${shared_prefix})
  add_test(NAME c-consumer-${kind} COMMAND ${CMAKE_CTEST_COMMAND}
    --build-and-test ${CMAKE_CURRENT_SOURCE_DIR}/c ${CMAKE_CURRENT_BINARY_DIR}/c-consumer-${kind}
    --build-generator ${CMAKE_GENERATOR} --build-noclean
    --build-options -DCMAKE_PREFIX_PATH=${from_${kind}}
    --test-command explain ${shop} ann)
  set_tests_properties(c-consumer-${kind} PROPERTIES LABELS packages
    FIXTURES_REQUIRED ${kind}-installation PASS_REGULAR_EXPRESSION "short-checkout: short")
endforeach()

# From sources: as a subfolder, and fetched from a folder and an archive.
set(archive ${CMAKE_CURRENT_BINARY_DIR}/corvo.tar.gz)
add_test(NAME archive WORKING_DIRECTORY ${PROJECT_SOURCE_DIR}
  COMMAND ${CMAKE_COMMAND} -E tar czf ${archive} CMakeLists.txt LICENSE cmake include src)
set_tests_properties(archive PROPERTIES FIXTURES_SETUP archive)
corvo_consumer(subdirectory-consumer subdirectory all ${quick})
corvo_consumer(fetched-consumer SOURCE_DIR engine_consumer ${quick})
corvo_consumer(archive-consumer URL engine_consumer ${quick} -DCORVO_SOURCE=${archive})
set_tests_properties(archive-consumer PROPERTIES FIXTURES_REQUIRED archive)
# A parent installs nothing of a library that it only builds.
set(nothing ${CMAKE_CURRENT_BINARY_DIR}/nothing)
add_test(NAME nothing-installed COMMAND ${CMAKE_COMMAND} -DNOTHING=${nothing}
  -DBUILT=${CMAKE_CURRENT_BINARY_DIR}/subdirectory-consumer
  -P ${CMAKE_CURRENT_SOURCE_DIR}/nothing_installed.cmake)
set_tests_properties(nothing-installed PROPERTIES DEPENDS subdirectory-consumer)

set_tests_properties(lower-case-consumer engine-component unknown-component pkg-config PROPERTIES
  FIXTURES_REQUIRED moved-installation)
set_tests_properties(shared-consumer shared-pkg-config PROPERTIES
  FIXTURES_REQUIRED shared-installation)
set_tests_properties(moved-installation shared-installation lower-case-consumer shared-consumer
  engine-component unknown-component pkg-config shared-pkg-config archive subdirectory-consumer
  fetched-consumer archive-consumer nothing-installed PROPERTIES LABELS packages)
