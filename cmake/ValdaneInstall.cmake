# Install rules: libraries, public headers under include/valdane/, a package for find_package(Valdane CONFIG), and a file
# for pkg-config for each library. Nothing that is installed holds an absolute path.

include(CMakePackageConfigHelpers)

get_property(libraries GLOBAL PROPERTY VALDANE_LIBRARIES)
set(package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/Valdane")

install(
  TARGETS ${libraries}
  EXPORT ValdaneTargets
  RUNTIME COMPONENT Runtime
  LIBRARY COMPONENT Runtime NAMELINK_COMPONENT Development
  ARCHIVE COMPONENT Development
  FILE_SET HEADERS DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/valdane" COMPONENT Development
  FILE_SET generated_headers DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/valdane" COMPONENT Development)
if(TARGET VLDService_CommandTestingAllocations)
  install(
    TARGETS VLDService_CommandTestingAllocations
    EXPORT ValdaneTargets
    OBJECTS DESTINATION "${CMAKE_INSTALL_LIBDIR}/valdane" COMPONENT Development)
endif()
install(EXPORT ValdaneTargets NAMESPACE Valdane:: DESTINATION "${package_dir}" COMPONENT Development)

string(REGEX REPLACE "VLD[A-Za-z]+_" "" components "${libraries}")
string(REPLACE ";" ", " components "${components}")
set(qt_dependency)
if(VALDANE_BUILD_QT)
  set(qt_dependency "find_dependency(Qt6 6.4 COMPONENTS Widgets)\n")
endif()
configure_package_config_file("${PROJECT_SOURCE_DIR}/cmake/ValdaneConfig.cmake.in"
                              "${PROJECT_BINARY_DIR}/ValdaneConfig.cmake" INSTALL_DESTINATION "${package_dir}")
write_basic_package_version_file("${PROJECT_BINARY_DIR}/ValdaneConfigVersion.cmake" COMPATIBILITY SameMajorVersion)
install(FILES "${PROJECT_BINARY_DIR}/ValdaneConfig.cmake" "${PROJECT_BINARY_DIR}/ValdaneConfigVersion.cmake"
        DESTINATION "${package_dir}" COMPONENT Development)

set(pkgconfig_dir "${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig")
file(RELATIVE_PATH prefix_from_pkgconfig "${pkgconfig_dir}" "${CMAKE_INSTALL_PREFIX}")
file(RELATIVE_PATH libdir_from_prefix "${CMAKE_INSTALL_PREFIX}" "${CMAKE_INSTALL_FULL_LIBDIR}")
file(RELATIVE_PATH includedir_from_prefix "${CMAKE_INSTALL_PREFIX}" "${CMAKE_INSTALL_FULL_INCLUDEDIR}")
foreach(target IN LISTS libraries)
  # Valdane::Logging is in VLDService_Logging, and valdane-logging.pc tells of it.
  get_target_property(dependencies ${target} INTERFACE_LINK_LIBRARIES)
  list(FILTER dependencies INCLUDE REGEX "^Valdane::")
  list(TRANSFORM dependencies REPLACE "^Valdane::" "valdane-")
  string(REPLACE ";" ", " requires "${dependencies}")
  string(TOLOWER "${requires}" requires)
  get_target_property(type ${target} TYPE)
  if(type STREQUAL INTERFACE_LIBRARY)
    set(libs)
  else()
    set(libs "-L\${libdir} -l${target}")
  endif()
  string(REGEX REPLACE "^VLD[A-Za-z]+_" valdane- name "${target}")
  string(TOLOWER "${name}" name)
  get_target_property(description ${target} VALDANE_DESCRIPTION)
  configure_file(cmake/library.pc.in "${PROJECT_BINARY_DIR}/pkgconfig/${name}.pc" @ONLY)
  install(FILES "${PROJECT_BINARY_DIR}/pkgconfig/${name}.pc" DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig"
          COMPONENT Development)
endforeach()
