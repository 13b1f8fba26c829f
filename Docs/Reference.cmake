# The reference: the target "reference", and a test that fails on anything that doxygen warns of.

find_program(DOXYGEN doxygen)
if(NOT DOXYGEN)
  message(STATUS "No doxygen: no reference")
  return()
endif()

set(reference_output "${PROJECT_BINARY_DIR}/reference")
set(reference_input "\"${CMAKE_CURRENT_SOURCE_DIR}/reference.md\"")
set(reference_macros)
get_property(libraries GLOBAL PROPERTY VALDANE_LIBRARIES)
foreach(library ${libraries})
  get_target_property(headers ${library} HEADER_SET)
  list(FILTER headers EXCLUDE REGEX "/Private/")
  foreach(header ${headers})
    string(APPEND reference_input " \\\n    \"${header}\"")
  endforeach()
  string(REGEX REPLACE "^VLD[A-Za-z]+_" "" name ${library})
  string(TOUPPER ${name} name)
  string(APPEND reference_macros " VALDANE_${name}_EXPORT= VALDANE_${name}_NO_EXPORT=")
endforeach()
# A property is documented where its functions are.
string(APPEND reference_macros " \"Q_PROPERTY(text)=\"")
configure_file(Doxyfile.in "${PROJECT_BINARY_DIR}/Doxyfile" @ONLY)

add_custom_target(
  reference
  COMMAND "${CMAKE_COMMAND}" -E rm -rf "${reference_output}"
  COMMAND "${DOXYGEN}" "${PROJECT_BINARY_DIR}/Doxyfile"
  COMMENT "Making ${reference_output}/html/index.html"
  VERBATIM)

# It can be copied anywhere: nothing in it tells where it was made, or leads out of it.
add_test(NAME Docs.Reference
         COMMAND sh -c "\"$1\" \"$2\" && ! grep -rlF -e \"$3\" -e 'href=\"../' \"$4\"" Docs.Reference "${DOXYGEN}"
                 "${PROJECT_BINARY_DIR}/Doxyfile" "${PROJECT_SOURCE_DIR}" "${reference_output}/html")
set_tests_properties(Docs.Reference PROPERTIES LABELS unit)
