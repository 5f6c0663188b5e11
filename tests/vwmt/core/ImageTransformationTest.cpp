#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>
#include <string>

#include "vwmt/core/ImageTransformationDescriptor.h"
#include "vwmt/core/MatrixUtility.h"

namespace {

using VWMT::ImageTransformationDescriptor;
using VWMT::MatrixUtility;
using VWMT::MatrixUtility_Intrinsic;
using Params = std::array<float, 6>;

Params integrated(ImageTransformationDescriptor& d) {
    Params p{};
    d.getIntegratedCroppingAndResizingParameter(p.data());
    return p;
}

TEST(ImageTransformationDescriptor, NewImageIsItsOwnCrop) {
    ImageTransformationDescriptor d(4000, 3000);
    EXPECT_EQ(integrated(d), (Params{0, 0, 4000, 3000, 4000, 3000}));
}

TEST(ImageTransformationDescriptor, CropThenResize) {
    ImageTransformationDescriptor d(4000, 3000);
    d.applyCropping(100, 50, 2000, 1600);
    d.applyResizing(1000, 800);
    float m[3][3];
    d.getCurrentMat(m);
    EXPECT_EQ(m[0][0], 0.5f);
    EXPECT_EQ(m[1][1], 0.5f);
    EXPECT_EQ(m[0][2], -50.0f);
    EXPECT_EQ(m[1][2], -25.0f);
    EXPECT_EQ(integrated(d), (Params{100, 50, 2000, 1600, 1000, 800}));
}

TEST(ImageTransformationDescriptor, CropAfterHalvingCountsDoubleOnTheSource) {
    ImageTransformationDescriptor d(4000, 3000);
    d.applyResizing(2000, 1500);
    d.applyCropping(10, 10, 1000, 700);
    EXPECT_EQ(integrated(d), (Params{20, 20, 2000, 1400, 1000, 700}));
}

// A sensor-to-P1 history: analog crop, binning, digital, TG and P1 crops, resize.
TEST(ImageTransformationDescriptor, SensorChainFoldsIntoOneMap) {
    ImageTransformationDescriptor d(4000, 3000);
    d.applyCropping(16, 12, 3968, 2976);
    d.applyResizing(1984, 1488);
    d.applyCropping(32, 24, 1920, 1440);
    d.applyCropping(0, 0, 1920, 1440);
    d.applyCropping(64, 48, 1792, 1344);
    d.applyResizing(896, 672);

    float m[3][3];
    d.getCurrentMat(m);
    const float expected[3][3] = {{0.25f, 0, -52}, {0, 0.25f, -39}, {0, 0, 1}};
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) EXPECT_EQ(m[i][j], expected[i][j]) << i << "," << j;
    // Left edge on the sensor: 16 + 2 x 32 + 2 x 64; width 2 x 1792.
    EXPECT_EQ(integrated(d), (Params{208, 156, 3584, 2688, 896, 672}));
}

TEST(ImageTransformationDescriptor, InverseOfZeroOffsetIsNegativeZero) {
    ImageTransformationDescriptor d(640, 480);
    float inv[3][3];
    d.getInvMat(inv);
    EXPECT_TRUE(std::signbit(inv[0][2]));
    EXPECT_TRUE(std::signbit(inv[1][2]));
    EXPECT_EQ(inv[0][0], 1.0f);
}

TEST(ImageTransformationDescriptor, InverseOfZeroScaleIsInfinite) {
    ImageTransformationDescriptor d(640, 480);
    d.applyResizing(0, 0);
    float inv[3][3];
    d.getInvMat(inv);
    EXPECT_TRUE(std::isinf(inv[0][0]));
    EXPECT_TRUE(std::isinf(inv[1][1]));
}

TEST(ImageTransformationDescriptor, MatmulOverwritesAndStartsFromPositiveZero) {
    float a[3][3] = {{1, 2, 3}, {4, 5, 6}, {7, 8, 9}};
    float b[3][3] = {{9, 8, 7}, {6, 5, 4}, {3, 2, 1}};
    float out[3][3];
    for (auto& row : out)
        for (float& v : row) v = 1e30f;
    ImageTransformationDescriptor::matmul(out, a, b);
    const float expected[3][3] = {{30, 24, 18}, {84, 69, 54}, {138, 114, 90}};
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) EXPECT_EQ(out[i][j], expected[i][j]);

    // Every product is -0; summed onto +0 the entry stays +0.
    float negative[3][3] = {{-1, -1, -1}, {-1, -1, -1}, {-1, -1, -1}};
    float zero[3][3] = {};
    ImageTransformationDescriptor::matmul(out, negative, zero);
    EXPECT_FALSE(std::signbit(out[1][2]));
}

TEST(ImageTransformationDescriptor, PrintCurrentMatrix) {
    ImageTransformationDescriptor d(4000, 3000);
    d.applyCropping(100, 50, 2000, 1600);
    d.applyResizing(1000, 800);
    testing::internal::CaptureStdout();
    d.printCurrentMatrix();
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "|  0.50000,        0,   -50.00000 |\n"
              "|        0,  0.50000,   -25.00000 |\n"
              "|        0,        0,     1.00000 |\n"
              "\n");
}

TEST(ImageTransformationDescriptor, PrintMatTruncatesOffDiagonalsAndPrintsNanPlainly) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    float m[3][3] = {{-nan, 2.75f, 1234567.125f}, {-3.9f, 1, nan}, {3e9f, -3e9f, -nan}};
    testing::internal::CaptureStdout();
    ImageTransformationDescriptor::printMat(m);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "|      nan,        2, 1234567.12500 |\n"
              "|       -3,  1.00000,         nan |\n"
              "| 2147483647, -2147483648,         nan |\n"
              "\n");
}

TEST(ImageTransformationDescriptor, PrintIntegratedParameters) {
    ImageTransformationDescriptor d(4000, 3000);
    d.applyResizing(2000, 1500);
    d.applyCropping(10.5f, 0, 1000, 700);
    testing::internal::CaptureStdout();
    d.printIntegratedCroppingAndResizingParameter();
    // The untouched top edge prints as 0.00, not -0.00.
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "output:\n"
              "  crop_on_sensor:\n"
              "    x_in_pixel:        21.00\n"
              "    y_in_pixel:         0.00\n"
              "    width_pixels:    2000.00\n"
              "    height_pixels:   1400.00\n"
              "\n"
              "  resized:\n"
              "    width_pixels:    1000.00\n"
              "    height_pixels:    700.00\n"
              "\n");
}

TEST(MatrixUtility, TransposeSquareInPlaceAndCopied) {
    double m[9] = {1, 2, 3, 4, 5, 6, 7, 8, 9};
    double copy[9] = {};
    MatrixUtility::transposeSquareMatrix(m, copy, 3);
    const double expected[9] = {1, 4, 7, 2, 5, 8, 3, 6, 9};
    for (int e = 0; e < 9; ++e) EXPECT_EQ(copy[e], expected[e]);
    MatrixUtility::transposeSquareMatrix(m, m, 3);
    for (int e = 0; e < 9; ++e) EXPECT_EQ(m[e], expected[e]);

    double untouched[1] = {42};
    MatrixUtility::transposeSquareMatrix(m, untouched, 0);
    EXPECT_EQ(untouched[0], 42);
}

TEST(MatrixUtility, Products) {
    const double a[9] = {1, 2, 3, 4, 5, 6, 7, 8, 9};
    const double b[9] = {9, 8, 7, 6, 5, 4, 3, 2, 1};
    double out[9];
    MatrixUtility::multiply_3x3(a, b, out);
    const double expected[9] = {30, 24, 18, 84, 69, 54, 138, 114, 90};
    for (int e = 0; e < 9; ++e) EXPECT_EQ(out[e], expected[e]);

    const double vectors[6] = {1, 0, 0, 1, -1, 2};
    double mapped[6];
    MatrixUtility::multiply_3x3_Nx3(a, vectors, mapped, 2);
    const double expectedVectors[6] = {1, 4, 7, 5, 11, 17};
    for (int e = 0; e < 6; ++e) EXPECT_EQ(mapped[e], expectedVectors[e]);
}

TEST(MatrixUtility, HomogeneousPointsAddTheTranslationLast) {
    const double m[9] = {2, 0, 1, 0, 3, 2, 0, 0, 2};
    const double points[2] = {1, 1};
    double out[2];
    MatrixUtility::multiply_3x3_Nx2(m, points, out, 1);
    EXPECT_EQ(out[0], 1.5);  // (1 + 2) / 2
    EXPECT_EQ(out[1], 2.5);  // (2 + 3) / 2

    // 1e16 and -1e16 cancel before the translation 1 is added; added first,
    // the 1 would be lost in 1e16.
    const double cancel[9] = {1e16, -1e16, 1, 1e16, -1e16, 1, 0, 0, 1};
    const double unit[2] = {1, 1};
    MatrixUtility::multiply_3x3_Nx2(cancel, unit, out, 1);
    EXPECT_EQ(out[0], 1.0);
    EXPECT_EQ(out[1], 1.0);
}

TEST(MatrixUtility, PrintRowsWithCallerFormat) {
    const double m[4] = {1.5, -2, -std::numeric_limits<double>::quiet_NaN(), 4};
    testing::internal::CaptureStdout();
    MatrixUtility::print(m, 2, 2, "%6.2f");
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "|    1.50   -2.00  |\n"
              "|     nan    4.00  |\n"
              "\n\n");

    testing::internal::CaptureStdout();
    MatrixUtility::print(m, 0, 2, "%6.2f");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "\n\n");
}

TEST(MatrixUtilityIntrinsic, InverseUndoesTheIntrinsicMatrix) {
    double k[9], kInv[9], product[9];
    MatrixUtility_Intrinsic::composeIntrinsicMatrix(k, 1000, 800, 640, 480);
    const double expectedK[9] = {1000, 0, 640, 0, 800, 480, 0, 0, 1};
    for (int e = 0; e < 9; ++e) EXPECT_EQ(k[e], expectedK[e]);

    MatrixUtility_Intrinsic::composeInverseIntrinsicMatrix(kInv, 1000, 800, 640, 480);
    const double expectedInv[9] = {0.001, 0, -0.64, 0, 0.00125, -0.6, 0, 0, 1};
    for (int e = 0; e < 9; ++e) EXPECT_EQ(kInv[e], expectedInv[e]);

    MatrixUtility_Intrinsic::composeIntrinsicMatrix(k, 2, 4, 6, 8);
    MatrixUtility_Intrinsic::composeInverseIntrinsicMatrix(kInv, 2, 4, 6, 8);
    MatrixUtility::multiply_3x3(k, kInv, product);
    const double identity[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1};
    for (int e = 0; e < 9; ++e) EXPECT_EQ(product[e], identity[e]);
}

}  // namespace
