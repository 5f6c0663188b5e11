#pragma once

// Everything in the library is hidden by default; only the camera-stack API is
// exported from libquentra.velmoUtil.so. An exported class exports all its
// members unless marked: private member functions carry VELMO_LOCAL so that
// they stay out of the export table too.
#if defined(_WIN32)
#define VELMO_EXPORT
#define VELMO_LOCAL
#else
#define VELMO_EXPORT __attribute__((visibility("default")))
#define VELMO_LOCAL __attribute__((visibility("hidden")))
#endif
