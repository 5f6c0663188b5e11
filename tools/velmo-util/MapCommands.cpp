#include "MapCommands.h"

#include "Cli.h"

namespace velmo {
namespace cli {

namespace {

CLI::App* addInputCommand(CLI::App& app, const char* name, const char* description, const char* inputHelp,
                          const char* typeName, MapCommandOptions& options, bool outDir) {
    CLI::App* command = app.add_subcommand(name, description);
    command->add_option("INPUT", options.inputPath, inputHelp)->type_name(typeName)->required();
    if (outDir) addOutDirOption(*command, options);
    addMapPropertyAndLogOptions(*command, options);
    return command;
}

}  // namespace

MapCommands::MapCommands(CLI::App& app) {
    oisGrid_ = addInputCommand(
        app, "oisgrid",
        "One frame of the OIS transformer (VectWarpMapTrans::oisVecToGrid): the warp grid planes, pixels x 32",
        "Frame: constructor sizes, VWMTInput geometry, inOisX/inOisY inline or as raw double files",
        "FRAME.json", options_, true);
    defaultOisFrame_ = app.add_subcommand(
        "default-oisframe", "Print a frame for oisgrid as JSON: a 7 x 5 vector grid over a 2x2-binned 12 MP sensor");
    merge_ = addInputCommand(app, "merge",
                             "Merge an OIS warp map into an N3D map (CombWarpMapTrans::mergeGrid), pixels x 32",
                             "info (OIS_INTERPOLATE_INFO_STRUCT), ois_x, ois_y, n3d_x, n3d_y: int32 planes inline "
                             "or as raw files",
                             "MERGE.json", options_, true);
    rotateMMap_ = addInputCommand(app, "rotate-mmap", "Rotate a two-plane motion map (RotateMMap)",
                                  "param (RotateMMapParam's sizes and angle), map_x, map_y: int32 planes inline or "
                                  "as raw files; the destination starts as zeros",
                                  "ROTATE.json", options_, true);
    powerSaving_ = addInputCommand(app, "power-saving",
                                   "Motion statistics and the power-saving decision (PowerSaving)",
                                   "param (PowerSavingParam's sizes, scales and thresholds), map_x, map_y: int32 "
                                   "planes inline or as raw files",
                                   "POWER.json", options_, false);
}

bool MapCommands::parsed() const {
    return oisGrid_->parsed() || defaultOisFrame_->parsed() || merge_->parsed() || rotateMMap_->parsed() ||
           powerSaving_->parsed();
}

int MapCommands::run(std::ostream& out, std::ostream& err) {
    if (defaultOisFrame_->parsed()) return runDefaultOisFrame(out);
    applyMapProperties(options_.properties);
    if (oisGrid_->parsed()) return runOisGrid(options_, out, err);
    if (merge_->parsed()) return runMerge(options_, out, err);
    if (rotateMMap_->parsed()) return runRotateMMap(options_, out, err);
    return runPowerSaving(options_, out, err);
}

}  // namespace cli
}  // namespace velmo
