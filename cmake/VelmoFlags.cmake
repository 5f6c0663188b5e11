# Compiler settings every target of the project shares.
add_library(velmo_flags INTERFACE)

# Results are defined bit for bit: no fused multiply-add (GCC contracts by
# default on arm64), and never fast-math.
target_compile_options(velmo_flags INTERFACE -ffp-contract=off -fno-fast-math
  -Wall -Wextra $<$<BOOL:${VELMO_WERROR}>:-Werror>)

foreach(flag IN LISTS CMAKE_CXX_FLAGS CMAKE_CXX_FLAGS_RELEASE CMAKE_CXX_FLAGS_RELWITHDEBINFO)
  if(flag MATCHES "fast-math|Ofast|unsafe-math-optimizations|ffp-contract=fast|ffp-contract=on")
    message(FATAL_ERROR "velmoUtil must not be built with '${flag}': results are defined bit for bit")
  endif()
endforeach()

if(VELMO_SANITIZE)
  set(_velmo_san -fsanitize=address,undefined,float-cast-overflow -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_compile_options(velmo_flags INTERFACE ${_velmo_san})
  target_link_options(velmo_flags INTERFACE ${_velmo_san})
endif()

if(VELMO_SANITIZE_THREAD)
  if(VELMO_SANITIZE)
    message(FATAL_ERROR "ThreadSanitizer does not combine with VELMO_SANITIZE")
  endif()
  target_compile_options(velmo_flags INTERFACE -fsanitize=thread -fno-omit-frame-pointer)
  target_link_options(velmo_flags INTERFACE -fsanitize=thread)
endif()

# Coverage hooks for the fuzzer in every object; the fuzz targets alone link
# its driver (tests/fuzz).
if(VELMO_BUILD_FUZZ)
  target_compile_options(velmo_flags INTERFACE -fsanitize=fuzzer-no-link)
  target_link_options(velmo_flags INTERFACE -fsanitize=fuzzer-no-link)
endif()
