#pragma once

// Double-precision 3 x 3 utilities of the warp transformers. Matrices are 9
// doubles, row-major; point lists are packed (x, y) or (x, y, z) doubles.

#include "velmoExport.h"

namespace VWMT {

class VELMO_EXPORT MatrixUtility {
public:
    // out = transpose of the n x n matrix in; in == out is allowed.
    static void transposeSquareMatrix(double* in, double* out, int n);
    // out = a * b.
    static void multiply_3x3(double const* a, double const* b, double* out);
    // out_k = m * in_k for n packed 3-vectors.
    static void multiply_3x3_Nx3(double const* m, double const* in, double* out, int n);
    // Homogeneous mapping of n packed 2-D points through m.
    static void multiply_3x3_Nx2(double const* m, double const* in, double* out, int n);
    // Prints rows x cols values, each row as "|  v  v  |", with the caller's
    // printf format for one double; an empty line follows.
    static void print(double const* m, int rows, int cols, char const* fmt);
};

class VELMO_EXPORT MatrixUtility_Intrinsic {
public:
    // k = [[fx, 0, cx], [0, fy, cy], [0, 0, 1]].
    static void composeIntrinsicMatrix(double* k, double fx, double fy, double cx, double cy);
    // k = [[1 / fx, 0, -cx / fx], [0, 1 / fy, -cy / fy], [0, 0, 1]].
    static void composeInverseIntrinsicMatrix(double* k, double fx, double fy, double cx, double cy);
};

}  // namespace VWMT
