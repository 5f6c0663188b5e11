#pragma once

// What velmo-util's warp-grid and map commands share: their options, reading
// a JSON document and the planes it names, writing planes as JSON rows or raw
// files, and keeping the library's own output (log lines, standard-output
// prints) away from the tool's stdout.

#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "RecordJson.h"

namespace velmo {
namespace cli {

struct MapCommandOptions {
    std::vector<std::string> properties;
    bool showLog = false;
    std::string inputPath;
    std::string outDir;
};

// --prop KEY=VALUE (repeatable) and --log, as on the GenSize commands.
void addMapPropertyAndLogOptions(CLI::App& command, MapCommandOptions& options);
// --out-dir DIR: raw int32 planes instead of JSON rows.
void addOutDirOption(CLI::App& command, MapCommandOptions& options);
void applyMapProperties(const std::vector<std::string>& assignments);

// Reads and parses a whole JSON file; on failure reports "velmo-util: PATH: ..."
// on err and returns false.
bool readJsonDocument(const std::string& path, Json& document, std::ostream& err);

// A plane of `count` values under `key` of `object`: either a JSON array (flat,
// or rows of numbers), or a string naming a raw file of `count` native-order
// values without a header (relative paths start at `baseDir`, the folder of
// the JSON file). On failure `error` names the key (or the raw file).
bool readInt32Plane(const Json& object, const std::string& key, int64_t count, const std::string& baseDir,
                    std::vector<int32_t>& plane, JsonError& error);
bool readDoublePlane(const Json& object, const std::string& key, int64_t count, const std::string& baseDir,
                     std::vector<double>& plane, JsonError& error);

// Keys an object must have besides those its record table reads: unknown keys
// (not in `allowed`) and missing ones (in `required`) are reported like the
// record readers do.
bool checkKeys(const Json& object, const std::string& path, const std::vector<std::string>& allowed,
               JsonError& error);

// The folder a relative raw-file path starts from.
std::string folderOf(const std::string& path);

// The largest plane velmo-util reads or writes, in elements (256 MB of int32).
constexpr int64_t kMaxPlaneElements = int64_t{1} << 26;

// A plane to write: `width` x `height` values, row r starting at data + r * pitch.
struct PlaneView {
    const char* name;
    const int32_t* data;
    int32_t width;
    int32_t height;
    int32_t pitch;
};

// Prints `header` (an object) with the planes added as arrays of rows, one
// row per line; or, with an output folder, writes each plane as NAME.bin
// (width x height int32, native order, no header) and adds its path instead.
bool writePlanes(std::ostream& out, std::ostream& err, Json header, const std::vector<PlaneView>& planes,
                 const std::string& outDir);

// While in scope, the library's log lines are collected (and shown on stderr
// with --log), and what the library prints on standard output is captured
// (and shown on stderr with --log), so stdout carries only the tool's output.
class LibraryOutput {
public:
    LibraryOutput(bool show, std::ostream& err);
    ~LibraryOutput();
    LibraryOutput(const LibraryOutput&) = delete;
    LibraryOutput& operator=(const LibraryOutput&) = delete;

    // Stops capturing standard output; returns what was printed. Idempotent.
    const std::string& finish();
    // The first collected log line of `tag` that contains `marker`, without its
    // trailing newline; empty if none.
    std::string firstLine(const char* tag, const char* marker) const;

private:
    static void receive(void* user, int module, const char* tag, const char* text);

    struct Line {
        std::string tag;
        std::string text;
    };
    bool show_;
    std::ostream& err_;
    std::vector<Line> lines_;
    std::string printed_;
    int savedStdout_ = -1;
    std::FILE* capture_ = nullptr;
};

}  // namespace cli
}  // namespace velmo
