# install_pkgconfig(NAME): installs NAME.pc, made from cmake/NAME.pc.in. Its prefix is relative to where it lies, so that
# an installed tree may be moved. Nothing without ISP_CTRL_INSTALL.
include(GNUInstallDirs)

function(install_pkgconfig name)
  if(NOT ISP_CTRL_INSTALL)
    return()
  endif()
  set(folder ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
  file(RELATIVE_PATH relative_prefix ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
  string(REGEX REPLACE "/$" "" relative_prefix ${relative_prefix})
  configure_file(${PROJECT_SOURCE_DIR}/cmake/${name}.pc.in ${name}.pc @ONLY)
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${name}.pc DESTINATION ${folder} COMPONENT development)
endfunction()
