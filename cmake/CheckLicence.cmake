# SPDX-License-Identifier: Apache-2.0

# Fails if a source file does not name its licence: `cmake -DROOT=<folder> -P CheckLicence.cmake`.

cmake_minimum_required(VERSION 3.25)

set(patterns "")
foreach(folder IN ITEMS bench cmake examples fuzz include packaging scripts src tests tool bindings/python
    bindings/wasm/bench bindings/wasm/cmake bindings/wasm/engine bindings/wasm/src bindings/wasm/tests)
  foreach(name IN ITEMS *.cc *.h *.sh *.py *.toml *.ts *.js *.mjs *.lua *.conf *.html *.h.in *.cmake CMakeLists.txt)
    list(APPEND patterns ${ROOT}/${folder}/${name})
  endforeach()
endforeach()
file(GLOB_RECURSE sources ${patterns})
list(FILTER sources EXCLUDE REGEX "/node_modules/")
file(GLOB scripts ${ROOT}/CMakeLists.txt ${ROOT}/bindings/*/CMakeLists.txt ${ROOT}/scripts/* ${ROOT}/.ci/run)
set(checked 0)
foreach(source IN LISTS sources scripts)
  file(STRINGS ${source} lines LIMIT_COUNT 2)
  if(NOT lines MATCHES "SPDX-License-Identifier: Apache-2.0")
    message(SEND_ERROR "${source}: no SPDX-License-Identifier in its first lines")
  endif()
  math(EXPR checked "${checked} + 1")
endforeach()
if(checked LESS 100)
  message(FATAL_ERROR "Only ${checked} files were found in ${ROOT}")
endif()
