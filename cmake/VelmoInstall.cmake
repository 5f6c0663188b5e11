# Installs the library with an exported CMake package (quentra::velmoUtil) and
# a pkg-config file.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(_velmo_install_targets velmoUtil)
if(NOT VELMO_VENDOR_PLATFORM)
  list(APPEND _velmo_install_targets quentra_platform)
endif()
install(TARGETS ${_velmo_install_targets} EXPORT quentraVelmoUtilTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(EXPORT quentraVelmoUtilTargets NAMESPACE quentra::
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/quentraVelmoUtil)
configure_package_config_file(cmake/quentraVelmoUtilConfig.cmake.in
  ${PROJECT_BINARY_DIR}/quentraVelmoUtilConfig.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/quentraVelmoUtil)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/quentraVelmoUtilConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/quentraVelmoUtilConfig.cmake
  ${PROJECT_BINARY_DIR}/quentraVelmoUtilConfigVersion.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/quentraVelmoUtil)
configure_file(cmake/quentra-velmoUtil.pc.in ${PROJECT_BINARY_DIR}/quentra-velmoUtil.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/quentra-velmoUtil.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
