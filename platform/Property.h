#pragma once

#include <cstddef>
#include <cstring>

#include "utilPlatform.h"

namespace velmo {

// Large enough for any property value (Android's PROP_VALUE_MAX is 92).
constexpr std::size_t kPropertyBufferSize = 128;

// Reads a system property into a zero-filled buffer; true when it exists.
template <std::size_t N>
bool readProperty(const char* key, char (&value)[N]) {
    static_assert(N >= 92, "property buffers must hold the longest Android value");
    std::memset(value, 0, N);
    return ::utilPropertyGet(key, value) != 0;
}

}  // namespace velmo
