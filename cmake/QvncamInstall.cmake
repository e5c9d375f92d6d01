# SPDX-License-Identifier: Apache-2.0
include(CMakePackageConfigHelpers)

# qvncam_clock: the host platform clock the library needs (and the host power service).
install(TARGETS qvncam_perfctrl qvncam_clock EXPORT qvncam_perfctrlTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(DIRECTORY include/ platform/camera/include/
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/qvncam_perfctrl
  FILES_MATCHING PATTERN "*.h")
install(EXPORT qvncam_perfctrlTargets
  NAMESPACE qvncam::
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/qvncam_perfctrl)
configure_package_config_file(cmake/qvncam_perfctrlConfig.cmake.in
  ${CMAKE_CURRENT_BINARY_DIR}/qvncam_perfctrlConfig.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/qvncam_perfctrl)
write_basic_package_version_file(
  ${CMAKE_CURRENT_BINARY_DIR}/qvncam_perfctrlConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES
  ${CMAKE_CURRENT_BINARY_DIR}/qvncam_perfctrlConfig.cmake
  ${CMAKE_CURRENT_BINARY_DIR}/qvncam_perfctrlConfigVersion.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/qvncam_perfctrl)
# This build is the host one: its library exports the host-only test controls.
install(FILES platform/include/qvncam/platform/HostControl.h
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/qvncam_perfctrl/qvncam/platform)
install(FILES platform/include/C2PSInitParams.h
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/qvncam_perfctrl)
