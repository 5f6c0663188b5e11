#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <vector>

#include "vwmt/core/ImageTransformationDescriptor.h"
#include "vwmt/core/MatrixUtility.h"

namespace {

using VWMT::ImageTransformationDescriptor;
using VWMT::MatrixUtility;
using Params = std::array<float, 6>;

Params integrated(ImageTransformationDescriptor& d) {
    Params p{};
    d.getIntegratedCroppingAndResizingParameter(p.data());
    return p;
}

std::vector<float> flat(const float (*m)[3]) { return std::vector<float>(m[0], m[0] + 9); }

// A sensor-to-P1 history: analog crop, binning, digital, TG and P1 crops, resize.
TEST(ImageTransformationDescriptor, SensorChainFoldsIntoOneMap) {
    ImageTransformationDescriptor d(4000, 3000);
    EXPECT_EQ(integrated(d), (Params{0, 0, 4000, 3000, 4000, 3000}));
    d.applyCropping(16, 12, 3968, 2976);
    d.applyResizing(1984, 1488);
    d.applyCropping(32, 24, 1920, 1440);
    d.applyCropping(0, 0, 1920, 1440);
    d.applyCropping(64, 48, 1792, 1344);
    d.applyResizing(896, 672);
    float m[3][3];
    d.getCurrentMat(m);
    EXPECT_EQ(flat(m), (std::vector<float>{0.25f, 0, -52, 0, 0.25f, -39, 0, 0, 1}));
    // Left edge on the sensor: 16 + 2 x 32 + 2 x 64; width 2 x 1792.
    EXPECT_EQ(integrated(d), (Params{208, 156, 3584, 2688, 896, 672}));

    ImageTransformationDescriptor zero(640, 480);
    zero.getInvMat(m);
    EXPECT_TRUE(std::signbit(m[0][2]) && std::signbit(m[1][2]));  // the inverse of offset 0 is -0
    EXPECT_EQ(m[0][0], 1.0f);
    zero.applyResizing(0, 0);
    zero.getInvMat(m);
    EXPECT_TRUE(std::isinf(m[0][0]) && std::isinf(m[1][1]));
}

TEST(ImageTransformationDescriptor, MatmulOverwritesAndStartsFromPositiveZero) {
    float a[3][3] = {{1, 2, 3}, {4, 5, 6}, {7, 8, 9}}, b[3][3] = {{9, 8, 7}, {6, 5, 4}, {3, 2, 1}}, out[3][3];
    std::fill(out[0], out[0] + 9, 1e30f);
    ImageTransformationDescriptor::matmul(out, a, b);
    EXPECT_EQ(flat(out), (std::vector<float>{30, 24, 18, 84, 69, 54, 138, 114, 90}));
    // Every product is -0; summed onto +0 the entry stays +0.
    float negative[3][3] = {{-1, -1, -1}, {-1, -1, -1}, {-1, -1, -1}}, zero[3][3] = {};
    ImageTransformationDescriptor::matmul(out, negative, zero);
    EXPECT_FALSE(std::signbit(out[1][2]));
}

TEST(MatrixUtility, TransposeProductsAndPoints) {
    double m[9] = {1, 2, 3, 4, 5, 6, 7, 8, 9}, copy[9] = {}, untouched[1] = {42};
    const std::vector<double> transposed = {1, 4, 7, 2, 5, 8, 3, 6, 9};
    MatrixUtility::transposeSquareMatrix(m, copy, 3);
    EXPECT_EQ(std::vector<double>(copy, copy + 9), transposed);
    MatrixUtility::transposeSquareMatrix(m, untouched, 0);
    EXPECT_EQ(untouched[0], 42);
    const double b[9] = {9, 8, 7, 6, 5, 4, 3, 2, 1}, vectors[6] = {1, 0, 0, 1, -1, 2};
    double out[9];
    MatrixUtility::multiply_3x3(m, b, out);
    EXPECT_EQ(std::vector<double>(out, out + 9), (std::vector<double>{30, 24, 18, 84, 69, 54, 138, 114, 90}));
    MatrixUtility::multiply_3x3_Nx3(m, vectors, out, 2);
    EXPECT_EQ(std::vector<double>(out, out + 6), (std::vector<double>{1, 4, 7, 5, 11, 17}));
    MatrixUtility::transposeSquareMatrix(m, m, 3);
    EXPECT_EQ(std::vector<double>(m, m + 9), transposed);

    // Homogeneous points: (1 + 2) / 2, (2 + 3) / 2, (1 + 6) / 2, (2 - 3) / 2;
    // and 1e16 - 1e16 cancels before the translation 1 is added, which would
    // be lost in 1e16.
    const double affine[9] = {2, 0, 1, 0, 3, 2, 0, 0, 2}, cancel[9] = {1e16, -1e16, 1, 1e16, -1e16, 1, 0, 0, 1};
    const double points[6] = {1, 1, 3, -1, 1, 1};
    MatrixUtility::multiply_3x3_Nx2(affine, points, out, 2);
    MatrixUtility::multiply_3x3_Nx2(cancel, points + 4, out + 4, 1);
    EXPECT_EQ(std::vector<double>(out, out + 6), (std::vector<double>{1.5, 2.5, 3.5, -0.5, 1, 1}));
}

}  // namespace
