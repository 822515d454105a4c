# Debian packages, by cpack: libvemo-dev for hosts, vemo-tools for whoever runs the programs.
# scripts/make-packages builds and checks both.
if(NOT VEMO_INSTALL)
  return()
endif()

set(VEMO_MAINTAINER "vemo maintainers <maintainers@example.org>" CACHE STRING
  "Who answers for the Debian packages: name and address")

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_CONTACT "${VEMO_MAINTAINER}")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL dev)
if(VEMO_APPS)
  list(APPEND CPACK_COMPONENTS_ALL tools)
endif()
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

# What a host of the router needs is required; the platform's libraries come with it unless they
# are not wanted, since find_package and pkg-config ask for them only with that component.
set(CPACK_DEBIAN_DEV_PACKAGE_NAME libvemo-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS "libboost-json1.81-dev, libstdc++-12-dev | libstdc++-dev")
set(CPACK_DEBIAN_DEV_PACKAGE_RECOMMENDS "libspdlog-dev, libcurl4-openssl-dev (>= 7.85) | libcurl4-gnutls-dev (>= 7.85), libgdk-pixbuf-2.0-dev, libglib2.0-dev, libsystemd-dev, pkg-config")
set(CPACK_DEBIAN_DEV_PACKAGE_SUGGESTS "libgtest-dev, vemo-tools")
set(CPACK_COMPONENT_DEV_DESCRIPTION
"bridge between web pages and a real-time engine (development files)
The native half of a bridge between a web page and the real-time audio/video
engine of a classroom application: the router of page commands and engine
events, ready-made pieces for hosts, a simulated classroom, and contract
suites for pieces of one's own.")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME vemo-tools)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION devel)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_TOOLS_PACKAGE_RECOMMENDS "webp-pixbuf-loader")
set(CPACK_COMPONENT_TOOLS_DESCRIPTION
"bridge between web pages and a real-time engine (programs)
A simulator that plays phones of one classroom in a browser, a player of
recorded and written sessions, the protocol between pages and the router as a
document, and a stand-in for the screen-broadcast extension. With the client
that pages use.")

# Whatever Debian asks for beside what is installed everywhere.
configure_file("${PROJECT_SOURCE_DIR}/cmake/debian/finish.cmake.in"
  "${PROJECT_BINARY_DIR}/install/finish.cmake" @ONLY)
set(CPACK_PRE_BUILD_SCRIPTS "${PROJECT_BINARY_DIR}/install/finish.cmake")
include(CPack)
