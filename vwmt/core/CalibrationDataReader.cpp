#include "vwmt/core/CalibrationDataReader.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <initializer_list>
#include <limits>

#include "vwmt/core/FileBin.h"

namespace VWMT {

namespace {

constexpr int64_t kIntMax = std::numeric_limits<int>::max();
constexpr int64_t kIntMin = std::numeric_limits<int>::min();

int clampToInt(int64_t v) { return static_cast<int>(std::clamp(v, kIntMin, kIntMax)); }

// Element counts are products of the mesh sizes; a product beyond 64 bits
// saturates (it is far beyond any buffer anyway).
int64_t countProduct(int64_t a, int64_t b) {
    int64_t product = 0;
    if (__builtin_mul_overflow(a, b, &product))
        return (a < 0) != (b < 0) ? std::numeric_limits<int64_t>::min() : std::numeric_limits<int64_t>::max();
    return product;
}

// Negative sizes describe no table; an odd number of them gives a negative
// count, which reads nothing, but an even number multiplies to a positive
// count of elements the caller never provided room for.
bool sizesDescribeTable(char const* reader, int64_t count, std::initializer_list<int64_t> sizes) {
    if (count <= 0) return true;
    for (const int64_t size : sizes) {
        if (size < 0) {
            std::printf("[CalibrationDataReader][%s] negative sizes give %lld elements\n", reader,
                        static_cast<long long>(count));
            return false;
        }
    }
    return true;
}

// Reads `count` elements into a buffer that the arguments say holds exactly
// that many, so a file longer than the table can never overrun it.
template <typename T>
int readTable(T* out, char const* path, int64_t count) {
    const int elements = clampToInt(count);
    const int64_t bytes = int64_t{elements} * static_cast<int64_t>(sizeof(T));
    return File_Bin::read(path, out, clampToInt(bytes), static_cast<int>(sizeof(T)), elements);
}

inline int scanValues(std::FILE* file, double* first, double* second) {
    return second != nullptr ? std::fscanf(file, "%lf,%lf", first, second) : std::fscanf(file, "%lf", first);
}

inline int scanValues(std::FILE* file, int* first, int* second) {
    return second != nullptr ? std::fscanf(file, "%d,%d", first, second) : std::fscanf(file, "%d", first);
}

// Only an empty input is reported; a partial match passes silently.
template <typename T>
int readValues(T* first, T* second, char const* path) {
    if (first == nullptr) return 1;
    std::FILE* file = std::fopen(path, "r");
    if (file == nullptr) {
        std::printf("The file %s was not opened\n", path);
        return 1;
    }
    if (scanValues(file, first, second) == EOF) std::puts("fscanf error");
    return std::fclose(file) == 0 ? 0 : 1;
}

}  // namespace

int CalibrationDataReader::read_normalized_AfLensPositions(double* out, char const* path, int n) {
    return readTable(out, path, n);
}

int CalibrationDataReader::read_normalized_OpticalZoomPositions(double* out, char const* path, int n) {
    return readTable(out, path, n);
}

int CalibrationDataReader::read_meshVertXY(double* out, char const* path, int W, int H) {
    const int64_t count = int64_t{2} * W * H;
    if (!sizesDescribeTable("read_meshVertXY", count, {W, H})) return 1;
    return readTable(out, path, count);
}

int CalibrationDataReader::read_meshVertLngLat(double* out, char const* path, int W, int H, int N) {
    const int64_t count = countProduct(int64_t{2} * W * H, N);
    if (!sizesDescribeTable("read_meshVertLngLat", count, {W, H, N})) return 1;
    return readTable(out, path, count);
}

int CalibrationDataReader::read_meshTriangleVertIndices(int* out, char const* path, int W, int H) {
    const int64_t cellsW = int64_t{W} - 1;
    const int64_t cellsH = int64_t{H} - 1;
    const int64_t count = 6 * cellsW * cellsH;
    if (!sizesDescribeTable("read_meshTriangleVertIndices", count, {cellsW, cellsH})) return 1;
    return readTable(out, path, count);
}

int CalibrationDataReader::readDoubleFromCSV(double* first, double* second, char const* path) {
    return readValues(first, second, path);
}

int CalibrationDataReader::readIntFromCSV(int* first, int* second, char const* path) {
    return readValues(first, second, path);
}

}  // namespace VWMT
