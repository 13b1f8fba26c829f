# Install rules: libraries, public headers under include/valdane/, and a package for find_package(Valdane CONFIG).

include(CMakePackageConfigHelpers)

get_property(libraries GLOBAL PROPERTY VALDANE_LIBRARIES)
set(package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/Valdane")

install(
  TARGETS ${libraries}
  EXPORT ValdaneTargets
  FILE_SET HEADERS DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/valdane"
  FILE_SET generated_headers DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/valdane")
install(EXPORT ValdaneTargets NAMESPACE Valdane:: DESTINATION "${package_dir}")

configure_package_config_file("${PROJECT_SOURCE_DIR}/cmake/ValdaneConfig.cmake.in"
                              "${PROJECT_BINARY_DIR}/ValdaneConfig.cmake" INSTALL_DESTINATION "${package_dir}")
write_basic_package_version_file("${PROJECT_BINARY_DIR}/ValdaneConfigVersion.cmake" COMPATIBILITY SameMajorVersion)
install(FILES "${PROJECT_BINARY_DIR}/ValdaneConfig.cmake" "${PROJECT_BINARY_DIR}/ValdaneConfigVersion.cmake"
        DESTINATION "${package_dir}")
