# libquentra.platform.so: the device's logger and property store. On a phone
# the vendor ships it; for Linux hosts we build our own with host controls.
# Either way the target is quentra::platform, in this tree and once installed.
if(VELMO_VENDOR_PLATFORM)
  if(NOT VELMO_VENDOR_PLATFORM_LIB)
    find_library(VELMO_VENDOR_PLATFORM_LIB NAMES quentra.platform REQUIRED)
  endif()
  add_library(quentra::platform SHARED IMPORTED GLOBAL)
  set_target_properties(quentra::platform PROPERTIES
    IMPORTED_LOCATION "${VELMO_VENDOR_PLATFORM_LIB}"
    INTERFACE_INCLUDE_DIRECTORIES "${PROJECT_SOURCE_DIR}/include")
else()
  add_library(quentra_platform SHARED ${PROJECT_SOURCE_DIR}/platform/host/HostPlatform.cpp)
  add_library(quentra::platform ALIAS quentra_platform)
  # The platform interface has its own version, apart from the library's.
  set_target_properties(quentra_platform PROPERTIES
    OUTPUT_NAME "quentra.platform"
    EXPORT_NAME platform
    VERSION 1.0.0
    SOVERSION 1
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON
    LINK_DEPENDS ${PROJECT_SOURCE_DIR}/cmake/quentra-platform.map)
  target_include_directories(quentra_platform PUBLIC
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include> $<INSTALL_INTERFACE:${VELMO_INSTALL_INCLUDEDIR}>)
  target_link_libraries(quentra_platform PRIVATE velmo_flags)
  target_link_options(quentra_platform PRIVATE
    "LINKER:--version-script=${PROJECT_SOURCE_DIR}/cmake/quentra-platform.map")
endif()
