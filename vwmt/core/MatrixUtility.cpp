#include "vwmt/core/MatrixUtility.h"

#include <cstddef>
#include <cstdio>

#include "common/Numerics.h"

namespace VWMT {

namespace {

// Row i of a times column j of b, accumulated from +0 in the order k = 0, 1, 2.
double rowTimesColumn(double const* a, double const* b, int i, int j) {
    double sum = 0.0;
    for (int k = 0; k < 3; ++k) sum = sum + a[i * 3 + k] * b[k * 3 + j];
    return sum;
}

// m times the 3-vector v, accumulated the same way.
void mapVector(double const* m, double const* v, double* out) {
    double result[3];
    for (int i = 0; i < 3; ++i) {
        double sum = 0.0;
        for (int k = 0; k < 3; ++k) sum = sum + m[i * 3 + k] * v[k];
        result[i] = sum;
    }
    for (int i = 0; i < 3; ++i) out[i] = result[i];
}

}  // namespace

void MatrixUtility::transposeSquareMatrix(double* in, double* out, int n) {
    if (n < 1) return;
    const ptrdiff_t size = n;
    for (ptrdiff_t row = 1; row < size; ++row) {
        for (ptrdiff_t col = 0; col < row; ++col) {
            const double lower = in[row * size + col];
            const double upper = in[col * size + row];
            out[row * size + col] = upper;
            out[col * size + row] = lower;
        }
    }
    for (ptrdiff_t d = 0; d < size; ++d) out[d * size + d] = in[d * size + d];
}

// The product goes through a local copy so that out may alias a or b.
void MatrixUtility::multiply_3x3(double const* a, double const* b, double* out) {
    double product[9];
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) product[i * 3 + j] = rowTimesColumn(a, b, i, j);
    for (int e = 0; e < 9; ++e) out[e] = product[e];
}

void MatrixUtility::multiply_3x3_Nx3(double const* m, double const* in, double* out, int n) {
    for (ptrdiff_t k = 0; k < n; ++k) mapVector(m, in + 3 * k, out + 3 * k);
}

void MatrixUtility::multiply_3x3_Nx2(double const* m, double const* in, double* out, int n) {
    for (ptrdiff_t k = 0; k < n; ++k) {
        const double x = in[2 * k];
        const double y = in[2 * k + 1];
        const double w = m[8] + (m[6] * x + m[7] * y);
        out[2 * k] = (m[2] + (x * m[0] + y * m[1])) / w;
        out[2 * k + 1] = (m[5] + (m[3] * x + m[4] * y)) / w;
    }
}

void MatrixUtility::print(double const* m, int rows, int cols, char const* fmt) {
    for (ptrdiff_t r = 0; r < rows; ++r) {
        std::printf("|  ");
        for (ptrdiff_t c = 0; c < cols; ++c) {
            std::printf(fmt, velmo::printable(m[r * cols + c]));
            std::printf("  ");
        }
        std::printf("|\n");
    }
    std::puts("\n");
}

void MatrixUtility_Intrinsic::composeIntrinsicMatrix(double* k, double fx, double fy, double cx, double cy) {
    const double matrix[9] = {fx, 0.0, cx, 0.0, fy, cy, 0.0, 0.0, 1.0};
    for (int e = 0; e < 9; ++e) k[e] = matrix[e];
}

void MatrixUtility_Intrinsic::composeInverseIntrinsicMatrix(double* k, double fx, double fy, double cx,
                                                            double cy) {
    const double matrix[9] = {1.0 / fx, 0.0, -cx / fx, 0.0, 1.0 / fy, -cy / fy, 0.0, 0.0, 1.0};
    for (int e = 0; e < 9; ++e) k[e] = matrix[e];
}

}  // namespace VWMT
