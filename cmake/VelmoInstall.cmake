# Installs the library with an exported CMake package (quentra::velmoUtil,
# quentra::platform) and a pkg-config file, both relocatable: the prefix can be
# moved after installation.
#
#   <prefix>/lib/libquentra.velmoUtil.so.3 (run path $ORIGIN)
#   <prefix>/lib/libquentra.platform.so.1            (host builds)
#   <prefix>/include/quentra-velmoUtil/velmoUtil.h   and the other headers
#   <prefix>/lib/cmake/quentraVelmoUtil/             find_package(quentraVelmoUtil)
#   <prefix>/lib/pkgconfig/quentra-velmoUtil.pc      pkg-config quentra-velmoUtil
#   <prefix>/share/doc/quentraVelmoUtil/             README, LICENSE, CHANGELOG
include(CMakePackageConfigHelpers)

set(_velmo_install_targets velmoUtil)
if(NOT VELMO_VENDOR_PLATFORM)
  list(APPEND _velmo_install_targets quentra_platform)
endif()
install(TARGETS ${_velmo_install_targets} EXPORT quentraVelmoUtilTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})

# The host controls exist only in the host platform library.
set(_velmo_header_excludes "")
if(VELMO_VENDOR_PLATFORM)
  set(_velmo_header_excludes PATTERN utilPlatformHost.h EXCLUDE)
endif()
install(DIRECTORY include/ DESTINATION ${VELMO_INSTALL_INCLUDEDIR} ${_velmo_header_excludes})
install(FILES ${VELMO_GENERATED_INCLUDE_DIR}/velmoVersion.h DESTINATION ${VELMO_INSTALL_INCLUDEDIR})

set(_velmo_cmake_dir ${CMAKE_INSTALL_LIBDIR}/cmake/quentraVelmoUtil)
install(EXPORT quentraVelmoUtilTargets NAMESPACE quentra:: DESTINATION ${_velmo_cmake_dir})
configure_package_config_file(cmake/quentraVelmoUtilConfig.cmake.in
  ${PROJECT_BINARY_DIR}/quentraVelmoUtilConfig.cmake
  INSTALL_DESTINATION ${_velmo_cmake_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/quentraVelmoUtilConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/quentraVelmoUtilConfig.cmake
  ${PROJECT_BINARY_DIR}/quentraVelmoUtilConfigVersion.cmake
  DESTINATION ${_velmo_cmake_dir})

# pkg-config: paths relative to the .pc file itself (${pcfiledir}), unless the
# install directories were given as absolute paths.
set(_velmo_pc_dir ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}" OR IS_ABSOLUTE "${CMAKE_INSTALL_INCLUDEDIR}")
  set(VELMO_PC_PREFIX "${CMAKE_INSTALL_PREFIX}")
else()
  file(RELATIVE_PATH _velmo_pc_up "/prefix/${_velmo_pc_dir}" "/prefix")
  string(REGEX REPLACE "/$" "" _velmo_pc_up "${_velmo_pc_up}")
  set(VELMO_PC_PREFIX "\${pcfiledir}/${_velmo_pc_up}")
endif()
if(VELMO_VENDOR_PLATFORM)
  get_filename_component(_velmo_vendor_dir "${VELMO_VENDOR_PLATFORM_LIB}" DIRECTORY)
  set(VELMO_PC_PLATFORM_LIBS "-L${_velmo_vendor_dir} -lquentra.platform")
else()
  set(VELMO_PC_PLATFORM_LIBS "-lquentra.platform")
endif()
configure_file(cmake/quentra-velmoUtil.pc.in ${PROJECT_BINARY_DIR}/quentra-velmoUtil.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/quentra-velmoUtil.pc DESTINATION ${_velmo_pc_dir})

install(FILES README.md LICENSE CHANGELOG.md DESTINATION ${CMAKE_INSTALL_DOCDIR})
