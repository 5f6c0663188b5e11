#include "vwmt/core/CalibrationDataReader.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
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
    return readTable(out, path, int64_t{2} * W * H);
}

int CalibrationDataReader::read_meshVertLngLat(double* out, char const* path, int W, int H, int N) {
    return readTable(out, path, countProduct(int64_t{2} * W * H, N));
}

int CalibrationDataReader::read_meshTriangleVertIndices(int* out, char const* path, int W, int H) {
    return readTable(out, path, int64_t{6} * (int64_t{W} - 1) * (int64_t{H} - 1));
}

int CalibrationDataReader::readDoubleFromCSV(double* first, double* second, char const* path) {
    return readValues(first, second, path);
}

int CalibrationDataReader::readIntFromCSV(int* first, int* second, char const* path) {
    return readValues(first, second, path);
}

}  // namespace VWMT
