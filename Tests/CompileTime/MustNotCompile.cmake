# cmake -D COMPILER=... -D SOURCE_DIR=... -D GENERATED=... -D SOURCE=... -D CASE=<number> -D EXPECTED=<regex> -P ...
# Compiles one case; without EXPECTED it must compile, else it must not, with a message that matches.
set(ENV{LC_ALL} C)
execute_process(
  COMMAND "${COMPILER}" -std=c++20 -fsyntax-only -Werror=unused-result "-I${SOURCE_DIR}" "-I${GENERATED}" -DFORBIDDEN=${CASE}
          "${SOURCE}"
  RESULT_VARIABLE result
  ERROR_VARIABLE message
  OUTPUT_VARIABLE message)
if(EXPECTED STREQUAL "")
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "does not compile:\n${message}")
  endif()
elseif(result EQUAL 0)
  message(FATAL_ERROR "compiles")
elseif(NOT message MATCHES "error: [^\n]*${EXPECTED}")
  message(FATAL_ERROR "does not compile, but for another reason than '${EXPECTED}':\n${message}")
endif()
