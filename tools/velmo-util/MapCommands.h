#pragma once

// velmo-util's warp-grid and map-utility commands: oisgrid, default-oisframe,
// merge, rotate-mmap and power-saving. Each reads one JSON document (records
// under their field names, planes inline or as raw files) and prints JSON, or
// writes raw int32 planes with --out-dir. Bad input, and frames the library
// refuses, exit with kInputError and a message naming the file and the key.

#include <ostream>

#include <CLI/CLI.hpp>

#include "MapCommandSupport.h"

namespace velmo {
namespace cli {

class MapCommands {
public:
    // Adds the commands to `app`.
    explicit MapCommands(CLI::App& app);

    // True when the parsed command line named one of these commands.
    bool parsed() const;
    // Runs the parsed command; returns the exit status.
    int run(std::ostream& out, std::ostream& err);

private:
    MapCommandOptions options_;
    CLI::App* oisGrid_;
    CLI::App* defaultOisFrame_;
    CLI::App* merge_;
    CLI::App* rotateMMap_;
    CLI::App* powerSaving_;
};

int runOisGrid(const MapCommandOptions& options, std::ostream& out, std::ostream& err);
int runDefaultOisFrame(std::ostream& out);
int runMerge(const MapCommandOptions& options, std::ostream& out, std::ostream& err);
int runRotateMMap(const MapCommandOptions& options, std::ostream& out, std::ostream& err);
int runPowerSaving(const MapCommandOptions& options, std::ostream& out, std::ostream& err);

}  // namespace cli
}  // namespace velmo
