# cmake -D NM=... -D LIBRARY=<.so> -D EXPECTED=<list> -P Compare.cmake
#
# What a library exports of its own, against the list that was reviewed: a symbol on each line, demangled and sorted.
# Everything of Valdane counts, and the tables of its classes. What does not, because each compiler puts it there as it
# sees fit: what the standard library and Boost instantiate (for types of ours, too), thunks, lambdas, and inline variables
# ("u" or "V").

cmake_policy(VERSION 3.25)

# Square brackets and semicolons would make lists of the lines.
function(read_lines text result)
  string(REPLACE "[" "<" text "${text}")
  string(REPLACE "]" ">" text "${text}")
  string(REPLACE ";" "," text "${text}")
  string(REPLACE "\n" ";" lines "${text}")
  set(${result} "${lines}" PARENT_SCOPE)
endfunction()

execute_process(COMMAND "${NM}" -DC --defined-only "${LIBRARY}" OUTPUT_VARIABLE output COMMAND_ERROR_IS_FATAL ANY)
read_lines("${output}" lines)
set(exported)
foreach(line IN LISTS lines)
  if(line MATCHES "^[0-9a-f]+ ([BDRTVW]) ((vtable for |typeinfo for |typeinfo name for )?Valdane::.*)$")
    set(kind ${CMAKE_MATCH_1})
    # g++ names the tag, clang++ does not everywhere.
    string(REPLACE "<abi:cxx11>" "" symbol "${CMAKE_MATCH_2}")
    # LLVM's nm writes no blank between them. Twice, for three in a row.
    string(REPLACE "> >" ">>" symbol "${symbol}")
    string(REPLACE "> >" ">>" symbol "${symbol}")
    if(symbol MATCHES "{lambda\\(")
      continue()
    endif()
    if(symbol MATCHES "^(vtable|typeinfo) " OR (NOT kind STREQUAL V AND NOT symbol MATCHES "^Valdane::([^(]*[*&>]|[A-Za-z:]*) std::"))
      list(APPEND exported "${symbol}")
    endif()
  endif()
endforeach()
list(REMOVE_DUPLICATES exported)
list(SORT exported)

if(DEFINED WRITE)
  list(JOIN exported "\n" text)
  file(WRITE "${EXPECTED}" "${text}\n")
  return()
endif()

file(READ "${EXPECTED}" text)
read_lines("${text}" expected)
list(REMOVE_ITEM expected "")
set(added ${exported})
set(missing ${expected})
if(expected)
  list(REMOVE_ITEM added ${expected})
endif()
if(exported)
  list(REMOVE_ITEM missing ${exported})
endif()
foreach(symbol IN LISTS missing)
  message("- ${symbol}")
endforeach()
foreach(symbol IN LISTS added)
  message("+ ${symbol}")
endforeach()
if(added OR missing OR NOT exported)
  message(FATAL_ERROR "${LIBRARY} does not export what ${EXPECTED} lists. If that is meant, change the list.")
endif()
