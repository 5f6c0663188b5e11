# The library's version comes from project(VERSION) alone: a generated header
# carries it to the code (macros and velmoUtilVersion()) and to consumers.
foreach(part MINOR PATCH)
  if(PROJECT_VERSION_${part} GREATER 99)
    message(FATAL_ERROR "VELMO_UTIL_VERSION packs the ${part} version into two digits")
  endif()
endforeach()
set(VELMO_GENERATED_INCLUDE_DIR ${PROJECT_BINARY_DIR}/generated/include)
configure_file(${PROJECT_SOURCE_DIR}/cmake/velmoVersion.h.in ${VELMO_GENERATED_INCLUDE_DIR}/velmoVersion.h @ONLY)
