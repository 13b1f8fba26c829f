# cmake -D COMMAND=<program;arguments> -D EXPECTED=<file> -D STATUS=<number> -P Prints.cmake
#
# Fails unless the command prints exactly what stands in the file, and ends with that status.

cmake_policy(VERSION 3.25)

execute_process(COMMAND ${COMMAND} OUTPUT_VARIABLE output RESULT_VARIABLE status)
file(READ "${EXPECTED}" expected)
if(NOT output STREQUAL expected)
  message(FATAL_ERROR "It does not print what stands in ${EXPECTED}, but:\n${output}")
endif()
if(NOT status EQUAL STATUS)
  message(FATAL_ERROR "It ends with the status ${status}.")
endif()
