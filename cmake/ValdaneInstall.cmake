# Install rules: libraries, public headers under include/valdane/, a package for find_package(Valdane CONFIG), and a file
# for pkg-config for each library. Nothing that is installed holds an absolute path.

include(CMakePackageConfigHelpers)

get_property(libraries GLOBAL PROPERTY VALDANE_LIBRARIES)

if(VALDANE_INSTALL STREQUAL RUNTIME)
  foreach(target IN LISTS libraries)
    get_target_property(type ${target} TYPE)
    # Tests are not installed, and so not what they need.
    if(type STREQUAL SHARED_LIBRARY AND NOT target STREQUAL VLDService_CommandTesting)
      install(
        TARGETS ${target}
        RUNTIME COMPONENT Runtime
        LIBRARY COMPONENT Runtime NAMELINK_SKIP)
    endif()
  endforeach()
  return()
endif()

set(package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/Valdane")

foreach(target IN LISTS libraries)
  # What needs a package of its own is a component of its own. Who links a static library needs what that needs inside, too.
  get_target_property(needs ${target} VALDANE_NEEDS)
  get_target_property(type ${target} TYPE)
  set(inside)
  if(type STREQUAL STATIC_LIBRARY)
    get_target_property(linked ${target} LINK_LIBRARIES)
    if("spdlog::spdlog" IN_LIST linked)
      string(APPEND inside "find_dependency(spdlog)\n")
    endif()
    if("SQLite::SQLite3" IN_LIST linked)
      string(APPEND inside "find_dependency(SQLite3 3.40)\n")
    endif()
  endif()
  set(own)
  if(needs)
    get_target_property(own ${target} EXPORT_NAME)
  endif()
  install(
    TARGETS ${target}
    EXPORT Valdane${own}Targets
    RUNTIME COMPONENT ${own}Runtime
    LIBRARY COMPONENT ${own}Runtime NAMELINK_COMPONENT ${own}Development
    ARCHIVE COMPONENT ${own}Development
    FILE_SET HEADERS DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/valdane" COMPONENT ${own}Development
    FILE_SET generated_headers DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/valdane" COMPONENT ${own}Development)
  set_target_properties(${target} PROPERTIES VALDANE_COMPONENT "${own}")
  if(needs)
    file(WRITE "${PROJECT_BINARY_DIR}/Valdane${own}.cmake"
         "find_dependency(${needs})\n${inside}include(\"\${CMAKE_CURRENT_LIST_DIR}/Valdane${own}Targets.cmake\")\n")
    install(FILES "${PROJECT_BINARY_DIR}/Valdane${own}.cmake" DESTINATION "${package_dir}" COMPONENT ${own}Development)
    install(EXPORT Valdane${own}Targets NAMESPACE Valdane:: DESTINATION "${package_dir}" COMPONENT ${own}Development)
  else()
    string(APPEND dependencies_inside "${inside}")
  endif()
endforeach()
if(TARGET VLDService_CommandTestingAllocations)
  install(
    TARGETS VLDService_CommandTestingAllocations
    EXPORT ValdaneTargets
    OBJECTS DESTINATION "${CMAKE_INSTALL_LIBDIR}/valdane" COMPONENT Development)
endif()
install(EXPORT ValdaneTargets NAMESPACE Valdane:: DESTINATION "${package_dir}" COMPONENT Development)

string(REGEX REPLACE "VLD[A-Za-z]+_" "" components "${libraries}")
string(REPLACE ";" ", " components "${components}")
get_target_property(type VLDService_CommandPattern TYPE)
if(type STREQUAL STATIC_LIBRARY)
  set(core "${CMAKE_INSTALL_LIBDIR}/${CMAKE_STATIC_LIBRARY_PREFIX}VLDService_CommandPattern${CMAKE_STATIC_LIBRARY_SUFFIX}")
elseif(WIN32)
  set(core "${CMAKE_INSTALL_BINDIR}/${CMAKE_SHARED_LIBRARY_PREFIX}VLDService_CommandPattern${CMAKE_SHARED_LIBRARY_SUFFIX}")
elseif(APPLE)
  set(core "${CMAKE_INSTALL_LIBDIR}/libVLDService_CommandPattern.${PROJECT_VERSION_MAJOR}.dylib")
else()
  set(core "${CMAKE_INSTALL_LIBDIR}/libVLDService_CommandPattern.so.${PROJECT_VERSION_MAJOR}")
endif()
configure_package_config_file("${PROJECT_SOURCE_DIR}/cmake/ValdaneConfig.cmake.in"
                              "${PROJECT_BINARY_DIR}/ValdaneConfig.cmake" INSTALL_DESTINATION "${package_dir}"
                              PATH_VARS core)
write_basic_package_version_file("${PROJECT_BINARY_DIR}/ValdaneConfigVersion.cmake" COMPATIBILITY SameMajorVersion)
install(FILES "${PROJECT_BINARY_DIR}/ValdaneConfig.cmake" "${PROJECT_BINARY_DIR}/ValdaneConfigVersion.cmake"
        DESTINATION "${package_dir}" COMPONENT Development)

set(pkgconfig_dir "${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig")
file(RELATIVE_PATH prefix_from_pkgconfig "${pkgconfig_dir}" "${CMAKE_INSTALL_PREFIX}")
file(RELATIVE_PATH libdir_from_prefix "${CMAKE_INSTALL_PREFIX}" "${CMAKE_INSTALL_FULL_LIBDIR}")
file(RELATIVE_PATH includedir_from_prefix "${CMAKE_INSTALL_PREFIX}" "${CMAKE_INSTALL_FULL_INCLUDEDIR}")
foreach(target IN LISTS libraries)
  get_target_property(type ${target} TYPE)
  # Valdane::Logging is in VLDService_Logging, and valdane-logging.pc tells of it.
  set(definitions)
  if(type STREQUAL STATIC_LIBRARY)
    get_target_property(dependencies ${target} LINK_LIBRARIES)
    get_target_property(definitions ${target} INTERFACE_COMPILE_DEFINITIONS)
    list(TRANSFORM definitions PREPEND " -D")
    string(REPLACE ";" "" definitions "${definitions}")
  else()
    get_target_property(dependencies ${target} INTERFACE_LINK_LIBRARIES)
  endif()
  set(requires)
  foreach(dependency IN LISTS dependencies)
    if(dependency MATCHES "^Valdane::")
      string(TOLOWER "${dependency}" dependency)
      string(REPLACE "::" "-" dependency "${dependency}")
      list(APPEND requires ${dependency})
    elseif(dependency MATCHES "^Qt6::")
      string(REPLACE "::" "" dependency "${dependency}")
      list(APPEND requires ${dependency})
    elseif(dependency MATCHES "^nlohmann_json::")
      list(APPEND requires nlohmann_json)
    elseif(dependency MATCHES "^spdlog::")
      list(APPEND requires spdlog)
    elseif(dependency MATCHES "^SQLite::")
      list(APPEND requires sqlite3)
    endif()
  endforeach()
  string(REPLACE ";" ", " requires "${requires}")
  if(type STREQUAL INTERFACE_LIBRARY)
    set(libs)
  else()
    set(libs "-L\${libdir} -l${target}")
  endif()
  string(REGEX REPLACE "^VLD[A-Za-z]+_" valdane- name "${target}")
  string(TOLOWER "${name}" name)
  get_target_property(description ${target} VALDANE_DESCRIPTION)
  get_target_property(own ${target} VALDANE_COMPONENT)
  configure_file(cmake/library.pc.in "${PROJECT_BINARY_DIR}/pkgconfig/${name}.pc" @ONLY)
  install(FILES "${PROJECT_BINARY_DIR}/pkgconfig/${name}.pc" DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig"
          COMPONENT ${own}Development)
endforeach()

# By itself: each Debian package has its own statement.
install(FILES "${PROJECT_SOURCE_DIR}/LICENSE" DESTINATION "${CMAKE_INSTALL_DATAROOTDIR}/doc/valdane" COMPONENT License)
