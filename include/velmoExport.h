#pragma once

// Everything in the library is hidden by default; only the camera-stack API is
// exported from libquentra.velmoUtil.so.
#if defined(_WIN32)
#define VELMO_EXPORT
#else
#define VELMO_EXPORT __attribute__((visibility("default")))
#endif
