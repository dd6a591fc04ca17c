# Three Debian packages from the install components: the runtime libraries
# (named after their SONAME), their development files, and the lumknx tool.
set(LUM_DEB_RUNTIME "liblumobjectmodel${PROJECT_VERSION_MAJOR}")
set(LUM_DEB_DEV "liblumobjectmodel-dev")
set(LUM_DEB_TOOL "lumknx")
set(LUM_DEB_REVISION 1)
set(LUM_DEB_VERSION "${PROJECT_VERSION}-${LUM_DEB_REVISION}")
set(LUM_DEB_MAINTAINER "Lum developers <lum-dev@lum.example.org>")

# Each package carries the licence and its changelog in /usr/share/doc.
set(LUM_DEB_DOCS "${CMAKE_BINARY_DIR}/debian")
string(TIMESTAMP LUM_DEB_DATE "%a, %d %b %Y %H:%M:%S +0000" UTC)
file(READ "${PROJECT_SOURCE_DIR}/cmake/debian/changelog.in" LUM_DEB_CHANGES_TEMPLATE)
foreach(component IN ITEMS runtime development lumknx)
  if(component STREQUAL "runtime")
    set(package "${LUM_DEB_RUNTIME}")
  elseif(component STREQUAL "development")
    set(package "${LUM_DEB_DEV}")
  else()
    set(package "${LUM_DEB_TOOL}")
  endif()
  set(dir "${LUM_DEB_DOCS}/${package}")
  file(MAKE_DIRECTORY "${dir}")
  # The date is the one of the configure run: the changelog only changes
  # when the build is configured afresh.
  if(NOT EXISTS "${dir}/changelog.Debian.gz")
    file(CONFIGURE OUTPUT "${dir}/changelog.Debian" CONTENT "${LUM_DEB_CHANGES_TEMPLATE}" @ONLY)
    execute_process(COMMAND gzip -9nf "${dir}/changelog.Debian" COMMAND_ERROR_IS_FATAL ANY)
  endif()
  install(FILES "${PROJECT_SOURCE_DIR}/cmake/debian/copyright" "${dir}/changelog.Debian.gz"
    DESTINATION "${CMAKE_INSTALL_DATADIR}/doc/${package}" COMPONENT ${component}
    EXCLUDE_FROM_ALL)
  file(WRITE "${dir}/lintian-overrides"
    "# Not uploaded to Debian: there is no ITP bug for the first release to close.\n"
    "${package}: initial-upload-closes-no-bugs\n")
  install(FILES "${dir}/lintian-overrides" RENAME "${package}"
    DESTINATION "${CMAKE_INSTALL_DATADIR}/lintian/overrides" COMPONENT ${component} EXCLUDE_FROM_ALL)
endforeach()

set(CPACK_GENERATOR DEB)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL runtime development lumknx)
set(CPACK_PACKAGE_VENDOR "Lum")
set(CPACK_PACKAGE_CONTACT "${LUM_DEB_MAINTAINER}")
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "${LUM_DEB_MAINTAINER}")
set(CPACK_PACKAGE_VERSION "${PROJECT_VERSION}")
set(CPACK_DEBIAN_PACKAGE_RELEASE ${LUM_DEB_REVISION})
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SOURCE "lum-objectmodel")
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE "https://lum.example.org/")
# dpkg-shlibdeps maps each needed library to the package that owns it. The
# cross build's libraries are no installed packages: scripts/armhf-sysroot.sh
# unpacks them whole beside the sysroot, and a dpkg-shlibdeps put first on
# CPack's PATH hands those folders on as package build trees (-S).
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
if(CMAKE_CROSSCOMPILING)
  execute_process(COMMAND dpkg-architecture -t "${CMAKE_LIBRARY_ARCHITECTURE}" -q DEB_HOST_ARCH
    OUTPUT_VARIABLE CPACK_DEBIAN_PACKAGE_ARCHITECTURE OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
  set(LUM_ARMHF_PACKAGES "${LUM_ARMHF_SYSROOT}-packages")
  configure_file("${PROJECT_SOURCE_DIR}/cmake/debian/dpkg-shlibdeps.in"
    "${CMAKE_BINARY_DIR}/debian/bin/dpkg-shlibdeps" @ONLY
    FILE_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
  file(WRITE "${CMAKE_BINARY_DIR}/debian/CPackProjectConfig.cmake"
    "set(ENV{PATH} \"${CMAKE_BINARY_DIR}/debian/bin:\$ENV{PATH}\")\n")
  set(CPACK_PROJECT_CONFIG_FILE "${CMAKE_BINARY_DIR}/debian/CPackProjectConfig.cmake")
endif()
# lumknx links the runtime package's libraries: dpkg-shlibdeps finds them here.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${CMAKE_BINARY_DIR}/src")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_STRIP_FILES ON)
if(CMAKE_STRIP)
  set(CPACK_STRIP "${CMAKE_STRIP}")
endif()

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME "${LUM_DEB_RUNTIME}")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
# Only the runtime package holds libraries with a SONAME, so only it gets a
# shlibs file.
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
# The loader's cache is refreshed through the trigger. CPack writes a postinst
# and a postrm that call ldconfig unless the package names its own: these
# names lead nowhere, so the package has neither.
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA "${PROJECT_SOURCE_DIR}/cmake/debian/triggers"
  "${CMAKE_BINARY_DIR}/debian/none/postinst" "${CMAKE_BINARY_DIR}/debian/none/postrm")
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION
  "object model of a KNX home-automation controller
The object-model library of a KNX controller: conversion between group
values and typed values for the datapoint types, object-model identifiers,
requests to the device stack and the app host configuration.

This package holds the shared libraries.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME "${LUM_DEB_DEV}")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SHLIBDEPS OFF)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS
  "${LUM_DEB_RUNTIME} (= ${LUM_DEB_VERSION}), pkg-config, liblog4cplus-dev, libboost-dev, libboost-thread-dev, libboost-chrono-dev, libboost-date-time-dev, libboost-timer-dev, libboost-system-dev, libboost-filesystem-dev")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION
  "object model of a KNX home-automation controller - development files
The object-model library of a KNX controller: conversion between group
values and typed values for the datapoint types, object-model identifiers,
requests to the device stack and the app host configuration.

This package holds the headers, the CMake package (find_package
LumObjectModel) and the pkg-config file (lum-objectmodel).")

set(CPACK_DEBIAN_LUMKNX_PACKAGE_NAME "${LUM_DEB_TOOL}")
set(CPACK_DEBIAN_LUMKNX_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_LUMKNX_PACKAGE_DEPENDS "${LUM_DEB_RUNTIME} (= ${LUM_DEB_VERSION})")
set(CPACK_COMPONENT_LUMKNX_DESCRIPTION
  "command-line tool for KNX group telegrams
lumknx decodes and encodes the group values of the KNX datapoint types,
decodes bus traces and group-address plans, explains object-model
identifiers and talks to a KNX bus through knxd: monitor, read, write
and a virtual device that answers reads.

It ships a sample trace of a day in a small building.")

include(CPack)
