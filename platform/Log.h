#pragma once

// The library's access to the platform logger: every subsystem logs under one
// module id, with its own tag.

#include "utilPlatform.h"

namespace velmo {

constexpr UTILModuleIdEnum kLogModule = UTIL_MODULE_VELMO_UTIL;

}  // namespace velmo

// Logs one line under the library's module id. A macro so that the compiler
// checks the format against its arguments at every call site.
#define VELMO_LOG(tag, ...) ::utilLOGD(::velmo::kLogModule, (tag), __VA_ARGS__)
