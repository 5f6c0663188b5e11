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

// A write without append starts the file over. Readers fill the counts
// their sizes imply and stop there, though the files hold more; a buffer too
// small for the count reads what fits, says so, and succeeds. Sizes that
// give no elements, or (two negative ones) a positive count the caller has no
// room for, read nothing; missing files fail. Of a text pair, only an empty
// file is reported; a partial match keeps the rest.
TEST(CalibrationDataReader, ReadsTheCountsTheirSizesImplyAndReportsOneLine) {
    std::vector<double> ramp(30);
    std::vector<int> intRamp(64);
    for (int k = 0; k < 64; ++k) intRamp[k] = k + 1;
    for (int k = 0; k < 30; ++k) ramp[k] = 0.25 * k;
    const std::string raw = writeFile("ramp.bin", ramp.data(), 30 * sizeof(double));
    const std::string tri = writeFile("tri.bin", intRamp.data(), 64 * sizeof(int));
    const std::string pair = writeFile("pair.csv", "0,0.25\n", 7), ints = writeFile("ints.csv", "1,2\n", 4);
    const std::string empty = writeFile("empty.csv", "", 0), partial = writeFile("partial.csv", "1;5\n", 4);
    const std::string missing = tempPath("missing_calibration"), noDirectory = tempPath("no_such_directory/x");
    const std::string written = tempPath("written.bin");
    const char* w = written.c_str();
    std::remove(missing.c_str());
    const char* r = raw.c_str();
    const char* t = tri.c_str();
    const char* m = missing.c_str();
    const std::string notOpened = "The file " + missing + " was not opened\n";
    std::vector<int> ints40(40);
    std::vector<double> doubles(40);
    int* i = ints40.data();
    double* d = doubles.data();
    double two[2] = {1, 2};
    const struct {
        std::function<int()> read;
        int doublesRead, intsRead, rc;
        std::string line;
    } cases[] = {
        {[&] {
             return File_Bin::write(w, &ramp[9], 8, 3, false) + File_Bin::write(w, &ramp[0], 8, 2, false) +
                    File_Bin::write(w, &ramp[2], 8, 3, true) + File_Bin::read(w, d, 40 * 8, 8, 5);
         },
         5, 0, 0, ""},
        {[&] { return CalibrationDataReader::read_meshVertXY(d, r, 3, 2); }, 12, 0, 0, ""},
        {[&] { return CalibrationDataReader::read_meshVertLngLat(d, r, 2, 3, 2); }, 24, 0, 0, ""},
        {[&] { return CalibrationDataReader::read_normalized_AfLensPositions(d, r, 4); }, 4, 0, 0, ""},
        {[&] { return CalibrationDataReader::read_meshTriangleVertIndices(i, t, 3, 3); }, 0, 24, 0, ""},  // 2 x 2 x 6
        {[&] { return File_Bin::read(t, i, 13, sizeof(int), 5); }, 0, 3, 0, "fread ret(3) != elementCount(5)\n"},
        {[&] { return CalibrationDataReader::readDoubleFromCSV(d, d + 1, pair.c_str()); }, 2, 0, 0, ""},
        {[&] { return CalibrationDataReader::readIntFromCSV(i, i + 1, ints.c_str()); }, 0, 2, 0, ""},
        {[&] { return CalibrationDataReader::readIntFromCSV(i, i + 1, partial.c_str()); }, 0, 1, 0, ""},
        {[&] { return CalibrationDataReader::readDoubleFromCSV(d, d + 1, empty.c_str()); }, 0, 0, 0, "fscanf error\n"},
        {[&] { return CalibrationDataReader::readDoubleFromCSV(nullptr, d, pair.c_str()); }, 0, 0, 1, ""},
        {[&] { return CalibrationDataReader::read_meshTriangleVertIndices(i, t, 0, 2); }, 0, 0, 0,
         "fread ret(0) != elementCount(-6)\n"},
        {[&] { return CalibrationDataReader::read_meshTriangleVertIndices(i, t, -3, -1); }, 0, 0, 1,
         "[CalibrationDataReader][read_meshTriangleVertIndices] negative sizes give 48 elements\n"},
        {[&] { return CalibrationDataReader::read_meshVertXY(d, r, -2, -2); }, 0, 0, 1,
         "[CalibrationDataReader][read_meshVertXY] negative sizes give 8 elements\n"},
        {[&] { return CalibrationDataReader::read_meshVertLngLat(d, r, -1, 2, -1); }, 0, 0, 1,
         "[CalibrationDataReader][read_meshVertLngLat] negative sizes give 4 elements\n"},
        {[&] { return CalibrationDataReader::read_meshTriangleVertIndices(i, m, 2, 2); }, 0, 0, 1, notOpened},
        {[&] { return File_Bin::write(noDirectory.c_str(), two, 8, 1, false); }, 0, 0, 1,
         "The file " + noDirectory + " was not opened\n"},
        // The buffered write succeeds; flushing it on close finds the device full.
        {[&] { return File_Bin::write("/dev/full", two, sizeof(double), 2, false); }, 0, 0, 1, ""},
    };
    for (const auto& c : cases) {
        ints40.assign(40, -1);
        doubles.assign(40, -1.0);
        testing::internal::CaptureStdout();
        EXPECT_EQ(c.read(), c.rc) << c.line;
        EXPECT_EQ(testing::internal::GetCapturedStdout(), c.line);
        for (int k = 0; k < 40; ++k) {
            EXPECT_EQ(doubles[k], k < c.doublesRead ? 0.25 * k : -1.0) << k << " of " << c.doublesRead;
            EXPECT_EQ(ints40[k], k < c.intsRead ? k + 1 : -1) << k << " of " << c.intsRead;
        }
    }
}

}  // namespace
