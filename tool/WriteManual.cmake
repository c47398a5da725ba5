# SPDX-License-Identifier: Apache-2.0

# Has the command write its man pages and its completion for bash into a folder:
# `cmake -DCOMMAND=<corvo> -DFOLDER=<folder> -P WriteManual.cmake`.

cmake_minimum_required(VERSION 3.25)

function(write file)
  execute_process(COMMAND ${COMMAND} ${ARGN} OUTPUT_VARIABLE text COMMAND_ERROR_IS_FATAL ANY)
  file(WRITE ${FOLDER}/${file} "${text}")
  set(text "${text}" PARENT_SCOPE)
endfunction()

file(REMOVE_RECURSE ${FOLDER})
write(completion.bash completion bash)
write(corvo.1 man)
# Which names the other pages, its hyphens escaped.
string(REGEX MATCHALL "corvo\\\\-[a-z]+" pages "${text}")
foreach(page IN LISTS pages)
  string(REGEX REPLACE ".*-" "" name ${page})
  write(corvo-${name}.1 man ${name})
endforeach()
