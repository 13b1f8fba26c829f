# cmake -D FOLDER=Applications/ModelEditor -P Layers.cmake
#
# Each layer uses itself and those before it only.

cmake_policy(VERSION 3.25)

set(allowed)
foreach(layer Document Edits Terminal)
  list(APPEND allowed ${layer})
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
