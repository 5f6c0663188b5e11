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

// Writes every line to stderr as "D <tag>: <text>", adding a newline when the
// text has none.
void stderrLogSink(void* user, int module, const char* tag, const char* text);

// Routes log lines to `sink`; nullptr restores the default sink. The default
// sink passes lines to stderrLogSink only when the environment variable
// VELMO_LOG is set to something other than "" or "0" (VELMO_LOG=1), and drops
// them otherwise, as a device's log filtering drops debug lines.
void setLogSink(LogSink sink, void* user);

}  // namespace host
}  // namespace quentra
