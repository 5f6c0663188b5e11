#pragma once

// Calibration tables of a lens-and-mesh model (raw native-order files) and
// single values from one-line text files. Each reader returns 0, or 1 when the
// file cannot be opened or closed; a short file is printed but still gives 0.

#include "velmoExport.h"

namespace VWMT {

class VELMO_EXPORT CalibrationDataReader {
public:
    // n normalised positions (doubles).
    static int read_normalized_AfLensPositions(double* out, char const* path, int n);
    static int read_normalized_OpticalZoomPositions(double* out, char const* path, int n);
    // W x H mesh vertices, (x, y) doubles, row by row.
    static int read_meshVertXY(double* out, char const* path, int W, int H);
    // N planes of a W x H mesh, (longitude, latitude) doubles.
    static int read_meshVertLngLat(double* out, char const* path, int W, int H, int N);
    // Six int32 vertex indices per cell of a W x H mesh (two triangles).
    static int read_meshTriangleVertIndices(int* out, char const* path, int W, int H);

    // "%lf,%lf" into first and second, or "%lf" into first alone when second
    // is null. Returns 1 at once when first is null.
    static int readDoubleFromCSV(double* first, double* second, char const* path);
    // The same with "%d,%d" and "%d".
    static int readIntFromCSV(int* first, int* second, char const* path);
};

}  // namespace VWMT
