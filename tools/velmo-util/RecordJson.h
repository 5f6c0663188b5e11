#pragma once

// GenSize records to and from JSON. Keys are the records' field names, nested
// records are nested objects, and keys follow declaration order on output.
//
// Reading is strict, so that a typo in a tuning file never silently becomes a
// zero: every key must be known and present, integer fields take whole numbers
// within int32, float fields take numbers that round to a finite float.
// Floats are written in the shortest form that reads back to the same float;
// NaN and infinity, which JSON cannot express, are written as null (and null
// is never accepted on input).

#include <cstddef>
#include <string>

#include <nlohmann/json.hpp>

#include "gensize/GenSizeRecords.h"

namespace velmo {
namespace cli {

using Json = nlohmann::ordered_json;

// The first problem found in a document. `key` is the dotted path of the
// offending key ("sensor_main.fov_w"); empty for the document as a whole.
struct JsonError {
    std::string key;
    std::string problem;

    std::string message() const;
};

// JSON inputs are records of a few kilobytes; a megabyte is plenty and keeps
// /dev/zero or a mistyped path to a video from being read without end.
constexpr std::size_t kMaxJsonInputBytes = std::size_t{1} << 20;

// The text of `path`, which must be a regular file of at most
// kMaxJsonInputBytes, or of standard input for "-". False with the reason
// ("cannot read the file", "not a regular file ...", "larger than 1 MiB").
bool readJsonText(const std::string& path, std::string& text, std::string& problem);

// Whether `path` names something that exists but is not a regular file (a
// device, a pipe, a directory; symbolic links followed).
bool namesNonRegularFile(const std::string& path);

// Records nest two levels deep; a document nested deeper than this is refused
// before it is built.
constexpr int kMaxJsonNesting = 64;

// Parses a whole document; on a syntax error `error.problem` gives line and
// column, and `error.key` the key being read. A key repeated within one object
// is an error too ("duplicate key", with the key's dotted path), as are
// numbers beyond a double and nesting beyond kMaxJsonNesting.
bool parseJson(const std::string& text, Json& document, JsonError& error);

bool fromJson(const Json& document, STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT& record, JsonError& error);
bool fromJson(const Json& document, STEREO_KERNEL_GEN_SIZE_INIT_OUT_STRUCT& record, JsonError& error);
bool fromJson(const Json& document, STEREO_KERNEL_GEN_SIZE_PROC_IN_STRUCT& record, JsonError& error);
bool fromJson(const Json& document, STEREO_KERNEL_GEN_SIZE_PROC_OUT_STRUCT& record, JsonError& error);

Json toJson(const STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT& record);
Json toJson(const STEREO_KERNEL_GEN_SIZE_INIT_OUT_STRUCT& record);
Json toJson(const STEREO_KERNEL_GEN_SIZE_PROC_IN_STRUCT& record);
Json toJson(const STEREO_KERNEL_GEN_SIZE_PROC_OUT_STRUCT& record);

// The JSON number written for a float: the shortest of 6 to 9 significant
// digits that reads back (as double, then rounded to float) to exactly `value`,
// falling back to the exact double. Example: 0.1f is written as 0.1, not as
// 0.10000000149011612. `value` must be finite.
double jsonNumberFor(float value);

}  // namespace cli
}  // namespace velmo
