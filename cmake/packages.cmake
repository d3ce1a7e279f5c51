# Debian packages, one for each install component: libisp-ctrl1 (runtime), libisp-ctrl-dev (development, with the
# simulated engine, the guide and the example host) and isp-sim (program), and the debug symbols of the first and the
# last. scripts/package.sh builds them, and finishes what cpack leaves open.
set(ISP_CTRL_MAINTAINER "isp_ctrl developers <isp-ctrl@packages.invalid>" CACHE STRING "Maintainer of the packages")
set(runtime_package libisp-ctrl${PROJECT_VERSION_MAJOR})
set(development_package libisp-ctrl-dev)
set(program_package isp-sim)
set(CPACK_COMPONENTS_ALL runtime development)
if(TARGET isp-sim)
  list(APPEND CPACK_COMPONENTS_ALL program)
endif()

# Copyright and changelog of every package; what the page of isp-sim contains has a licence of its own. The example lies
# where Debian keeps examples.
string(TIMESTAMP today "%a, %d %b %Y 00:00:00 +0000" UTC)
configure_file(${PROJECT_SOURCE_DIR}/cmake/debian/changelog.in changelog @ONLY)
execute_process(
  COMMAND gzip -9 -n -c ${CMAKE_CURRENT_BINARY_DIR}/changelog
  OUTPUT_FILE ${CMAKE_CURRENT_BINARY_DIR}/changelog.gz COMMAND_ERROR_IS_FATAL ANY
)
foreach(component IN LISTS CPACK_COMPONENTS_ALL)
  file(READ ${PROJECT_SOURCE_DIR}/cmake/debian/copyright copyright)
  if(component STREQUAL "program" AND TARGET isp_sim_live)
    file(GLOB licences ${PROJECT_SOURCE_DIR}/simulator/live/page/vendor/*.LICENSE)
    foreach(file IN LISTS licences)
      get_filename_component(name ${file} NAME_WE)
      file(READ ${file} licence)
      string(REGEX MATCH "Copyright [^\n]*" holder "${licence}")
      string(REGEX REPLACE "^Copyright (\\([cC]\\) )?" "" holder "${holder}")
      string(REGEX REPLACE "\n\n" "\n.\n" licence "${licence}")
      string(REGEX REPLACE "\n(.)" "\n \\1" licence "${licence}")
      string(APPEND copyright "\nFiles: simulator/live/page/vendor/${name}.*\nCopyright: ${holder}\n"
             "License: ${name}\n ${licence}"
      )
    endforeach()
  endif()
  file(WRITE ${CMAKE_CURRENT_BINARY_DIR}/${component}/copyright "${copyright}")
  install(
    FILES ${CMAKE_CURRENT_BINARY_DIR}/${component}/copyright ${CMAKE_CURRENT_BINARY_DIR}/changelog.gz
    DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${${component}_package}
    COMPONENT ${component}
  )
endforeach()
install(
  FILES docs/integration.md docs/settings.md tests/golden/field-log.txt
  DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${development_package}
  COMPONENT development
)
install(
  DIRECTORY examples
  DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${development_package}
  COMPONENT development
)

set(CPACK_GENERATOR DEB)
set(CPACK_DEB_COMPONENT_INSTALL ON)
# Stripped when the symbols are taken out.
set(CPACK_STRIP_FILES OFF)
set(CPACK_DEBIAN_RUNTIME_DEBUGINFO_PACKAGE ON)
set(CPACK_DEBIAN_PROGRAM_DEBUGINFO_PACKAGE ON)
set(CPACK_BUILD_SOURCE_DIRS ${PROJECT_SOURCE_DIR})
set(CPACK_PACKAGE_NAME isp-ctrl)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT ${ISP_CTRL_MAINTAINER})
set(CPACK_PACKAGE_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR}/packages)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE
)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_COMPRESSION_TYPE gzip) # scripts/package.sh packs them anew

# For another processor than this machine's, what the packages need is found in the tree of that processor's packages,
# which scripts/package.sh makes, and in what these say of their libraries. Of the C library this is its own version; what
# the files need is the highest version among their symbols.
if(CMAKE_CROSSCOMPILING)
  if(NOT EXISTS "${CMAKE_SYSROOT}/shlibs")
    message(FATAL_ERROR "Packages for another processor are built by scripts/package.sh")
  endif()
  set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE arm64)
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_SYSROOT}/usr/lib/${CMAKE_LIBRARY_ARCHITECTURE}
                                                  ${CMAKE_SYSROOT}/lib/${CMAKE_LIBRARY_ARCHITECTURE}
  )
  set(shlibdeps ${CMAKE_CURRENT_BINARY_DIR}/shlibdeps)
  file(
    WRITE ${shlibdeps}
    "#!/bin/sh\n"
    "set -e\n"
    "needed=$(for file; do if [ -f \"$file\" ]; then ${CMAKE_OBJDUMP} -T \"$file\"; fi; done |\n"
    "    grep -o 'GLIBC_2[0-9.]*' | sort -V | tail -n 1)\n"
    "dpkg-shlibdeps -L${CMAKE_SYSROOT}/shlibs \"$@\" | sed \"s/libc6 (>= [0-9.]*)/libc6 (>= \${needed#GLIBC_})/\"\n"
  )
  file(CHMOD ${shlibdeps} PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE)
  file(WRITE ${CMAKE_CURRENT_BINARY_DIR}/cpack-options.cmake "set(SHLIBDEPS_EXECUTABLE ${shlibdeps})\n")
  set(CPACK_PROJECT_CONFIG_FILE ${CMAKE_CURRENT_BINARY_DIR}/cpack-options.cmake)
endif()

set(about "isp_ctrl turns user levels (shutter step, gain limit, colour temperature
and about forty more) into attributes of the image-signal-processing
engine of each camera, lets one camera follow the exposure and the white
balance of another one, and drives the lens iris.
"
)
# The summary of all packages alike, which CPack would add, is left at its default and so left out.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_NAME} built using CMake")

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${runtime_package})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/cmake/debian/triggers)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "camera image control (shared library)
${about}
This package holds what a host program needs to run."
)

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME ${development_package})
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${runtime_package} (= ${PROJECT_VERSION}), libstdc++-12-dev | libstdc++-dev"
)
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "camera image control (development files)
${about}
This package holds headers, the static library, the simulated engine and
host for work without a camera, and a complete example host."
)

set(CPACK_DEBIAN_PROGRAM_PACKAGE_NAME ${program_package})
set(CPACK_DEBIAN_PROGRAM_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PROGRAM_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PROGRAM_PACKAGE_RECOMMENDS "fonts-dejavu-core, gnuplot-nox")
set(CPACK_COMPONENT_PROGRAM_DESCRIPTION "camera image control on a simulated camera
${about}
This package holds isp-sim, with which the settings can be tried, seen
and measured on a simulated camera."
)
include(CPack)
