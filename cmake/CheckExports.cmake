# SPDX-License-Identifier: Apache-2.0

# Fails if a shared library exports a name that no public header declares:
# `cmake -DNM=nm -DHEADERS=<include folder> -DLIBRARIES=<file>,... -P CheckExports.cmake`.

cmake_minimum_required(VERSION 3.25)

set(declarations "")
file(GLOB_RECURSE headers ${HEADERS}/*.h)
foreach(header IN LISTS headers)
  file(READ ${header} text)
  string(APPEND declarations "${text}")
endforeach()

string(REPLACE "," ";" LIBRARIES "${LIBRARIES}")
set(exported 0)
foreach(library IN LISTS LIBRARIES)
  execute_process(COMMAND ${NM} -DC --defined-only ${library} OUTPUT_VARIABLE symbols
    COMMAND_ERROR_IS_FATAL ANY)
  if(symbols MATCHES "(simdjson|utf8proc|sqlite3|curl)[a-z_]*")
    message(SEND_ERROR "${library} exports ${CMAKE_MATCH_0}")
  endif()
  # Includes names among the arguments of standard library templates.
  string(REGEX MATCHALL "corvo::([a-z_]+::)?[A-Za-z_]+" names "${symbols}")
  list(REMOVE_DUPLICATES names)
  foreach(name IN LISTS names)
    string(REGEX MATCH "^corvo::(([a-z_]+)::)?([A-Za-z_]+)$" all ${name})
    set(space "${CMAKE_MATCH_2}")
    set(own ${CMAKE_MATCH_3})
    if((space AND NOT declarations MATCHES "namespace (corvo::)?${space} ")
       OR NOT declarations MATCHES "(class|struct|using) ([A-Z_]+ )?${own}[ ;]| ${own}\\(")
      message(SEND_ERROR "${library} exports ${name}")
    endif()
    math(EXPR exported "${exported} + 1")
  endforeach()
endforeach()
if(exported EQUAL 0)
  message(FATAL_ERROR "Nothing is exported")
endif()
