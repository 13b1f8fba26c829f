# cmake -D FOLDER=Applications/ModelEditor -P Layers.cmake
#
# Each layer uses itself and those before it only; of the two front ends, none uses the other one.

cmake_policy(VERSION 3.25)

foreach(layer Document Edits Recovery Terminal Desktop)
  set(allowed Document)
  if(NOT layer STREQUAL "Document")
    list(APPEND allowed Edits ${layer})
  endif()
  if(layer MATCHES "Terminal|Desktop")
    list(APPEND allowed Recovery)
  endif()
  string(JOIN "|" layers ${allowed})
  file(GLOB sources "${FOLDER}/${layer}/*")
  if(NOT sources)
    message(SEND_ERROR "${FOLDER}/${layer} is empty")
  endif()
  foreach(source IN LISTS sources)
    file(STRINGS "${source}" includes REGEX "^#include \"Applications/")
    list(FILTER includes EXCLUDE REGEX "^#include \"Applications/ModelEditor/(${layers})/")
    foreach(include IN LISTS includes)
      message(SEND_ERROR "${source} is in ${layer}/, and has ${include}")
    endforeach()
  endforeach()
endforeach()
