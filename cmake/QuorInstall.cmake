# `cmake --install` installs the three libraries with their SONAME links, the public headers (in include/quorapps), and
# the files for pkg-config and find_package. All of it may be moved to another prefix afterwards. apps/zndb installs the
# database service.

include(CMakePackageConfigHelpers)

set(quor_package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/quorapps)
set(quor_pkgconfig_dir ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

install(TARGETS quorapps quorbase mal EXPORT quorapps
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY apps/libapps/include/ base/include/ modem/include/
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/quorapps
  FILES_MATCHING PATTERN "*.h" PATTERN "*.def")

# find_package(quorapps) gives quorapps::quorapps, quorapps::quorbase and quorapps::mal.
install(EXPORT quorapps NAMESPACE quorapps:: FILE quorappsTargets.cmake DESTINATION ${quor_package_dir})
configure_package_config_file(cmake/quorappsConfig.cmake.in ${PROJECT_BINARY_DIR}/quorappsConfig.cmake
  INSTALL_DESTINATION ${quor_package_dir}
  NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/quorappsConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/quorappsConfig.cmake ${PROJECT_BINARY_DIR}/quorappsConfigVersion.cmake
  DESTINATION ${quor_package_dir})

# Functions for the tests of modules, and the script that runs such a test.
install(FILES testkit/ctest/QuorappsTesting.cmake DESTINATION ${quor_package_dir})
install(PROGRAMS testkit/ctest/device-test DESTINATION ${quor_package_dir})

# The pkg-config files derive their prefix from their own location.
file(RELATIVE_PATH quor_prefix_from_pkgconfig /prefix/${quor_pkgconfig_dir} /prefix)
foreach(name IN ITEMS quorapps quorbase mal)
  configure_file(cmake/${name}.pc.in ${PROJECT_BINARY_DIR}/${name}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${name}.pc DESTINATION ${quor_pkgconfig_dir})
endforeach()
