#pragma once

// Captures every platform log line, byte for byte, while in scope.

#include <string>
#include <vector>

#include "utilPlatformHost.h"

namespace velmo {
namespace testing {

struct LogLine {
    int module;
    std::string tag;
    std::string text;
};

class LogCapture {
public:
    LogCapture() { quentra::host::setLogSink(&LogCapture::record, this); }
    ~LogCapture() { quentra::host::setLogSink(nullptr, nullptr); }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    const std::vector<LogLine>& lines() const { return lines_; }

    // The texts alone, in order.
    std::vector<std::string> texts() const {
        std::vector<std::string> out;
        for (const LogLine& line : lines_) out.push_back(line.text);
        return out;
    }

    void clear() { lines_.clear(); }

private:
    static void record(void* user, int module, const char* tag, const char* text) {
        static_cast<LogCapture*>(user)->lines_.push_back({module, tag, text});
    }

    std::vector<LogLine> lines_;
};

// Sets properties for a test and clears them all again afterwards.
class ScopedProperties {
public:
    ScopedProperties() { quentra::host::clearProperties(); }
    ~ScopedProperties() { quentra::host::clearProperties(); }
    ScopedProperties(const ScopedProperties&) = delete;
    ScopedProperties& operator=(const ScopedProperties&) = delete;

    void set(const char* key, const char* value) { quentra::host::setProperty(key, value); }
};

}  // namespace testing
}  // namespace velmo
