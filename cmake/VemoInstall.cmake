# What `cmake --install` lays down: for hosts (component "dev") libraries, public headers, a
# CMake package and pkg-config files; for whoever runs the programs (component "tools") these,
# the pages that they serve, manual pages and completion.

include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(VEMO_INCLUDE_DIR "${CMAKE_INSTALL_INCLUDEDIR}/vemo")
set(VEMO_PACKAGE_DIR "${CMAKE_INSTALL_LIBDIR}/cmake/vemo")
set(VEMO_PKG_CONFIG_DIR "${CMAKE_INSTALL_LIBDIR}/pkgconfig")

# vemo_install(NAME ...): the library vemo_NAME is installed, as the component NAME of the CMake
# package and as vemo-NAME for pkg-config.
# PRIVATE_HEADERS ...: headers of the room that no public one includes and no host needs.
# PKG_CONFIG_REQUIRES, PKG_CONFIG_LIBS ...: what pkg-config finds beside vemo's own libraries.
# What CMake finds stands in vemo-config.cmake.in.
function(vemo_install name)
  cmake_parse_arguments(ARG "" "" "PRIVATE_HEADERS;PKG_CONFIG_REQUIRES;PKG_CONFIG_LIBS" ${ARGN})
  if(NOT VEMO_INSTALL)
    return()
  endif()
  set(target vemo_${name})
  set_target_properties(${target} PROPERTIES EXPORT_NAME ${name})
  target_include_directories(${target} INTERFACE "$<INSTALL_INTERFACE:${VEMO_INCLUDE_DIR}>")
  install(TARGETS ${target} EXPORT vemo-${name}
    ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT dev)
  install(EXPORT vemo-${name} NAMESPACE vemo:: FILE vemo-${name}-targets.cmake
    DESTINATION "${VEMO_PACKAGE_DIR}" COMPONENT dev)

  get_target_property(room ${target} VEMO_ROOM)
  get_target_property(headers ${target} VEMO_HEADERS)
  foreach(header IN LISTS ARG_PRIVATE_HEADERS)
    if(NOT header IN_LIST headers)
      message(FATAL_ERROR "${room}/ has no ${header} that could be private")
    endif()
  endforeach()
  list(REMOVE_ITEM headers ${ARG_PRIVATE_HEADERS})
  foreach(header IN LISTS headers)
    cmake_path(GET header PARENT_PATH folder)
    install(FILES "${header}" DESTINATION "${VEMO_INCLUDE_DIR}/${room}/${folder}" COMPONENT dev)
  endforeach()
  # The target all_verify_interface_header_sets compiles each on its own, as hosts may include it
  # before all others.
  set(include "${PROJECT_BINARY_DIR}/include/${name}")
  list(TRANSFORM headers PREPEND "${include}/${room}/")
  add_library(${target}_headers INTERFACE)
  target_link_libraries(${target}_headers INTERFACE ${target})
  target_compile_options(${target}_headers INTERFACE -g0) # nobody runs what is made of it
  target_sources(${target}_headers INTERFACE
    FILE_SET HEADERS BASE_DIRS "${include}" FILES ${headers})
  set_target_properties(${target}_headers PROPERTIES VERIFY_INTERFACE_HEADER_SETS ON)

  get_target_property(links ${target} INTERFACE_LINK_LIBRARIES)
  list(TRANSFORM links REPLACE "^vemo_" "vemo::")
  list(FILTER links INCLUDE REGEX "^vemo::")
  list(TRANSFORM links REPLACE "^vemo::" "" OUTPUT_VARIABLE needs)
  set_property(GLOBAL APPEND PROPERTY VEMO_COMPONENTS ${name})
  set_property(GLOBAL APPEND_STRING PROPERTY VEMO_NEEDS "set(vemo_${name}_needs ${needs})\n")

  cmake_path(RELATIVE_PATH CMAKE_INSTALL_FULL_LIBDIR
    BASE_DIRECTORY "${CMAKE_INSTALL_PREFIX}" OUTPUT_VARIABLE libdir)
  cmake_path(RELATIVE_PATH CMAKE_INSTALL_FULL_INCLUDEDIR
    BASE_DIRECTORY "${CMAKE_INSTALL_PREFIX}" OUTPUT_VARIABLE includedir)
  cmake_path(RELATIVE_PATH CMAKE_INSTALL_PREFIX
    BASE_DIRECTORY "${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig" OUTPUT_VARIABLE up)
  list(TRANSFORM needs PREPEND "vemo-")
  list(JOIN needs " " requires)
  list(JOIN ARG_PKG_CONFIG_REQUIRES " " others)
  list(JOIN ARG_PKG_CONFIG_LIBS " " libs)
  get_target_property(type ${target} TYPE)
  if(type STREQUAL STATIC_LIBRARY)
    set(libs "-L\${libdir} -lvemo_${name} ${libs}")
  endif()
  configure_file("${PROJECT_SOURCE_DIR}/cmake/vemo.pc.in"
    "${PROJECT_BINARY_DIR}/install/vemo-${name}.pc" @ONLY)
  install(FILES "${PROJECT_BINARY_DIR}/install/vemo-${name}.pc"
    DESTINATION "${VEMO_PKG_CONFIG_DIR}" COMPONENT dev)
endfunction()

# The CMake package of all that vemo_install was called for.
function(vemo_install_package)
  if(NOT VEMO_INSTALL)
    return()
  endif()
  get_property(VEMO_COMPONENTS GLOBAL PROPERTY VEMO_COMPONENTS)
  get_property(VEMO_NEEDS GLOBAL PROPERTY VEMO_NEEDS)
  configure_package_config_file("${PROJECT_SOURCE_DIR}/cmake/vemo-config.cmake.in"
    "${PROJECT_BINARY_DIR}/install/vemo-config.cmake"
    INSTALL_DESTINATION "${VEMO_PACKAGE_DIR}" NO_SET_AND_CHECK_MACRO)
  # Until 1.0, what has another minor version may be another interface.
  write_basic_package_version_file("${PROJECT_BINARY_DIR}/install/vemo-config-version.cmake"
    COMPATIBILITY SameMinorVersion)
  install(FILES
    "${PROJECT_BINARY_DIR}/install/vemo-config.cmake"
    "${PROJECT_BINARY_DIR}/install/vemo-config-version.cmake"
    DESTINATION "${VEMO_PACKAGE_DIR}" COMPONENT dev)
endfunction()
