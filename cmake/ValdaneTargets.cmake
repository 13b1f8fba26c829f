# The one way in which this project makes its targets.

include(GenerateExportHeader)
include(ValdaneCompiler)

# valdane_require(<package> <version> <Debian package> [<more for find_package>...])
# Finds a package, or says in one line what is missing. <version> is the oldest one, or ANY.
macro(valdane_require package version debian)
  if("${version}" STREQUAL ANY)
    find_package(${package} QUIET ${ARGN})
  else()
    find_package(${package} ${version} QUIET ${ARGN})
  endif()
  if(NOT ${package}_FOUND)
    string(REPLACE "ANY" "in any version" valdane_wanted "${version}")
    message(FATAL_ERROR "Valdane needs ${package} ${valdane_wanted}, which was not found (Debian: ${debian}).")
  endif()
endmacro()

# Compile flags of our own code; PRIVATE, so that nothing leaks to consumers.
function(valdane_private_flags target)
  target_compile_options(
    ${target}
    PRIVATE ${VALDANE_WARNINGS}
            $<$<BOOL:${VALDANE_WERROR}>:${VALDANE_WARNINGS_ARE_ERRORS}>
            # Of united sources, g++ takes one for a header of the others.
            $<$<AND:$<BOOL:${CMAKE_UNITY_BUILD}>,$<CXX_COMPILER_ID:GNU>>:-Wno-subobject-linkage>)
  if(VALDANE_HAS_PREFIX_MAP)
    # Only paths relative to the project get into binaries and log lines.
    target_compile_options(${target} PRIVATE "-ffile-prefix-map=${PROJECT_BINARY_DIR}/=build/"
                                             "-ffile-prefix-map=${PROJECT_SOURCE_DIR}/=")
  endif()
endfunction()

# valdane_add_library(<Name> DESCRIPTION ... HEADERS ... [FAMILY ...] [NEEDS ...] [SOURCES ...] [DEPENDS ...]
#                     [PRIVATE_DEPENDS ...])
#
# Makes libVLD<Family>_<Name>.so, or .a with BUILD_SHARED_LIBS=OFF (header-only without SOURCES), with the alias Valdane::<Name>. FAMILY is "Service", unless it is
# given. HEADERS are the public
# headers, installed under include/valdane/ with their path below the project. DESCRIPTION is for pkg-config. A library with
# sources gets "<Folder>/<Name>Export.h" with the macros VALDANE_<NAME>_EXPORT and VALDANE_<NAME>_TEMPLATE_EXPORT.
#
# NEEDS is a package as find_package() takes it, such as "Qt6 6.4 COMPONENTS Widgets", that whoever links against the library
# must have. The library is then installed as components of its own, <Name>Runtime and <Name>Development, and looks for that
# package only for projects that ask for the component <Name>.
function(valdane_add_library name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "DESCRIPTION;FAMILY;NEEDS" "HEADERS;SOURCES;DEPENDS;PRIVATE_DEPENDS")
  if(NOT arg_FAMILY)
    set(arg_FAMILY Service)
  endif()
  set(target VLD${arg_FAMILY}_${name})
  file(RELATIVE_PATH folder "${PROJECT_SOURCE_DIR}" "${CMAKE_CURRENT_SOURCE_DIR}")
  set(generated "${PROJECT_BINARY_DIR}/generated")

  if(arg_SOURCES)
    set(scope PUBLIC)
    string(TOUPPER ${name} upper_name)
    set(export_header "${generated}/${folder}/${name}Export.h")
    set(kind SHARED)
    if(DEFINED BUILD_SHARED_LIBS AND NOT BUILD_SHARED_LIBS)
      set(kind STATIC)
    endif()
    add_library(${target} ${kind} ${arg_SOURCES})
    # A class template whose instances others make, too, must be visible where that counts, but cannot be imported.
    set(template_macro "\n#ifdef _WIN32
#  define VALDANE_${upper_name}_TEMPLATE_EXPORT
#else
#  define VALDANE_${upper_name}_TEMPLATE_EXPORT VALDANE_${upper_name}_EXPORT
#endif\n")
    generate_export_header(${target} BASE_NAME VALDANE_${upper_name} EXPORT_FILE_NAME "${export_header}"
                           CUSTOM_CONTENT_FROM_VARIABLE template_macro)
    set_target_properties(
      ${target}
      PROPERTIES VERSION ${PROJECT_VERSION}
                 SOVERSION ${PROJECT_VERSION_MAJOR}
                 CXX_VISIBILITY_PRESET hidden
                 VISIBILITY_INLINES_HIDDEN ON
                 CXX_EXTENSIONS OFF
                 POSITION_INDEPENDENT_CODE ON
                 # Installed, each finds the others beside it.
                 INSTALL_RPATH "${VALDANE_ORIGIN}")
    if(kind STREQUAL STATIC)
      target_compile_definitions(${target} PUBLIC VALDANE_${upper_name}_STATIC_DEFINE)
    endif()
    if(NOT CMAKE_BUILD_TYPE STREQUAL Debug)
      # Of united sources, g++ makes slower code: an undo takes 13 % more instructions.
      set_target_properties(${target} PROPERTIES UNITY_BUILD OFF)
    endif()
    # A library calls its own functions, exported or not, without the detour that would let others replace them; and those
    # of other libraries without the one that looks for them at the first call.
    target_compile_options(${target} PRIVATE ${VALDANE_DIRECT_CALLS})
    if(kind STREQUAL SHARED)
      target_link_options(${target} PRIVATE ${VALDANE_DIRECT_LINKS})
      if(NOT CMAKE_CXX_FLAGS MATCHES "-fsanitize") # whose run-time library is in the executable with clang++
        target_link_options(${target} PRIVATE ${VALDANE_COMPLETE_LINKS})
      endif()
    endif()
    valdane_private_flags(${target})
    target_link_libraries(${target} PRIVATE ${arg_PRIVATE_DEPENDS})
  else()
    set(scope INTERFACE)
    set(export_header)
    add_library(${target} INTERFACE)
  endif()

  add_library(Valdane::${name} ALIAS ${target})
  set_target_properties(${target} PROPERTIES EXPORT_NAME ${name} VALDANE_DESCRIPTION "${arg_DESCRIPTION}" VALDANE_NEEDS "${arg_NEEDS}")
  target_compile_features(${target} ${scope} cxx_std_20)
  target_link_libraries(${target} ${scope} ${arg_DEPENDS})
  target_sources(${target} ${scope} FILE_SET HEADERS BASE_DIRS "${PROJECT_SOURCE_DIR}" FILES ${arg_HEADERS})
  # A file set of its own: base directories must not contain each other, and the build tree may lie in the sources.
  target_sources(${target} ${scope} FILE_SET generated_headers TYPE HEADERS BASE_DIRS "${generated}" FILES ${export_header})
  set_property(GLOBAL APPEND PROPERTY VALDANE_LIBRARIES ${target})
endfunction()

# Flags of the tests: those of all our code. Messages name headers of the tests by their path below the project.
function(valdane_test_flags target)
  valdane_private_flags(${target})
  target_include_directories(${target} PRIVATE "${VALDANE_TESTS_ROOT}")
  target_compile_options(${target} PRIVATE "-ffile-prefix-map=${VALDANE_TESTS_ROOT}/=")
  if(CMAKE_CXX_FLAGS MATCHES "undefined")
    # Two checks of every pointer, which are a fifth of the time to compile. The libraries keep them, and the address
    # sanitizer reports a null pointer as well.
    target_compile_options(${target} PRIVATE -fno-sanitize=null,alignment)
  endif()
endfunction()

# valdane_add_test(<Name> SOURCES ... [DEPENDS ...] [THREADS] [LONG])
#
# One GoogleTest executable, which is one ctest: a process for each test case takes longer to start than to run, most of
# all with sanitizers. THREADS says that it starts threads: it then has the label "threads" and belongs to the target
# thread-tests, which is what runs under the thread sanitizer. LONG says that it takes many seconds: ctest starts it before
# the others, so that no processor waits for it at the end.
function(valdane_add_test name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "THREADS;LONG" "" "SOURCES;DEPENDS")
  add_executable(${name} ${arg_SOURCES})
  target_link_libraries(${name} PRIVATE ${arg_DEPENDS} GTest::gmock_main)
  target_compile_features(${name} PRIVATE cxx_std_20)
  set_target_properties(${name} PROPERTIES CXX_EXTENSIONS OFF)
  valdane_test_flags(${name})
  target_precompile_headers(${name} REUSE_FROM PrecompiledTestHeaders)
  set(cost 0)
  if(arg_LONG)
    set(cost 1)
  endif()
  set(label unit)
  if(arg_THREADS)
    set(label threads)
    add_dependencies(thread-tests ${name})
  endif()
  add_test(NAME ${name} COMMAND ${name})
  set_tests_properties(${name} PROPERTIES LABELS ${label} TIMEOUT 600 COST ${cost})
endfunction()
