// The OpenCV peer of RotateMMap: what the job costs with the usual image
// library, single-threaded. Nearest-neighbour cv::warpAffine resamples each
// plane (the int32 values travel bit for bit through a CV_32F view), then
// cv::transform rotates the (vx, vy) pairs of the merged planes and cv::split
// writes them back as two planes. Buffers are allocated once, outside the
// timed loop.

#include <benchmark/benchmark.h>

#include <cmath>
#include <string>

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include "bench/maputil/MapBenchData.h"

namespace {

using velmo::bench::RotateCase;
using velmo::bench::RotateData;

// Destination-to-source mapping of the rotation about both centres, scaled to
// the destination size.
cv::Mat inverseMap(const RotateData& data, double s, double c) {
    const RotateCase& shape = data.shape();
    const double rotatedW = std::fabs(s * shape.height) + std::fabs(c * shape.width);
    const double rotatedH = std::fabs(s * shape.width) + std::fabs(c * shape.height);
    const double sx = std::ceil(rotatedW) / data.dstWidth();
    const double sy = std::ceil(rotatedH) / data.dstHeight();
    const double cx = std::ceil(rotatedW) / 2, cy = std::ceil(rotatedH) / 2;
    const double cw = shape.width / 2, ch = shape.height / 2;
    // src = R^-1 * (S * dst - c_rot) + c_src
    cv::Mat m(2, 3, CV_64F);
    m.at<double>(0, 0) = c * sx;
    m.at<double>(0, 1) = s * sy;
    m.at<double>(0, 2) = -c * cx - s * cy + cw;
    m.at<double>(1, 0) = -s * sx;
    m.at<double>(1, 1) = c * sy;
    m.at<double>(1, 2) = s * cx - c * cy + ch;
    return m;
}

void openCvRotate(benchmark::State& state, RotateCase shape) {
    cv::setNumThreads(1);
    RotateData data(shape);
    const double theta = shape.degrees * 0.017453292;
    const double s = std::sin(theta), c = std::cos(theta);
    const cv::Mat warp = inverseMap(data, s, c);
    const cv::Mat rotation = (cv::Mat_<float>(2, 2) << c, -s, s, c);
    const cv::Size dstSize(data.dstWidth(), data.dstHeight());
    const cv::Mat srcX(shape.height, shape.width, CV_32F, data.srcX());
    const cv::Mat srcY(shape.height, shape.width, CV_32F, data.srcY());
    cv::Mat warpedX(dstSize, CV_32F), warpedY(dstSize, CV_32F);
    cv::Mat pairs(dstSize, CV_32SC2), rotated(dstSize, CV_32SC2);
    cv::Mat outX(dstSize, CV_32S, data.dstX()), outY(dstSize, CV_32S, data.dstY());
    for (auto _ : state) {
        cv::warpAffine(srcX, warpedX, warp, dstSize, cv::INTER_NEAREST | cv::WARP_INVERSE_MAP,
                       cv::BORDER_CONSTANT, cv::Scalar(0));
        cv::warpAffine(srcY, warpedY, warp, dstSize, cv::INTER_NEAREST | cv::WARP_INVERSE_MAP,
                       cv::BORDER_CONSTANT, cv::Scalar(0));
        const cv::Mat planes[] = {cv::Mat(dstSize, CV_32S, warpedX.data),
                                  cv::Mat(dstSize, CV_32S, warpedY.data)};
        cv::merge(planes, 2, pairs);
        cv::transform(pairs, rotated, rotation);
        cv::Mat outs[] = {outX, outY};
        cv::split(rotated, outs);
        benchmark::ClobberMemory();
    }
    state.counters["per_elem"] = benchmark::Counter(
        static_cast<double>(data.elements()),
        benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

int registerPeers() {
    for (const RotateCase& c : velmo::bench::kRotateCases) {
        const std::string name = velmo::bench::caseName(c);
        benchmark::RegisterBenchmark(("RotateMMap/opencv_peer/" + name).c_str(), openCvRotate, c);
    }
    return 0;
}

const int kRegistered = registerPeers();

}  // namespace
