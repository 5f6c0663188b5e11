# libquentra.platform.so: the device's logger and property store. On a phone
# the vendor ships it; for Linux hosts we build our own with host controls.
if(VELMO_VENDOR_PLATFORM)
  if(NOT VELMO_VENDOR_PLATFORM_LIB)
    find_library(VELMO_VENDOR_PLATFORM_LIB NAMES quentra.platform REQUIRED)
  endif()
  add_library(quentra_platform SHARED IMPORTED GLOBAL)
  set_target_properties(quentra_platform PROPERTIES
    IMPORTED_LOCATION "${VELMO_VENDOR_PLATFORM_LIB}"
    INTERFACE_INCLUDE_DIRECTORIES "${PROJECT_SOURCE_DIR}/include")
  add_library(quentra::platform ALIAS quentra_platform)
else()
  add_library(quentra_platform SHARED ${PROJECT_SOURCE_DIR}/platform/host/HostPlatform.cpp)
  add_library(quentra::platform ALIAS quentra_platform)
  set_target_properties(quentra_platform PROPERTIES
    OUTPUT_NAME "quentra.platform"
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON)
  target_include_directories(quentra_platform PUBLIC
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include> $<INSTALL_INTERFACE:include>)
  target_link_libraries(quentra_platform PRIVATE velmo_flags)
endif()
