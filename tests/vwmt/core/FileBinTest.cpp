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

std::string writeFile(const std::string& name, const void* data, size_t bytes) {
    const std::string path = tempPath(name);
    std::FILE* f = std::fopen(path.c_str(), "wb");
    EXPECT_NE(f, nullptr);
    if (f != nullptr) {
        std::fwrite(data, 1, bytes, f);
        std::fclose(f);
    }
    return path;
}

template <typename T>
std::string writeRaw(const std::string& name, const std::vector<T>& values) {
    return writeFile(name, values.data(), values.size() * sizeof(T));
}

std::vector<int> intRamp(int n) {
    std::vector<int> v(n);
    for (int k = 0; k < n; ++k) v[k] = k + 1;
    return v;
}

TEST(FileBin, WriteAppendAndReadBack) {
    const std::string path = tempPath("roundtrip.bin");
    std::vector<double> head = {1.5, -2.25}, tail = {3.0, 1e300, -0.0}, back(5);
    EXPECT_EQ(File_Bin::write(path.c_str(), head.data(), sizeof(double), 2, false), 0);
    EXPECT_EQ(File_Bin::write(path.c_str(), tail.data(), sizeof(double), 3, true), 0);
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

// A short file, or a buffer that holds fewer whole elements, reads what
// there is, says so, and succeeds; the rest of the buffer is left alone.
TEST(FileBin, ShortReadsAndFailuresReportOneLine) {
    const std::string five = writeRaw("five.bin", intRamp(5)), three = writeRaw("three.bin", intRamp(3));
    const std::string noDirectory = tempPath("no_such_directory/out.bin");
    std::vector<int> buffer(5);
    double pair[2] = {1, 2};
    const struct {
        std::function<int()> call;
        int rc;
        std::string line;
    } cases[] = {
        {[&] { return File_Bin::read(three.c_str(), buffer.data(), 0, sizeof(int), 5); }, 0,
         "fread ret(3) != elementCount(5)\n"},
        {[&] { return File_Bin::read(five.c_str(), buffer.data(), 13, sizeof(int), 5); }, 0,
         "fread ret(3) != elementCount(5)\n"},
        {[&] { return File_Bin::write(noDirectory.c_str(), pair, 8, 1, false); }, 1,
         "The file " + noDirectory + " was not opened\n"},
        // The buffered write succeeds; flushing it on close finds the device full.
        {[&] { return File_Bin::write("/dev/full", pair, sizeof(double), 2, false); }, 1, ""},
    };
    for (const auto& c : cases) {
        buffer.assign(5, -1);
        testing::internal::CaptureStdout();
        EXPECT_EQ(c.call(), c.rc) << c.line;
        EXPECT_EQ(testing::internal::GetCapturedStdout(), c.line);
        EXPECT_EQ(buffer[3], -1) << c.line;
        EXPECT_EQ(buffer[2], c.rc == 0 ? 3 : -1) << c.line;
    }
}

// Tables read the counts their sizes imply and stop there, though the files
// hold more; sizes that give no elements, or (two negative ones) a positive
// count the caller has no room for, read nothing; missing files fail.
TEST(CalibrationDataReader, BinaryTablesReadTheCountsTheirSizesImply) {
    std::vector<double> ramp(30);
    for (int k = 0; k < 30; ++k) ramp[k] = 0.25 * k;
    const std::string raw = writeRaw("ramp.bin", ramp), tri = writeRaw("tri.bin", intRamp(64));
    const std::string missing = tempPath("missing_calibration");
    std::remove(missing.c_str());
    const char* r = raw.c_str();
    const char* t = tri.c_str();
    const char* m = missing.c_str();
    const std::string notOpened = "The file " + missing + " was not opened\n";
    std::vector<int> ints(40);
    std::vector<double> doubles(40);
    int* i = ints.data();
    double* d = doubles.data();
    const struct {
        std::function<int()> read;
        int doublesRead, intsRead, rc;
        std::string line;
    } cases[] = {
        {[&] { return CalibrationDataReader::read_meshVertXY(d, r, 3, 2); }, 12, 0, 0, ""},
        {[&] { return CalibrationDataReader::read_meshVertLngLat(d, r, 2, 3, 2); }, 24, 0, 0, ""},
        {[&] { return CalibrationDataReader::read_normalized_AfLensPositions(d, r, 4); }, 4, 0, 0, ""},
        {[&] { return CalibrationDataReader::read_normalized_OpticalZoomPositions(d, r, 2); }, 2, 0, 0, ""},
        {[&] { return CalibrationDataReader::read_meshTriangleVertIndices(i, t, 3, 3); }, 0, 24, 0, ""},  // 2 x 2 x 6
        {[&] { return CalibrationDataReader::read_meshTriangleVertIndices(i, t, 0, 2); }, 0, 0, 0,
         "fread ret(0) != elementCount(-6)\n"},
        {[&] { return CalibrationDataReader::read_meshTriangleVertIndices(i, t, 0, 0); }, 0, 0, 1,
         "[CalibrationDataReader][read_meshTriangleVertIndices] negative sizes give 6 elements\n"},
        {[&] { return CalibrationDataReader::read_meshTriangleVertIndices(i, t, -3, -1); }, 0, 0, 1,
         "[CalibrationDataReader][read_meshTriangleVertIndices] negative sizes give 48 elements\n"},
        {[&] { return CalibrationDataReader::read_meshVertXY(d, r, -2, -2); }, 0, 0, 1,
         "[CalibrationDataReader][read_meshVertXY] negative sizes give 8 elements\n"},
        {[&] { return CalibrationDataReader::read_meshVertLngLat(d, r, -1, 2, -1); }, 0, 0, 1,
         "[CalibrationDataReader][read_meshVertLngLat] negative sizes give 4 elements\n"},
        {[&] { return CalibrationDataReader::read_meshTriangleVertIndices(i, m, 2, 2); }, 0, 0, 1, notOpened},
        {[&] { return CalibrationDataReader::readDoubleFromCSV(d, d + 1, m); }, 0, 0, 1, notOpened},
        {[&] { return CalibrationDataReader::readIntFromCSV(i, i + 1, m); }, 0, 0, 1, notOpened},
    };
    for (const auto& c : cases) {
        ints.assign(40, -1);
        doubles.assign(40, -1.0);
        testing::internal::CaptureStdout();
        EXPECT_EQ(c.read(), c.rc) << c.line;
        EXPECT_EQ(testing::internal::GetCapturedStdout(), c.line);
        for (int k = 0; k < 40; ++k) {
            EXPECT_EQ(doubles[k], k < c.doublesRead ? 0.25 * k : -1.0) << k << " of " << c.doublesRead;
            EXPECT_EQ(ints[k], k < c.intsRead ? k + 1 : -1) << k << " of " << c.intsRead;
        }
    }
}

TEST(CalibrationDataReader, TextValues) {
    const std::string pair = writeFile("pair.csv", "3.5,4.25\n", 9), ints = writeFile("ints.csv", "7,-3\n", 5);
    double first = 0, second = 0;
    int a = 0, b = 0;
    EXPECT_EQ(CalibrationDataReader::readDoubleFromCSV(&first, &second, pair.c_str()), 0);
    EXPECT_EQ(CalibrationDataReader::readIntFromCSV(&a, &b, ints.c_str()), 0);
    EXPECT_EQ(std::vector<double>({first, second, double(a), double(b)}), (std::vector<double>{3.5, 4.25, 7, -3}));
    EXPECT_EQ(CalibrationDataReader::readDoubleFromCSV(nullptr, &second, pair.c_str()), 1);
    EXPECT_EQ(CalibrationDataReader::readIntFromCSV(nullptr, nullptr, ints.c_str()), 1);

    // An empty file is reported; a partial match is not, and keeps the rest.
    const std::string empty = writeFile("empty.csv", "", 0), partial = writeFile("partial.csv", "12;5\n", 5);
    first = 9;
    b = 77;
    testing::internal::CaptureStdout();
    EXPECT_EQ(CalibrationDataReader::readDoubleFromCSV(&first, &second, empty.c_str()), 0);
    EXPECT_EQ(CalibrationDataReader::readIntFromCSV(&a, &b, partial.c_str()), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "fscanf error\n");
    EXPECT_EQ(first, 9);
    EXPECT_EQ(a, 12);
    EXPECT_EQ(b, 77);
}

}  // namespace
