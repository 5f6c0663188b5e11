#include "Cli.h"

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "DefaultConfig.h"
#include "MapCommands.h"
#include "RecordJson.h"
#include "common/Numerics.h"
#include "gensize/GenSize.h"
#include "utilPlatformHost.h"
#include "velmoVersion.h"

namespace velmo {
namespace cli {

namespace {

constexpr const char* kDescription =
    "velmo-util: stereo depth pipeline sizes from libquentra.velmoUtil, without writing C++.";

constexpr const char* kFooter = R"(
Records are JSON objects whose keys are the record's field names, with nested
records (sensor_main, sensor_auxi, p1_main, ...) as nested objects. Every key
must be present and known; integer fields take whole numbers within int32, float
fields numbers that fit a float. The first problem is reported with its key,
e.g. "sensor_main.fov_w: expected a number, got string", and exits 2.
Inputs are regular files of at most 1 MiB, or - for standard input.
`velmo-util default-config` prints a complete configuration to start from.
feature_mode: bits 0-1 select the feature (1 SAT, 2 Velmo), bits 16-17 the
per-frame crop mode (Velmo writes RRZ windows in crop mode 2 only).

Output floats are printed in the shortest form that reads back to the same
float. JSON has no NaN or infinity: such values print as null (and null is
never accepted as input).

Exit status: the GenSize result code for gensize, gensize-proc and
default-frame (0 pass; 3, 4, 5, 9 a rule of the configuration failed). On a
failed rule its message goes to stderr and stdout stays empty; --force prints
the partial record as well. 2 for unreadable or invalid input and usage errors
(GenSize itself never returns 2). Each command's options: velmo-util COMMAND --help.

Examples:
  velmo-util default-config > module.json
  velmo-util gensize module.json
  velmo-util gensize --format text --log --prop vendor.debug.velmoUtil.gensize.debuglevel=2
  velmo-util default-frame module.json > frame.json
  velmo-util gensize-proc module.json frame.json)";

struct Options {
    std::vector<std::string> properties;
    bool showLog = false;
    bool force = false;
    std::string format = "json";
    std::string configPath;
    std::string framePath;
};

const char* resultName(uint32_t code) {
    static const char* const kNames[] = {
        "GEN_SIZE_PASS",          "ERR_PADDING_NOT_ENOUGH",       "ERR_DPE_IN_16_ALIGN",
        "ERR_DPE_IN_64_ALIGN_SLANTED", "ERR_DPE_IN_W_MAXIMUM",     "ERR_AI_TRACKING_TO_DPE_GUIDE",
        "ERR_MODULE_ORIENT_SLANTED", "ERR_2PX_MODE",               "ERR_DPE_SLANTED_WH_NOT_ENOUGH",
        "ERR_FE_FIT_NOT_CONVERGED",
    };
    return code < sizeof kNames / sizeof kNames[0] ? kNames[code] : "unknown code";
}

// Routes the library's log lines while a command runs: to stderr, all of them,
// only with --log; otherwise they are swallowed so that stdout and stderr
// carry just the tool's own output. Either way the messages of failed rules
// ("[GenSize] ERR_...") are kept for the tool's own report.
class LibraryLog {
public:
    explicit LibraryLog(bool show) : show_(show) { quentra::host::setLogSink(&LibraryLog::receive, this); }
    ~LibraryLog() { quentra::host::setLogSink(nullptr, nullptr); }
    LibraryLog(const LibraryLog&) = delete;
    LibraryLog& operator=(const LibraryLog&) = delete;

    const std::vector<std::string>& ruleMessages() const { return ruleMessages_; }

private:
    static void receive(void* user, int module, const char* tag, const char* text) {
        auto* self = static_cast<LibraryLog*>(user);
        if (self->show_) quentra::host::stderrLogSink(nullptr, module, tag, text);
        static constexpr const char* kTag = "[GenSize] ";
        static constexpr const char* kRulePrefix = "[GenSize] ERR_";
        if (std::strncmp(text, kRulePrefix, std::strlen(kRulePrefix)) == 0) {
            std::string message(text + std::strlen(kTag));
            while (!message.empty() && (message.back() == '\n' || message.back() == ' ')) message.pop_back();
            self->ruleMessages_.push_back(message);
        }
    }

    bool show_;
    std::vector<std::string> ruleMessages_;
};

std::string checkPropertyAssignment(const std::string& text) {
    const std::size_t equals = text.find('=');
    if (equals == std::string::npos || equals == 0) return "expected key=value, got '" + text + "'";
    return std::string();
}

void applyProperties(const std::vector<std::string>& assignments) {
    for (const std::string& assignment : assignments) {
        const std::size_t equals = assignment.find('=');
        quentra::host::setProperty(assignment.substr(0, equals).c_str(), assignment.c_str() + equals + 1);
    }
}

template <typename Record>
bool loadRecord(const std::string& path, Record& record, std::ostream& err) {
    std::string text;
    std::string problem;
    if (!readJsonText(path, text, problem)) {
        err << "velmo-util: " << path << ": " << problem << '\n';
        return false;
    }
    Json document;
    JsonError error;
    if (!parseJson(text, document, error) || !fromJson(document, record, error)) {
        err << "velmo-util: " << path << ": " << error.message() << '\n';
        return false;
    }
    return true;
}

void reportFailure(const char* function, uint32_t code, const LibraryLog& log, std::ostream& err) {
    err << "velmo-util: " << function << " returned " << code << " (" << resultName(code) << ")\n";
    for (const std::string& message : log.ruleMessages()) err << "  " << message << '\n';
}

std::string labelled(const char* label, const std::string& dump) {
    return std::string("[GenSizeProc] ") + label + "\n" + dump;
}

// The per-frame record has no dump of its own: its members' dumps, each under
// the label the library's per-frame debug log gives it.
std::string procOutText(STEREO_KERNEL_GEN_SIZE_PROC_OUT_STRUCT& po) {
    char zoom[96];
    std::snprintf(zoom, sizeof zoom, "[GenSizeProc] zoom_constraint: %f\n",
                  velmo::printable(static_cast<double>(po.zoom_constraint)));
    return labelled("rrz_zoom_main", po.rrz_zoom_main.toString()) +
           labelled("rrz_zoom_auxi", po.rrz_zoom_auxi.toString()) +
           labelled("traw_main", po.traw_main.toString()) + labelled("traw_auxi", po.traw_auxi.toString()) +
           labelled("wpe_main_fe_b", po.wpe_main_fe_b.toString()) +
           labelled("wpe_auxi_fe_b", po.wpe_auxi_fe_b.toString()) +
           labelled("wpe_main_fe_c", po.wpe_main_fe_c.toString()) +
           labelled("wpe_auxi_fe_c", po.wpe_auxi_fe_c.toString()) +
           labelled("wpe_main_n3d", po.wpe_main_n3d.toString()) +
           labelled("wpe_sub_n3d", po.wpe_sub_n3d.toString()) + labelled("dpe", po.dpe.toString()) + zoom;
}

int runGenSize(const Options& options, std::ostream& out, std::ostream& err) {
    STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT config = defaultConfig();
    if (!options.configPath.empty() && !loadRecord(options.configPath, config, err)) return kInputError;

    STEREO_KERNEL_GEN_SIZE_INIT_OUT_STRUCT result{};
    LibraryLog log(options.showLog);
    const uint32_t code = GenSizeInit(result, config);
    if (code == 0 || options.force) {
        if (options.format == "text") {
            out << result.toString();
        } else {
            out << toJson(result).dump(2) << '\n';
        }
    }
    if (code != 0) reportFailure("GenSizeInit", code, log, err);
    return static_cast<int>(code);
}

int runGenSizeProc(const Options& options, std::ostream& out, std::ostream& err) {
    STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT config{};
    STEREO_KERNEL_GEN_SIZE_PROC_IN_STRUCT frame{};
    if (!loadRecord(options.configPath, config, err) || !loadRecord(options.framePath, frame, err)) {
        return kInputError;
    }

    STEREO_KERNEL_GEN_SIZE_PROC_OUT_STRUCT result{};
    LibraryLog log(options.showLog);
    const uint32_t code = GenSizeProc(result, frame, config);
    if (code == 0 || options.force) {
        if (options.format == "text") {
            out << procOutText(result);
        } else {
            out << toJson(result).dump(2) << '\n';
        }
    }
    if (code != 0) reportFailure("GenSizeProc", code, log, err);
    return static_cast<int>(code);
}

// A frame at zoom 1 whose P1 crops are the configuration's own RRZ windows:
// the starting point for gensize-proc.
int runDefaultFrame(const Options& options, std::ostream& out, std::ostream& err) {
    STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT config = defaultConfig();
    if (!options.configPath.empty() && !loadRecord(options.configPath, config, err)) return kInputError;

    STEREO_KERNEL_GEN_SIZE_INIT_OUT_STRUCT sizes{};
    LibraryLog log(options.showLog);
    const uint32_t code = GenSizeInit(sizes, config);
    if (code != 0) {
        reportFailure("GenSizeInit", code, log, err);
        return static_cast<int>(code);
    }
    STEREO_KERNEL_GEN_SIZE_PROC_IN_STRUCT frame{};
    frame.zoom_ratio = 1.0f;
    frame.p1_main = sizes.main.rrz;
    frame.p1_auxi = sizes.auxi.rrz;
    out << toJson(frame).dump(2) << '\n';
    return 0;
}

void addPropertyAndLogOptions(CLI::App& command, Options& options) {
    command
        .add_option("--prop", options.properties,
                    "Set a system property before the call, e.g.\n"
                    "vendor.debug.velmoUtil.gensize.debuglevel=2 (repeatable)")
        ->type_name("KEY=VALUE")
        ->check(CLI::Validator(checkPropertyAssignment, ""));
    command.add_flag("--log", options.showLog, "Show all of the library's log lines on stderr (silent otherwise)");
}

void addRecordOptions(CLI::App& command, Options& options) {
    addPropertyAndLogOptions(command, options);
    command.add_option("--format", options.format, "Output format: json (default) or text, the library's own dump")
        ->type_name("FORMAT")
        ->check(CLI::IsMember({"json", "text"}));
    command.add_flag("--force", options.force, "Print the record even when a rule of the configuration failed");
}

}  // namespace

int runVelmoUtil(int argc, const char* const* argv, std::ostream& out, std::ostream& err) {
    Options options;
    CLI::App app(kDescription, "velmo-util");
    app.footer(kFooter);
    app.require_subcommand(1);
    app.set_version_flag("--version", std::string("velmo-util ") + velmoUtilVersion(),
                         "Print the library's version and exit");

    CLI::App* gensize = app.add_subcommand(
        "gensize", "Configuration-time sizes (GenSizeInit) of CONFIG.json, or of the built-in default");
    gensize->add_option("CONFIG", options.configPath, "Configuration record, JSON")->type_name("CONFIG.json");
    addRecordOptions(*gensize, options);

    CLI::App* proc = app.add_subcommand("gensize-proc", "Per-frame sizes (GenSizeProc) of one frame");
    proc->add_option("CONFIG", options.configPath, "Configuration record, JSON")
        ->type_name("CONFIG.json")
        ->required();
    proc->add_option("FRAME", options.framePath, "Per-frame input record (zoom_ratio, p1_main, p1_auxi), JSON")
        ->type_name("FRAME.json")
        ->required();
    addRecordOptions(*proc, options);

    CLI::App* defaults = app.add_subcommand("default-config", "Print the built-in default configuration as JSON");

    CLI::App* frame = app.add_subcommand(
        "default-frame",
        "Print a frame for gensize-proc as JSON: zoom 1, P1 crops as sized for CONFIG.json (or the built-in default)");
    frame->add_option("CONFIG", options.configPath, "Configuration record, JSON")->type_name("CONFIG.json");
    addPropertyAndLogOptions(*frame, options);

    MapCommands mapCommands(app);

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& e) {
        return app.exit(e, out, err) == 0 ? 0 : kInputError;
    }

    if (mapCommands.parsed()) return mapCommands.run(out, err);
    if (defaults->parsed()) {
        out << toJson(defaultConfig()).dump(2) << '\n';
        return 0;
    }
    applyProperties(options.properties);
    if (frame->parsed()) return runDefaultFrame(options, out, err);
    return gensize->parsed() ? runGenSize(options, out, err) : runGenSizeProc(options, out, err);
}

}  // namespace cli
}  // namespace velmo
