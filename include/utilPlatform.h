#pragma once

// Interface of the device platform library, libquentra.platform.so.
// On a phone the vendor provides it; for Linux hosts this project builds its own
// (see include/utilPlatformHost.h).

enum UTILModuleIdEnum {
    // The module id under which all of libquentra.velmoUtil.so logs.
    UTIL_MODULE_VELMO_UTIL = 0x10004001,
};

extern "C" {

// Writes one formatted debug log line under `module` and `tag`.
void utilLOGD(UTILModuleIdEnum module, const char* tag, const char* fmt, ...)
    __attribute__((format(printf, 3, 4)));

// Copies the system property `key` into `value` (at most 91 characters and a
// terminator, as on Android) and returns non-zero when the property exists.
// `value` must hold at least 92 bytes.
int utilPropertyGet(const char* key, char* value);

}  // extern "C"
