# Debian packages: `cmake --workflow --preset debian`. libvaldane1 has the libraries, libvaldane-dev what building against
# them needs, valdane-tools the model editor; libvaldane-qt1 and libvaldane-qt-dev have the library Qt, libvaldane-journal1 and
# libvaldane-journal-dev the library Journal, which others do not need.

find_program(DPKG dpkg)
find_program(GZIP gzip)
if(NOT DPKG OR NOT GZIP)
  return()
endif()

set(CPACK_PACKAGE_NAME valdane)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "undo and redo for large C++ applications")
set(CPACK_PACKAGE_VENDOR "The Valdane developers")
set(CPACK_PACKAGE_CONTACT "The Valdane developers <developers@valdane.invalid>")
set(CPACK_RESOURCE_FILE_LICENSE "${PROJECT_SOURCE_DIR}/LICENSE")
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL Runtime Development)
if(TARGET model-editor)
  list(APPEND CPACK_COMPONENTS_ALL Tools)
endif()
if(TARGET VLDToolkit_Qt)
  list(APPEND CPACK_COMPONENTS_ALL QtRuntime QtDevelopment)
endif()
if(TARGET VLDService_Journal)
  list(APPEND CPACK_COMPONENTS_ALL JournalRuntime JournalDevelopment)
endif()
set(CPACK_COMPONENT_DEVELOPMENT_DEPENDS Runtime)
set(CPACK_COMPONENT_QTRUNTIME_DEPENDS Runtime)
set(CPACK_COMPONENT_QTDEVELOPMENT_DEPENDS QtRuntime Development)
set(CPACK_COMPONENT_JOURNALRUNTIME_DEPENDS Runtime)
set(CPACK_COMPONENT_JOURNALDEVELOPMENT_DEPENDS JournalRuntime Development)
set(CPACK_COMPONENT_TOOLS_DEPENDS Runtime JournalRuntime)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# Where our own libraries are found for that.
get_property(libraries GLOBAL PROPERTY VALDANE_LIBRARIES)
foreach(library IN LISTS libraries)
  get_target_property(library_dir ${library} BINARY_DIR)
  list(APPEND CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${library_dir}")
endforeach()
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

set(runtime_package "libvaldane${PROJECT_VERSION_MAJOR}")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${runtime_package})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA "${PROJECT_SOURCE_DIR}/cmake/debian/triggers")
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION
    "Every change of an application is a command, and one manager runs it, logs
it, keeps it for undo and redo, and tells which data differ from the last save.
.
This package has the libraries.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libvaldane-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "libboost-dev (>= 1.74)")
# For the headers of the testing kit that nothing else includes: GoogleTest.h and RandomHistories.h.
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SUGGESTS "libgmock-dev, librapidcheck-dev, libspdlog-dev")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION
    "Every change of an application is a command, and one manager runs it, logs
it, keeps it for undo and redo, and tells which data differ from the last save.
.
This package has the headers, the files for CMake and pkg-config, and the
objects that let allocations fail in tests of an application's own commands.")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME valdane-tools)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION utils)
set(CPACK_COMPONENT_TOOLS_DESCRIPTION
    "The command model-editor edits XML models at a terminal or by scripts. It
shows what the command framework does: groups, recordings, and work on another
thread.")

set(CPACK_DEBIAN_QTRUNTIME_PACKAGE_NAME "libvaldane-qt${PROJECT_VERSION_MAJOR}")
set(CPACK_DEBIAN_QTRUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_QTRUNTIME_PACKAGE_CONTROL_EXTRA "${PROJECT_SOURCE_DIR}/cmake/debian/triggers")
set(CPACK_COMPONENT_QTRUNTIME_DESCRIPTION
    "Every change of an application is a command, and one manager runs it, logs
it, keeps it for undo and redo, and tells which data differ from the last save.
.
This package has the library for Qt applications.")

set(CPACK_DEBIAN_QTDEVELOPMENT_PACKAGE_NAME libvaldane-qt-dev)
set(CPACK_DEBIAN_QTDEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_QTDEVELOPMENT_PACKAGE_DEPENDS "qt6-base-dev (>= 6.4)")
set(CPACK_COMPONENT_QTDEVELOPMENT_DESCRIPTION
    "Every change of an application is a command, and one manager runs it, logs
it, keeps it for undo and redo, and tells which data differ from the last save.
.
This package has what Qt applications are built with: headers, and files for
CMake and pkg-config.")

set(CPACK_DEBIAN_JOURNALRUNTIME_PACKAGE_NAME "libvaldane-journal${PROJECT_VERSION_MAJOR}")
set(CPACK_DEBIAN_JOURNALRUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_JOURNALRUNTIME_PACKAGE_CONTROL_EXTRA "${PROJECT_SOURCE_DIR}/cmake/debian/triggers")
set(CPACK_COMPONENT_JOURNALRUNTIME_DESCRIPTION
    "Every change of an application is a command, and one manager runs it, logs
it, keeps it for undo and redo, and tells which data differ from the last save.
.
This package has the library that keeps the history in a file, so that work
survives the death of a program, and undo a restart.")

set(CPACK_DEBIAN_JOURNALDEVELOPMENT_PACKAGE_NAME libvaldane-journal-dev)
set(CPACK_DEBIAN_JOURNALDEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_JOURNALDEVELOPMENT_PACKAGE_DEPENDS "nlohmann-json3-dev (>= 3.11)")
set(CPACK_COMPONENT_JOURNALDEVELOPMENT_DESCRIPTION
    "Every change of an application is a command, and one manager runs it, logs
it, keeps it for undo and redo, and tells which data differ from the last save.
.
This package has what applications with a journal of their history are built
with: headers, and files for CMake and pkg-config.")

# What Debian wants of every package; only there, and not installed otherwise.
set(debian "${PROJECT_BINARY_DIR}/debian")
configure_file(cmake/debian/changelog.in "${debian}/changelog" @ONLY)
configure_file(Applications/ModelEditor/model-editor.1 "${debian}/model-editor.1" COPYONLY)
execute_process(COMMAND "${GZIP}" -9nkf changelog model-editor.1 WORKING_DIRECTORY "${debian}" COMMAND_ERROR_IS_FATAL ANY)
foreach(component IN LISTS CPACK_COMPONENTS_ALL)
  string(TOUPPER ${component} upper_component)
  install(
    FILES cmake/debian/copyright "${debian}/changelog.gz"
    DESTINATION "${CMAKE_INSTALL_DATAROOTDIR}/doc/${CPACK_DEBIAN_${upper_component}_PACKAGE_NAME}"
    COMPONENT ${component}
    EXCLUDE_FROM_ALL)
endforeach()
install(
  FILES "${debian}/model-editor.1.gz"
  DESTINATION "${CMAKE_INSTALL_MANDIR}/man1"
  COMPONENT Tools
  EXCLUDE_FROM_ALL)
foreach(component Runtime QtRuntime JournalRuntime)
  string(TOUPPER ${component} upper_component)
  set(package ${CPACK_DEBIAN_${upper_component}_PACKAGE_NAME})
  install(
    FILES cmake/debian/${package}.lintian-overrides
    DESTINATION "${CMAKE_INSTALL_DATAROOTDIR}/lintian/overrides"
    RENAME ${package}
    COMPONENT ${component}
    EXCLUDE_FROM_ALL)
endforeach()

include(CPack)
