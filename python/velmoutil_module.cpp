// The _velmoutil extension: libquentra.velmoUtil's entry points for Python,
// with records as dicts (keys are the field names) and planes as NumPy
// arrays. Planes the library writes are allocated as arrays and written in
// place; the GIL is released while the library works. A refusal of the
// library (its log line) or a bad record raises ValueError with the message.

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <mutex>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "DefaultConfig.h"
#include "MapRecordFields.h"
#include "gensize/GenSize.h"
#include "maputil/PowerSaving.h"
#include "maputil/RotateMMap.h"
#include "utilPlatformHost.h"
#include "vwmt/CombWarpMapTrans.h"
#include "velmoVersion.h"
#include "vwmt/VectWarpMapTrans.h"

namespace py = pybind11;
using velmo::cli::forEachField;

namespace {

// ---- records <-> dicts, walking the same field tables as velmo-util --------

template <typename T>
using IsRecord = std::integral_constant<bool, !std::is_arithmetic<T>::value>;

template <typename Record>
py::dict toDict(const Record& record);

template <typename T>
py::object toPython(const T& value) {
    if constexpr (std::is_arithmetic<T>::value) {
        return py::cast(value);
    } else {
        return toDict(value);
    }
}

template <typename Record>
py::dict toDict(const Record& record) {
    py::dict d;
    forEachField<Record>([&](const auto& field) { d[field.name] = toPython(record.*(field.member)); });
    return d;
}

std::string childPath(const std::string& parent, const char* name) {
    return parent.empty() ? std::string(name) : parent + "." + name;
}

template <typename T>
void fromPython(const py::handle& value, const std::string& key, T& out) {
    if constexpr (std::is_same<T, float>::value) {
        if (!py::isinstance<py::float_>(value) && !py::isinstance<py::int_>(value)) {
            throw py::value_error(key + ": expected a number, got " + std::string(py::str(value.get_type().attr("__name__"))));
        }
        out = value.cast<float>();
    } else if constexpr (std::is_integral<T>::value) {
        if (!py::isinstance<py::int_>(value) || py::isinstance<py::bool_>(value)) {
            throw py::value_error(key + ": expected an integer, got " + std::string(py::str(value.get_type().attr("__name__"))));
        }
        const long long v = value.cast<long long>();
        if (v < INT32_MIN || v > INT32_MAX) throw py::value_error(key + ": " + std::to_string(v) + " is outside the int32 range");
        out = static_cast<T>(v);
    } else {
        if (!py::isinstance<py::dict>(value)) throw py::value_error(key + ": expected a dict");
        const py::dict d = py::reinterpret_borrow<py::dict>(value);
        for (const auto& item : d) {
            const std::string name = py::str(item.first);
            bool known = false;
            forEachField<T>([&](const auto& field) { known = known || name == field.name; });
            if (!known) throw py::value_error(childPath(key, name.c_str()) + ": unknown key");
        }
        forEachField<T>([&](const auto& field) {
            const std::string fieldKey = childPath(key, field.name);
            if (!d.contains(field.name)) throw py::value_error(fieldKey + ": missing key");
            fromPython(d[field.name], fieldKey, out.*(field.member));
        });
    }
}

template <typename Record>
Record fromDict(const py::handle& value) {
    Record record{};
    fromPython(value, std::string(), record);
    return record;
}

// ---- the library's output while it runs -------------------------------------

// One library call at a time: the log sink and the standard-output capture
// are process-wide.
std::mutex gLibraryMutex;

bool logShown() {
    const char* v = std::getenv("VELMO_LOG");
    return v != nullptr && v[0] != '\0' && std::strcmp(v, "0") != 0;
}

// Collects the log lines of one call (and passes them to stderr under
// VELMO_LOG, as the host platform does); optionally captures what the
// library prints on standard output.
class LibraryCall {
public:
    explicit LibraryCall(bool captureStdout = false) : lock_(gLibraryMutex) {
        quentra::host::setLogSink(&LibraryCall::receive, this);
        if (captureStdout) {
            std::fflush(stdout);
            capture_ = std::tmpfile();
            saved_ = capture_ ? ::dup(STDOUT_FILENO) : -1;
            if (saved_ < 0 || ::dup2(::fileno(capture_), STDOUT_FILENO) < 0) {
                if (saved_ >= 0) ::close(saved_);
                if (capture_) std::fclose(capture_);
                capture_ = nullptr;
                saved_ = -1;
            }
        }
    }
    ~LibraryCall() {
        finish();
        quentra::host::setLogSink(nullptr, nullptr);
    }
    LibraryCall(const LibraryCall&) = delete;
    LibraryCall& operator=(const LibraryCall&) = delete;

    const std::string& finish() {
        if (capture_ != nullptr) {
            std::fflush(stdout);
            ::dup2(saved_, STDOUT_FILENO);
            ::close(saved_);
            std::rewind(capture_);
            char chunk[4096];
            size_t n;
            while ((n = std::fread(chunk, 1, sizeof chunk, capture_)) > 0) printed_.append(chunk, n);
            std::fclose(capture_);
            capture_ = nullptr;
        }
        return printed_;
    }
    // The first line of `tag` containing `marker`, without the newline.
    std::string firstLine(const char* tag, const char* marker) const {
        for (const auto& line : lines_) {
            if (line.first == tag && line.second.find(marker) != std::string::npos) {
                std::string text = line.second;
                while (!text.empty() && text.back() == '\n') text.pop_back();
                return text;
            }
        }
        return std::string();
    }

private:
    static void receive(void* user, int module, const char* tag, const char* text) {
        if (logShown()) quentra::host::stderrLogSink(nullptr, module, tag, text);
        static_cast<LibraryCall*>(user)->lines_.emplace_back(tag, text);
    }

    std::lock_guard<std::mutex> lock_;
    std::vector<std::pair<std::string, std::string>> lines_;
    std::FILE* capture_ = nullptr;
    int saved_ = -1;
    std::string printed_;
};

void raiseIf(const std::string& refusal) {
    if (!refusal.empty()) throw py::value_error(refusal);
}

// ---- planes -------------------------------------------------------------------

using Int32Array = py::array_t<int32_t, py::array::c_style | py::array::forcecast>;
using DoubleArray = py::array_t<double, py::array::c_style | py::array::forcecast>;

void require2d(const py::array& a, const char* name) {
    if (a.ndim() != 2) throw py::value_error(std::string(name) + ": expected a 2-D array, got " + std::to_string(a.ndim()) + "-D");
}

void requireSameShape(const py::array& a, const py::array& b, const char* names) {
    if (a.ndim() != b.ndim() || a.shape(0) != b.shape(0) || (a.ndim() > 1 && a.shape(1) != b.shape(1))) {
        throw py::value_error(std::string(names) + ": the two planes differ in shape");
    }
}

int32_t dimension(py::ssize_t n, const char* what) {
    if (n > INT32_MAX) throw py::value_error(std::string(what) + " beyond int32");
    return static_cast<int32_t>(n);
}

// ---- GenSize -------------------------------------------------------------------

py::tuple gensizeInit(const py::dict& config) {
    auto in = fromDict<STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT>(config);
    STEREO_KERNEL_GEN_SIZE_INIT_OUT_STRUCT out{};
    uint32_t code;
    {
        py::gil_scoped_release release;
        LibraryCall call;
        code = GenSizeInit(out, in);
    }
    return py::make_tuple(code, toDict(out));
}

py::tuple gensizeProc(const py::dict& frame, const py::dict& config) {
    auto procIn = fromDict<STEREO_KERNEL_GEN_SIZE_PROC_IN_STRUCT>(frame);
    auto in = fromDict<STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT>(config);
    STEREO_KERNEL_GEN_SIZE_PROC_OUT_STRUCT out{};
    uint32_t code;
    {
        py::gil_scoped_release release;
        LibraryCall call;
        code = GenSizeProc(out, procIn, in);
    }
    return py::make_tuple(code, toDict(out));
}

// ---- map utilities -------------------------------------------------------------

py::tuple rotateMMap(Int32Array x, Int32Array y, int32_t degree, int32_t outWidth, int32_t outHeight,
                     int32_t imageWidth, int32_t imageHeight, int32_t padding, py::object outStride) {
    require2d(x, "x");
    requireSameShape(x, y, "x, y");
    const int32_t stride = outStride.is_none() ? outWidth : outStride.cast<int32_t>();
    if (outHeight < 0 || stride < 0) throw py::value_error("out_height and out_stride must not be negative");
    Int32Array rx({py::ssize_t(outHeight), py::ssize_t(stride)}), ry({py::ssize_t(outHeight), py::ssize_t(stride)});
    std::memset(rx.mutable_data(), 0, size_t(rx.nbytes()));
    std::memset(ry.mutable_data(), 0, size_t(ry.nbytes()));
    RotateMMapParam p{};
    p._map_x = x.mutable_data();
    p._map_y = y.mutable_data();
    p._width_map = dimension(x.shape(1), "x width");
    p._height_map = dimension(x.shape(0), "x height");
    p._stride_map = p._width_map;
    p._degree_rot = degree;
    p._map_x_rot_buffer = rx.mutable_data();
    p._map_y_rot_buffer = ry.mutable_data();
    p._width_map_rot_buffer = outWidth;
    p._height_map_rot_buffer = outHeight;
    p._stride_map_rot_buffer = stride;
    p._width_img = imageWidth;
    p._height_img = imageHeight;
    p._padding_x_img = padding;
    std::string refusal;
    {
        py::gil_scoped_release release;
        LibraryCall call;
        RotateMMap(p);
        refusal = call.firstLine("MMapRotate", "[RotateMMap] ");
    }
    raiseIf(refusal);
    return py::make_tuple(rx, ry);
}

PowerSavingParam powerSavingParam(Int32Array& x, Int32Array& y, const py::dict& settings) {
    require2d(x, "x");
    requireSameShape(x, y, "x, y");
    // The scalar fields without their leading underscore; sizes from the arrays.
    py::dict record;
    record["_width"] = dimension(x.shape(1), "x width");
    record["_height"] = dimension(x.shape(0), "x height");
    record["_stride"] = record["_width"];
    for (const auto& item : settings) record[py::str("_" + std::string(py::str(item.first)))] = item.second;
    PowerSavingParam p = fromDict<PowerSavingParam>(record);
    p._map_x = x.mutable_data();
    p._map_y = y.mutable_data();
    return p;
}

bool powerSaving(Int32Array x, Int32Array y, const py::kwargs& settings) {
    const PowerSavingParam p = powerSavingParam(x, y, settings);
    py::gil_scoped_release release;
    LibraryCall call;
    return PowerSaving(p);
}

py::tuple powerSavingStats(Int32Array x, Int32Array y, const py::kwargs& settings) {
    const PowerSavingParam p = powerSavingParam(x, y, settings);
    bool save;
    std::string printed;
    {
        py::gil_scoped_release release;
        LibraryCall call(true);
        save = PowerSaving(p);
        printed = call.finish();
    }
    // "[PowerSaving] x magnitude max=91" -> stats["x magnitude max"] = 91
    py::dict stats;
    size_t start = 0;
    const std::string prefix = "[PowerSaving] ";
    while (start < printed.size()) {
        size_t end = printed.find('\n', start);
        if (end == std::string::npos) end = printed.size();
        const std::string line = printed.substr(start, end - start);
        start = end + 1;
        const size_t equals = line.find('=');
        if (line.compare(0, prefix.size(), prefix) != 0 || equals == std::string::npos) {
            if (!line.empty()) throw py::value_error(line);
            continue;
        }
        const std::string name = line.substr(prefix.size(), equals - prefix.size());
        const std::string value = line.substr(equals + 1);
        stats[py::str(name)] = value.find_first_of(".na") == std::string::npos
                                   ? py::object(py::int_(std::stoll(value)))
                                   : py::object(py::float_(std::strtod(value.c_str(), nullptr)));
    }
    return py::make_tuple(save, stats);
}

// ---- the OIS transformer ---------------------------------------------------------

// Byte offsets of working arrays 18 and 19 (the int32 grid planes) in the
// documented carve of VectWarpMapTrans::setWorkingBuffer.
std::pair<size_t, size_t> gridPlaneOffsets(int gridW, int gridH, int meshW, int meshH, int contentW, int contentH) {
    const size_t g = size_t(gridW) * gridH, m = size_t(meshW) * meshH, c = size_t(contentW) * contentH;
    const size_t cells = size_t(contentW - 1) * size_t(contentH - 1);
    // 0, 20, 21, 1, 2, 3, 4, 13, 14, 15, 16, 22, 23, 24, 5, 6, 7, 8, 17, then 18 and 19.
    const size_t before18 = 8 * g + 8 * g + 8 * c + 4 * 8 * m + 24 * cells + 8 * m + 4 * m + 4 * m +
                            (32 + 8 + 8) * size_t(meshH) + 5 * 8 * c;
    return {before18, before18 + 4 * c};
}

class Transformer {
public:
    Transformer(int gridW, int gridH, int oisOn) : oisOn_(oisOn) {
        LibraryCall call;
        trans_ = std::make_unique<VectWarpMapTrans>(gridW, gridH, oisOn);
    }

    py::tuple frame(DoubleArray x, DoubleArray y, const py::dict& imgSizeDesc, const py::dict& gridParam, int dir) {
        VWMTInput in = input(x, y, imgSizeDesc, gridParam, dir);
        const int n = in.gridParam.buffer_size;
        if (n < 1 || int64_t{n} * n > (int64_t{1} << 26)) {
            throw py::value_error("gridParam.buffer_size: " + std::to_string(n) + " is outside 1 .. 8192");
        }
        Int32Array gx({n, n}), gy({n, n});
        std::memset(gx.mutable_data(), 0, size_t(gx.nbytes()));
        std::memset(gy.mutable_data(), 0, size_t(gy.nbytes()));
        VWMTOutput out{gx.mutable_data(), gy.mutable_data(), nullptr};
        std::string refusal;
        {
            py::gil_scoped_release release;
            LibraryCall call;
            trans_->updateVectSize(in);
            carve();
            trans_->oisVecToGrid(in, out);
            refusal = call.firstLine("OISWarpMap", "Error");
        }
        raiseIf(refusal);
        // The written block: the content size, turned for a vertical module's
        // backward map at 90 or 270 degrees.
        int w = in.gridParam.content_w, h = in.gridParam.content_h;
        const float angle = in.gridParam.rotAngle;
        if (oisOn_ != 0 && dir == VWMT_DIRECTION_BACKWARD_VERTICAL && (angle == 90.0f || angle == 270.0f)) std::swap(w, h);
        py::slice rows(0, h, 1), cols(0, w, 1);
        return py::make_tuple(gx[py::make_tuple(rows, cols)], gy[py::make_tuple(rows, cols)]);
    }

    py::tuple transformGpu(DoubleArray x, DoubleArray y, const py::dict& imgSizeDesc, const py::dict& gridParam) {
        if (oisOn_ != 1) throw py::value_error("transform_gpu needs a transformer made with ois_on=1");
        VWMTInput in = input(x, y, imgSizeDesc, gridParam, VWMT_DIRECTION_FORWARD);
        const int w = in.gridParam.content_w, h = in.gridParam.content_h;
        if (w < 2 || h < 2) throw py::value_error("gridParam.content_w and content_h must be at least 2");
        Int32Array gx({h, w}), gy({h, w});
        std::string refusal;
        {
            py::gil_scoped_release release;
            LibraryCall call;
            trans_->updateVectSize(in);
            carve();
            trans_->transformVectToWarpMap_gpu(in.inOisX, in.inOisY, in.imgSizeDesc, in.gridParam);
            refusal = call.firstLine("OISWarpMap", "Error");
            if (refusal.empty()) {
                const int meshW = in.vect_w == 1 ? 2 : in.vect_w;
                const auto offsets = gridPlaneOffsets(in.vect_w, in.vect_h, meshW, in.vect_h, w, h);
                const char* base = reinterpret_cast<const char*>(work_.data());
                std::memcpy(gx.mutable_data(), base + offsets.first, size_t(w) * h * 4);
                std::memcpy(gy.mutable_data(), base + offsets.second, size_t(w) * h * 4);
            }
        }
        raiseIf(refusal);
        return py::make_tuple(gx, gy);
    }

    int workingBufferSize() const { return int(work_.size() * 4); }

private:
    VWMTInput input(DoubleArray& x, DoubleArray& y, const py::dict& imgSizeDesc, const py::dict& gridParam, int dir) {
        require2d(x, "ois_x");
        requireSameShape(x, y, "ois_x, ois_y");
        VWMTInput in{};
        in.inOisX = x.mutable_data();  // scaled in place and restored by the transformer
        in.inOisY = y.mutable_data();
        in.vect_w = dimension(x.shape(1), "ois_x width");
        in.vect_h = dimension(x.shape(0), "ois_x height");
        in.dir = static_cast<VWMT_DIRECTION>(dir);
        in.imgSizeDesc = fromDict<ImgSizeDescription>(imgSizeDesc);
        in.gridParam = fromDict<GridFromOisParam>(gridParam);
        return in;
    }

    // A working buffer for the current frame's sizes, carved afresh.
    void carve() {
        if (oisOn_ == 0) return;
        const int bytes = trans_->getWorkingBufferSize();
        if (bytes > 0 && size_t(bytes) > work_.size() * 4) work_.resize((size_t(bytes) + 3) / 4);
        if (bytes > 0) trans_->setWorkingBuffer(reinterpret_cast<char*>(work_.data()));
    }

    int oisOn_;
    std::unique_ptr<VectWarpMapTrans> trans_;
    std::vector<uint32_t> work_;
};

// ---- the combined map -------------------------------------------------------------

py::tuple mergeGrid(Int32Array oisX, Int32Array oisY, Int32Array n3dX, Int32Array n3dY, const py::dict& info) {
    require2d(oisX, "ois_x");
    requireSameShape(oisX, oisY, "ois_x, ois_y");
    require2d(n3dX, "n3d_x");
    requireSameShape(n3dX, n3dY, "n3d_x, n3d_y");
    // The grid sizes come from the arrays; the dict may repeat them.
    py::dict record;
    record["reserved0"] = 0;
    record["reserved1"] = 0;
    record["oisW"] = dimension(oisX.shape(1), "ois width");
    record["oisH"] = dimension(oisX.shape(0), "ois height");
    record["n3dW"] = dimension(n3dX.shape(1), "n3d width");
    record["n3dH"] = dimension(n3dX.shape(0), "n3d height");
    for (const char* key : {"oisW", "oisH", "n3dW", "n3dH"}) {
        if (info.contains(key) && !info[key].equal(record[key])) {
            throw py::value_error(std::string("info.") + key + ": " + std::string(py::str(info[key])) +
                                  " differs from the arrays' " + std::string(py::str(record[key])));
        }
    }
    for (const auto& item : info) record[item.first] = item.second;
    const OIS_INTERPOLATE_INFO_STRUCT s = fromDict<OIS_INTERPOLATE_INFO_STRUCT>(record);
    Int32Array rx({s.n3dH, s.n3dW}), ry({s.n3dH, s.n3dW});
    std::string refusal;
    {
        py::gil_scoped_release release;
        LibraryCall call;
        CombWarpMapTrans comb;
        std::vector<uint32_t> work((size_t(comb.getWorkingBufferSize()) + 3) / 4);
        comb.setWorkingBuffer(reinterpret_cast<char*>(work.data()));
        int* ois[2] = {oisX.mutable_data(), oisY.mutable_data()};
        int* n3d[2] = {n3dX.mutable_data(), n3dY.mutable_data()};
        comb.mergeGrid(ois, n3d, s);
        refusal = call.firstLine("OISWarpMap", "nothing merged");
        if (refusal.empty()) {
            const size_t n = size_t(s.n3dW) * s.n3dH;
            std::memcpy(rx.mutable_data(), comb.resultX(), n * 4);
            std::memcpy(ry.mutable_data(), comb.resultY(), n * 4);
        }
    }
    raiseIf(refusal);
    return py::make_tuple(rx, ry);
}

}  // namespace

PYBIND11_MODULE(_velmoutil, m) {
    m.doc() = "libquentra.velmoUtil: stereo sizes, OIS warp grids, merged maps and motion-map utilities";
    m.attr("__version__") = velmoUtilVersion();

    m.def("default_config", [] { return toDict(velmo::cli::defaultConfig()); },
          "velmo-util's built-in dual 12 MP configuration, as a dict");
    m.def("gensize_init", &gensizeInit, py::arg("config"),
          "GenSizeInit on a configuration dict -> (result code, output dict)");
    m.def("gensize_proc", &gensizeProc, py::arg("frame"), py::arg("config"),
          "GenSizeProc on a frame dict (zoom_ratio, p1_main, p1_auxi) -> (result code, output dict)");
    m.def("rotate_mmap", &rotateMMap, py::arg("x"), py::arg("y"), py::arg("degree"), py::arg("out_width"),
          py::arg("out_height"), py::arg("image_width"), py::arg("image_height") = 0, py::arg("padding") = 0,
          py::arg("out_stride") = py::none(),
          "RotateMMap: rotated (x, y) planes of shape (out_height, out_stride); columns outside the band stay 0");
    m.def("power_saving", &powerSaving, py::arg("x"), py::arg("y"),
          "PowerSaving: True when motion is small. Keywords: precision, scale_num_x, scale_num_y, scale_den_x, "
          "scale_den_y, thr_max_x, thr_max_y, thr_avg_x, thr_avg_y");
    m.def("power_saving_stats", &powerSavingStats, py::arg("x"), py::arg("y"),
          "power_saving, and the statistics PowerSaving prints -> (decision, dict)");
    m.def("merge_grid", &mergeGrid, py::arg("ois_x"), py::arg("ois_y"), py::arg("n3d_x"), py::arg("n3d_y"),
          py::arg("info"),
          "CombWarpMapTrans::mergeGrid -> merged (x, y), shape of the N3D map; info needs imageW, imageH");

    py::class_<Transformer>(m, "VectWarpMapTrans",
                            "The OIS transformer; it keeps its working buffer between frames")
        .def(py::init<int, int, int>(), py::arg("grid_w"), py::arg("grid_h"), py::arg("ois_on") = 1)
        .def("frame", &Transformer::frame, py::arg("ois_x"), py::arg("ois_y"), py::arg("img_size_desc"),
             py::arg("grid_param"), py::arg("dir") = 0,
             "oisVecToGrid -> (x, y) grid planes (content block, pixels x 32)")
        .def("transform_gpu", &Transformer::transformGpu, py::arg("ois_x"), py::arg("ois_y"),
             py::arg("img_size_desc"), py::arg("grid_param"),
             "transformVectToWarpMap_gpu -> (x, y) content grid, pixels x 32, as the GPU reads it")
        .def_property_readonly("working_buffer_size", &Transformer::workingBufferSize);
}
