#include <gtest/gtest.h>

#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "vwmt/core/CalibrationDataReader.h"
#include "vwmt/core/FileBin.h"

namespace {

using VWMT::CalibrationDataReader;
using VWMT::File_Bin;

std::string tempPath(const std::string& name) { return ::testing::TempDir() + "vwmt_core_" + name; }

template <typename T>
std::string writeRaw(const std::string& name, const std::vector<T>& values) {
    const std::string path = tempPath(name);
    std::FILE* f = std::fopen(path.c_str(), "wb");
    EXPECT_NE(f, nullptr);
    if (f != nullptr) {
        std::fwrite(values.data(), sizeof(T), values.size(), f);
        std::fclose(f);
    }
    return path;
}

std::string writeText(const std::string& name, const std::string& text) {
    const std::string path = tempPath(name);
    std::FILE* f = std::fopen(path.c_str(), "w");
    EXPECT_NE(f, nullptr);
    if (f != nullptr) {
        std::fputs(text.c_str(), f);
        std::fclose(f);
    }
    return path;
}

std::vector<double> ramp(int n, double first) {
    std::vector<double> v(n);
    for (int k = 0; k < n; ++k) v[k] = first + 0.25 * k;
    return v;
}

TEST(FileBin, WriteAppendAndReadBack) {
    const std::string path = tempPath("roundtrip.bin");
    std::vector<double> head = {1.5, -2.25};
    std::vector<double> tail = {3.0, 1e300, -0.0};
    EXPECT_EQ(File_Bin::write(path.c_str(), head.data(), sizeof(double), 2, false), 0);
    EXPECT_EQ(File_Bin::write(path.c_str(), tail.data(), sizeof(double), 3, true), 0);

    std::vector<double> back(5);
    testing::internal::CaptureStdout();
    EXPECT_EQ(File_Bin::read(path.c_str(), back.data(), 5 * sizeof(double), sizeof(double), 5), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(back, (std::vector<double>{1.5, -2.25, 3.0, 1e300, -0.0}));

    // Without append the file starts over.
    EXPECT_EQ(File_Bin::write(path.c_str(), tail.data(), sizeof(double), 1, false), 0);
    testing::internal::CaptureStdout();
    EXPECT_EQ(File_Bin::read(path.c_str(), back.data(), 0, sizeof(double), 2), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "fread ret(1) != elementCount(2)\n");
}

TEST(FileBin, ShortFileReportsButSucceedsAndLeavesTheRest) {
    const std::string path = writeRaw("short.bin", std::vector<double>{1, 2, 3});
    std::vector<double> buffer(5, -7.0);
    testing::internal::CaptureStdout();
    EXPECT_EQ(File_Bin::read(path.c_str(), buffer.data(), 0, sizeof(double), 5), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "fread ret(3) != elementCount(5)\n");
    EXPECT_EQ(buffer, (std::vector<double>{1, 2, 3, -7, -7}));
}

TEST(FileBin, SmallBufferTakesOnlyWholeElementsThatFit) {
    const std::string path = writeRaw("guard.bin", std::vector<int>{1, 2, 3, 4, 5});
    std::vector<int> buffer(5, -1);
    testing::internal::CaptureStdout();
    EXPECT_EQ(File_Bin::read(path.c_str(), buffer.data(), 13, sizeof(int), 5), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "fread ret(3) != elementCount(5)\n");
    EXPECT_EQ(buffer, (std::vector<int>{1, 2, 3, -1, -1}));
}

TEST(FileBin, OpenAndCloseFailures) {
    const std::string missing = tempPath("does_not_exist.bin");
    std::remove(missing.c_str());
    double value = 0;
    testing::internal::CaptureStdout();
    EXPECT_EQ(File_Bin::read(missing.c_str(), &value, 8, 8, 1), 1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "The file " + missing + " was not opened\n");

    const std::string noDirectory = tempPath("no_such_directory/out.bin");
    testing::internal::CaptureStdout();
    EXPECT_EQ(File_Bin::write(noDirectory.c_str(), &value, 8, 1, false), 1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "The file " + noDirectory + " was not opened\n");

    // The write is buffered and succeeds; flushing it on close finds the device full.
    double pair[2] = {1, 2};
    testing::internal::CaptureStdout();
    EXPECT_EQ(File_Bin::write("/dev/full", pair, sizeof(double), 2, false), 1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST(CalibrationDataReader, TablesReadTheCountsTheirSizesImply) {
    // Each file holds two elements more than the table; the reader must stop
    // at the table's end.
    std::vector<double> buffer(40, -1.0);
    const std::string xy = writeRaw("xy.bin", ramp(3 * 2 * 2 + 2, 0));
    EXPECT_EQ(CalibrationDataReader::read_meshVertXY(buffer.data(), xy.c_str(), 3, 2), 0);
    EXPECT_EQ(buffer[11], 2.75);
    EXPECT_EQ(buffer[12], -1.0);

    const std::string lngLat = writeRaw("lnglat.bin", ramp(2 * 2 * 3 * 2 + 2, 100));
    EXPECT_EQ(CalibrationDataReader::read_meshVertLngLat(buffer.data(), lngLat.c_str(), 2, 3, 2), 0);
    EXPECT_EQ(buffer[23], 105.75);
    EXPECT_EQ(buffer[24], -1.0);

    const std::string lens = writeRaw("lens.bin", ramp(6, 0.5));
    std::fill(buffer.begin(), buffer.end(), -1.0);
    EXPECT_EQ(CalibrationDataReader::read_normalized_AfLensPositions(buffer.data(), lens.c_str(), 4), 0);
    EXPECT_EQ(buffer[3], 1.25);
    EXPECT_EQ(buffer[4], -1.0);
    EXPECT_EQ(CalibrationDataReader::read_normalized_OpticalZoomPositions(buffer.data() + 10, lens.c_str(), 2), 0);
    EXPECT_EQ(buffer[11], 0.75);
    EXPECT_EQ(buffer[12], -1.0);

    std::vector<int> indices(30);
    for (int k = 0; k < 30; ++k) indices[k] = k;
    const std::string tri = writeRaw("tri.bin", indices);
    std::vector<int> triangles(30, -1);
    EXPECT_EQ(CalibrationDataReader::read_meshTriangleVertIndices(triangles.data(), tri.c_str(), 3, 3), 0);
    EXPECT_EQ(triangles[23], 23);  // 2 x 2 cells x 6
    EXPECT_EQ(triangles[24], -1);
}

TEST(CalibrationDataReader, DegenerateMeshReadsNothing) {
    const std::string tri = writeRaw("tri_degenerate.bin", std::vector<int>{1, 2, 3, 4, 5, 6});
    std::vector<int> triangles(6, -1);
    testing::internal::CaptureStdout();
    EXPECT_EQ(CalibrationDataReader::read_meshTriangleVertIndices(triangles.data(), tri.c_str(), 0, 2), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "fread ret(0) != elementCount(-6)\n");
    EXPECT_EQ(triangles, std::vector<int>(6, -1));
}

// Two negative sizes multiply to a positive count the caller has no room
// for: refused, one line, the buffer untouched.
TEST(CalibrationDataReader, NegativeSizesWithAPositiveCountReadNothing) {
    const std::string raw = writeRaw("negative_sizes.bin", std::vector<int>(64, 7));
    std::vector<int> ints(4, -1);
    std::vector<double> doubles(4, -1.0);
    const struct {
        std::function<int()> read;
        const char* line;
    } cases[] = {
        {[&] { return CalibrationDataReader::read_meshTriangleVertIndices(ints.data(), raw.c_str(), 0, 0); },
         "[CalibrationDataReader][read_meshTriangleVertIndices] negative sizes give 6 elements\n"},
        {[&] { return CalibrationDataReader::read_meshTriangleVertIndices(ints.data(), raw.c_str(), -3, -1); },
         "[CalibrationDataReader][read_meshTriangleVertIndices] negative sizes give 48 elements\n"},
        {[&] { return CalibrationDataReader::read_meshVertXY(doubles.data(), raw.c_str(), -2, -2); },
         "[CalibrationDataReader][read_meshVertXY] negative sizes give 8 elements\n"},
        {[&] { return CalibrationDataReader::read_meshVertLngLat(doubles.data(), raw.c_str(), -1, 2, -1); },
         "[CalibrationDataReader][read_meshVertLngLat] negative sizes give 4 elements\n"},
    };
    for (const auto& c : cases) {
        testing::internal::CaptureStdout();
        EXPECT_EQ(c.read(), 1);
        EXPECT_EQ(testing::internal::GetCapturedStdout(), c.line);
    }
    EXPECT_EQ(ints, std::vector<int>(4, -1));
    EXPECT_EQ(doubles, std::vector<double>(4, -1.0));
}

TEST(CalibrationDataReader, MissingFilesFailEveryReader) {
    const std::string missing = tempPath("missing_calibration");
    std::remove(missing.c_str());
    const char* p = missing.c_str();
    double d[8];
    int i[8];
    testing::internal::CaptureStdout();
    EXPECT_EQ(CalibrationDataReader::read_normalized_AfLensPositions(d, p, 1), 1);
    EXPECT_EQ(CalibrationDataReader::read_normalized_OpticalZoomPositions(d, p, 1), 1);
    EXPECT_EQ(CalibrationDataReader::read_meshVertXY(d, p, 1, 1), 1);
    EXPECT_EQ(CalibrationDataReader::read_meshVertLngLat(d, p, 1, 1, 1), 1);
    EXPECT_EQ(CalibrationDataReader::read_meshTriangleVertIndices(i, p, 2, 2), 1);
    EXPECT_EQ(CalibrationDataReader::readDoubleFromCSV(d, d + 1, p), 1);
    EXPECT_EQ(CalibrationDataReader::readIntFromCSV(i, i + 1, p), 1);
    std::string expected;
    for (int k = 0; k < 7; ++k) expected += "The file " + missing + " was not opened\n";
    EXPECT_EQ(testing::internal::GetCapturedStdout(), expected);
}

TEST(CalibrationDataReader, TextValues) {
    const std::string pair = writeText("pair.csv", "3.5,4.25\n");
    double first = 0, second = 0;
    EXPECT_EQ(CalibrationDataReader::readDoubleFromCSV(&first, &second, pair.c_str()), 0);
    EXPECT_EQ(first, 3.5);
    EXPECT_EQ(second, 4.25);
    first = 0;
    EXPECT_EQ(CalibrationDataReader::readDoubleFromCSV(&first, nullptr, pair.c_str()), 0);
    EXPECT_EQ(first, 3.5);
    EXPECT_EQ(CalibrationDataReader::readDoubleFromCSV(nullptr, &second, pair.c_str()), 1);

    const std::string ints = writeText("ints.csv", "7,-3\n");
    int a = 0, b = 0;
    EXPECT_EQ(CalibrationDataReader::readIntFromCSV(&a, &b, ints.c_str()), 0);
    EXPECT_EQ(a, 7);
    EXPECT_EQ(b, -3);
    EXPECT_EQ(CalibrationDataReader::readIntFromCSV(nullptr, nullptr, ints.c_str()), 1);
}

TEST(CalibrationDataReader, EmptyFileIsReportedPartialMatchIsNot) {
    const std::string empty = writeText("empty.csv", "");
    double first = 9, second = 9;
    testing::internal::CaptureStdout();
    EXPECT_EQ(CalibrationDataReader::readDoubleFromCSV(&first, &second, empty.c_str()), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "fscanf error\n");
    EXPECT_EQ(first, 9);

    const std::string partial = writeText("partial.csv", "12;5\n");
    int a = 0, b = 77;
    testing::internal::CaptureStdout();
    EXPECT_EQ(CalibrationDataReader::readIntFromCSV(&a, &b, partial.c_str()), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(a, 12);
    EXPECT_EQ(b, 77);
}

}  // namespace
