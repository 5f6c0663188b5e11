// Linux host build of libquentra.platform.so: properties live in an in-process
// store and log lines go to a replaceable sink. The default sink writes to
// stderr only when VELMO_LOG asks for it: every line of utilLOGD is a debug
// line, which a device's log filtering drops as well unless enabled.

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "utilPlatform.h"
#include "utilPlatformHost.h"

#define PLATFORM_EXPORT __attribute__((visibility("default")))

namespace {

// Android's PROP_VALUE_MAX: the longest value a property read returns, terminator included.
constexpr std::size_t kPropertyValueMax = 92;

struct PropertyStore {
    std::mutex mutex;
    std::map<std::string, std::string> values;
};

PropertyStore& properties() {
    static PropertyStore store;
    return store;
}

// Read at every line, so that a program can change its mind with setenv().
bool debugLinesWanted() {
    const char* value = std::getenv("VELMO_LOG");
    return value != nullptr && value[0] != '\0' && std::strcmp(value, "0") != 0;
}

void defaultSink(void* user, int module, const char* tag, const char* text) {
    if (debugLinesWanted()) quentra::host::stderrLogSink(user, module, tag, text);
}

struct SinkSlot {
    std::mutex mutex;
    quentra::host::LogSink sink = defaultSink;
    void* user = nullptr;
};

SinkSlot& sinkSlot() {
    static SinkSlot slot;
    return slot;
}

}  // namespace

extern "C" PLATFORM_EXPORT void utilLOGD(UTILModuleIdEnum module, const char* tag, const char* fmt, ...) {
    SinkSlot& slot = sinkSlot();
    std::lock_guard<std::mutex> lock(slot.mutex);
    // A line the default sink would drop is not even formatted.
    if (slot.sink == defaultSink && !debugLinesWanted()) return;

    char small[1024];
    va_list args;
    va_start(args, fmt);
    va_list again;
    va_copy(again, args);
    const int needed = std::vsnprintf(small, sizeof small, fmt, args);
    va_end(args);
    std::vector<char> large;
    const char* text = small;
    if (needed < 0) {
        small[0] = '\0';
    } else if (static_cast<std::size_t>(needed) >= sizeof small) {
        large.resize(static_cast<std::size_t>(needed) + 1);
        std::vsnprintf(large.data(), large.size(), fmt, again);
        text = large.data();
    }
    va_end(again);

    slot.sink(slot.user, static_cast<int>(module), tag ? tag : "", text);
}

extern "C" PLATFORM_EXPORT int utilPropertyGet(const char* key, char* value) {
    if (key == nullptr || value == nullptr) return 0;
    PropertyStore& store = properties();
    std::lock_guard<std::mutex> lock(store.mutex);
    const auto found = store.values.find(key);
    if (found == store.values.end()) return 0;
    const std::size_t length = std::min(found->second.size(), kPropertyValueMax - 1);
    std::memcpy(value, found->second.data(), length);
    value[length] = '\0';
    return 1;
}

namespace quentra {
namespace host {

PLATFORM_EXPORT void setProperty(const char* key, const char* value) {
    if (key == nullptr) return;
    PropertyStore& store = properties();
    std::lock_guard<std::mutex> lock(store.mutex);
    if (value == nullptr) {
        store.values.erase(key);
    } else {
        store.values[key] = value;
    }
}

PLATFORM_EXPORT void clearProperties() {
    PropertyStore& store = properties();
    std::lock_guard<std::mutex> lock(store.mutex);
    store.values.clear();
}

PLATFORM_EXPORT void stderrLogSink(void*, int, const char* tag, const char* text) {
    const std::size_t length = std::strlen(text);
    const bool hasNewline = length > 0 && text[length - 1] == '\n';
    std::fprintf(stderr, "D %s: %s%s", tag, text, hasNewline ? "" : "\n");
}

PLATFORM_EXPORT void setLogSink(LogSink sink, void* user) {
    SinkSlot& slot = sinkSlot();
    std::lock_guard<std::mutex> lock(slot.mutex);
    slot.sink = sink ? sink : defaultSink;
    slot.user = sink ? user : nullptr;
}

}  // namespace host
}  // namespace quentra
