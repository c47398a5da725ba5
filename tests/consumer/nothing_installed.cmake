# SPDX-License-Identifier: Apache-2.0

# Fails if installing the program built in the folder BUILT puts anything into the folder NOTHING.
file(REMOVE_RECURSE ${NOTHING})
execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILT} --prefix ${NOTHING}
  COMMAND_ERROR_IS_FATAL ANY)
file(GLOB_RECURSE files ${NOTHING}/*)
if(files)
  message(FATAL_ERROR "Installed: ${files}")
endif()
