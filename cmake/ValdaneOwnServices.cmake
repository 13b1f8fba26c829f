# valdane_add_command_pattern(<target> <folder> [EDITING])
#
# Makes the library <target>: Service/CommandPattern, and with EDITING Service/Editing, on services of the caller's own.
# Each service that has a folder <folder>/Platform/<Service>/ is taken from there, with all of its headers; what it has to be
# compiled goes to <target> by target_sources() or target_link_libraries(). All other services are those of this project,
# compiled into <target> as well.
#
# Do not link Valdane::CommandPattern or Valdane::Editing into the same program.
function(valdane_add_command_pattern target folder)
  cmake_parse_arguments(PARSE_ARGV 2 arg "EDITING" "" "")
  cmake_path(ABSOLUTE_PATH folder NORMALIZE)
  valdane_require(Boost 1.74 libboost-dev)
  find_package(Threads REQUIRED)
  add_library(${target})
  target_link_libraries(${target} PUBLIC Boost::headers Threads::Threads)
  target_compile_features(${target} PUBLIC cxx_std_20)
  # Log lines name our sources as ever.
  target_compile_options(${target} PRIVATE "-ffile-prefix-map=${Valdane_SOURCE_DIR}/=")
  set_target_properties(${target} PROPERTIES CXX_EXTENSIONS OFF)

  # An include root in which the headers of a service that is replaced are not found.
  set(kept "${CMAKE_CURRENT_BINARY_DIR}/${target}-headers")
  file(MAKE_DIRECTORY "${kept}/Platform")
  file(CREATE_LINK "${Valdane_SOURCE_DIR}/Service" "${kept}/Service" SYMBOLIC)
  set(parts CommandPattern)
  foreach(service ExceptionHandling GeneralServices Logging Multitasking Parameterization Signals)
    if(IS_DIRECTORY "${folder}/Platform/${service}")
      file(REMOVE "${kept}/Platform/${service}")
    else()
      file(CREATE_LINK "${Valdane_SOURCE_DIR}/Platform/${service}" "${kept}/Platform/${service}" SYMBOLIC)
      list(APPEND parts ${service})
    endif()
  endforeach()
  list(LENGTH parts count)
  if(count EQUAL 7)
    message(FATAL_ERROR "${folder}/Platform has none of the services")
  endif()
  if(arg_EDITING)
    if(NOT TARGET VLDService_Editing)
      message(FATAL_ERROR "${target}: EDITING needs VALDANE_BUILD_EDITING=ON")
    endif()
    list(APPEND parts Editing)
  endif()
  target_include_directories(${target} PUBLIC "${folder}" "${kept}" "${Valdane_BINARY_DIR}/generated")

  get_target_property(type ${target} TYPE)
  foreach(part ${parts})
    if(type STREQUAL STATIC_LIBRARY)
      string(TOUPPER ${part} upper_part)
      target_compile_definitions(${target} PUBLIC VALDANE_${upper_part}_STATIC_DEFINE)
    endif()
    get_target_property(sources VLDService_${part} SOURCES)
    if(sources) # Signals has none
      get_target_property(source_folder VLDService_${part} SOURCE_DIR)
      list(FILTER sources INCLUDE REGEX "\\.cpp$")
      list(TRANSFORM sources PREPEND "${source_folder}/")
      target_sources(${target} PRIVATE ${sources})
    endif()
  endforeach()
  if(Logging IN_LIST parts)
    valdane_require(spdlog ANY libspdlog-dev)
    target_link_libraries(${target} PRIVATE spdlog::spdlog)
  endif()
endfunction()
