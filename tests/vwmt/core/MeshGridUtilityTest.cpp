#include "vwmt/core/MeshGridUtility.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace {

using VWMT::MeshGridUtility;

TEST(MeshGridUtilityIndices, RoundsHalvesAwayFromZero) {
    std::vector<int> out(4, -1);
    MeshGridUtility::sampleRoundedUniformIndices(out.data(), 0, 9, 4);
    EXPECT_EQ(out, (std::vector<int>{0, 3, 6, 9}));
    out.assign(3, -1);
    MeshGridUtility::sampleRoundedUniformIndices(out.data(), 0, 1, 3);
    EXPECT_EQ(out, (std::vector<int>{0, 1, 1}));  // 0.5 goes up
    out.assign(3, -1);
    MeshGridUtility::sampleRoundedUniformIndices(out.data(), 0, -1, 3);
    EXPECT_EQ(out, (std::vector<int>{0, -1, -1}));  // -0.5 goes down
    out.assign(2, 7);
    MeshGridUtility::sampleRoundedUniformIndices(out.data(), 5, 9, 1);
    EXPECT_EQ(out, (std::vector<int>{5, 7}));  // one sample: the start, step 0
    MeshGridUtility::sampleRoundedUniformIndices(out.data(), 5, 9, 0);
    EXPECT_EQ(out, (std::vector<int>{5, 7}));
}

TEST(MeshGridUtilityTriangles, TwoTrianglesPerCellInCellOrder) {
    std::vector<int> out(12, -1);
    MeshGridUtility::connectGridByTriangleMesh(out.data(), 3, 2);
    EXPECT_EQ(out, (std::vector<int>{0, 3, 1, 1, 3, 4, 1, 4, 2, 2, 4, 5}));
    std::vector<int> untouched(6, -1);
    MeshGridUtility::connectGridByTriangleMesh(untouched.data(), 1, 5);
    MeshGridUtility::connectGridByTriangleMesh(untouched.data(), 5, 1);
    EXPECT_EQ(untouched, std::vector<int>(6, -1));
}

TEST(MeshGridUtilityUniform, NodesPlacedInDoubleFromAFloatStep) {
    std::vector<float> out(12, -1.0f);
    MeshGridUtility::sampleUniformMeshGrid(out.data(), 3, 2, 0.0f, 10.0f, 4.0f, -1.0f);
    EXPECT_EQ(out, (std::vector<float>{0, 4, 5, 4, 10, 4, 0, -1, 5, -1, 10, -1}));

    // The last node in double lands one float above the end that a float
    // product and sum would give (1917.3f / 3 x 3 + 1.7f = 1919.0f).
    std::vector<float> row(16);
    MeshGridUtility::sampleUniformMeshGrid(row.data(), 4, 2, 1.7f, 1919.0f, 2.0f, 2.0f);
    EXPECT_EQ(row[6], 1919.0001f);
    EXPECT_EQ(row[7], 2.0f);
}

TEST(MeshGridUtilityUniform, SingleColumnDividesByZeroUnguarded) {
    std::vector<float> out(4, 0.0f);
    MeshGridUtility::sampleUniformMeshGrid(out.data(), 1, 2, 0.0f, 10.0f, 0.0f, 1.0f);
    EXPECT_FALSE(std::isfinite(out[2]));
    EXPECT_EQ(out[3], 1.0f);
    std::vector<float> untouched(4, 3.0f);
    MeshGridUtility::sampleUniformMeshGrid(untouched.data(), 0, 2, 0.0f, 1.0f, 0.0f, 1.0f);
    EXPECT_EQ(untouched, std::vector<float>(4, 3.0f));
}

}  // namespace
