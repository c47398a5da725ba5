# SPDX-License-Identifier: Apache-2.0

# Fails unless the headers of the C interface declare, and its shared library exports, exactly the names in
# the reviewed list: `cmake -DNM=nm -DLIST=<exports.map> -DHEADERS=<folder> -DLIBRARY=<file> -P CheckCExports.cmake`.

cmake_minimum_required(VERSION 3.25)

file(STRINGS ${LIST} listed REGEX "^ +corvo_[a-z_]+;$")
list(TRANSFORM listed REPLACE "[ ;]" "")

set(declared "")
file(GLOB headers ${HEADERS}/*.h)
foreach(header IN LISTS headers)
  file(READ ${header} text)
  string(REGEX MATCHALL "CORVO_C_EXPORT [a-z_ *\n]*corvo_[a-z_]+\\(" declarations "${text}")
  list(TRANSFORM declarations REPLACE ".*[ \n*](corvo_[a-z_]+)\\($" "\\1")
  list(APPEND declared ${declarations})
endforeach()

execute_process(COMMAND ${NM} -D --defined-only --format=just-symbols ${LIBRARY} OUTPUT_VARIABLE symbols
  COMMAND_ERROR_IS_FATAL ANY)
string(STRIP "${symbols}" symbols)
string(REPLACE "\n" ";" exported "${symbols}")

foreach(names IN ITEMS listed declared exported)
  list(SORT ${names})
endforeach()
foreach(names IN ITEMS declared exported)
  if(NOT "${${names}}" STREQUAL "${listed}")
    set(missing ${listed})
    list(REMOVE_ITEM missing ${${names}})
    set(surplus ${${names}})
    list(REMOVE_ITEM surplus ${listed})
    message(SEND_ERROR "${names}: not \"${missing}\", but also \"${surplus}\"")
  endif()
endforeach()
