#pragma once

// Host-only controls of the Linux build of libquentra.platform.so: an in-process
// property store and a replaceable log sink. Not available on devices.

namespace quentra {
namespace host {

// Sets a system property; a nullptr value removes the key.
void setProperty(const char* key, const char* value);

// Removes every property.
void clearProperties();

// Receives every log line as formatted, before any newline is added.
using LogSink = void (*)(void* user, int module, const char* tag, const char* text);

// Routes log lines to `sink`; nullptr restores the default stderr sink, which
// writes "D <tag>: <text>" and adds a newline when the text has none.
void setLogSink(LogSink sink, void* user);

}  // namespace host
}  // namespace quentra
