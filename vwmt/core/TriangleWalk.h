#pragma once

// The triangle walk shared by the table-driven and the mesh-reading query
// paths. Templates over where triangle corners come from and over an
// evaluation counter, so the library build carries no counting code while
// tests and benchmarks can instantiate a counting walk.

#include <cstdint>
#include <cstring>

#include "common/Numerics.h"
#include "vwmt/core/MeshInterpolator.h"

namespace velmo {
namespace mesh {

constexpr float kEps = VWMT::MeshInterpolator::EPS_FLOAT;

struct MeshShape {
    int searchLimit;
    int cellsW;
    int cellsH;
    int numTriangles;

    // A mesh narrower or shorter than two vertices has no triangle to read.
    bool hasCells() const { return cellsW > 0 && cellsH > 0; }
    bool isTriangle(int tri) const { return tri >= 0 && tri < numTriangles; }
};

// Corners (x0, y0, x1, y1, x2, y2) from the per-triangle coordinate table.
struct TableCorners {
    const float* table;
    void operator()(int tri, float* corners) const {
        std::memcpy(corners, table + 6 * int64_t{tri}, 6 * sizeof(float));
    }
};

// Corners read through the triangle list straight from the mesh positions.
struct MeshCorners {
    const int* triangles;
    const float* meshXY;
    void operator()(int tri, float* corners) const {
        const int* vertex = triangles + 3 * int64_t{tri};
        for (int k = 0; k < 3; ++k) {
            corners[2 * k] = meshXY[2 * int64_t{vertex[k]}];
            corners[2 * k + 1] = meshXY[2 * int64_t{vertex[k]} + 1];
        }
    }
};

struct NoCount {
    void evaluation() {}
};

struct EvaluationCount {
    int64_t evaluations = 0;
    void evaluation() { ++evaluations; }
};

// The denominators are the determinant and its negation, each plus EPS (not
// its magnitude): a degenerate triangle divides by EPS instead of zero.
inline bool barycentric(float x, float y, const float* p, float* bary) {
    const float x0 = p[0], y0 = p[1], x1 = p[2], y1 = p[3], x2 = p[4], y2 = p[5];
    const float b0 = ((y1 - y2) * (x - x2) - (x1 - x2) * (y - y2)) /
                     ((y1 - y2) * (x0 - x2) - (x1 - x2) * (y0 - y2) + kEps);
    const float b1 = ((y0 - y2) * (x - x2) - (x0 - x2) * (y - y2)) /
                     ((x1 - x2) * (y0 - y2) - (y1 - y2) * (x0 - x2) + kEps);
    const float b2 = (1.0f - b0) - b1;
    bary[0] = b0;
    bary[1] = b1;
    bary[2] = b2;
    auto within = [](float b) { return b >= -kEps && b <= 1.0f; };
    return within(b0) && within(b1) && within(b2);
}

inline int searchIndex(int parity, const float* bary) {
    return parity * 8 + (bary[0] > 0.0f) * 4 + (bary[1] > 0.0f) * 2 + (bary[2] > 0.0f);
}

// A triangle by index and by place: cell row and column, and parity.
struct TrianglePlace {
    int tri;
    int row;
    int col;
    int parity;
};

inline TrianglePlace locate(const MeshShape& shape, int tri) {
    const int cell = tri / 2;
    const int row = sdiv(cell, shape.cellsW);
    return {tri, row, cell - row * shape.cellsW, tri % 2};
}

// A diagonal step that would leave the mesh in one direction keeps only the
// other; a step blocked in its only direction stays on the same triangle.
inline TrianglePlace nextPlace(const MeshShape& shape, const TrianglePlace& at, const float* bary) {
    const int index = searchIndex(at.parity, bary);
    const int* step = (index >= 0 && index < 16) ? VWMT::MeshInterpolator::searchTable[index]
                                                 : VWMT::MeshInterpolator::searchTable[0];
    const int dCol = step[0], dRow = step[1], dParity = step[2];
    const bool colOK = at.col + dCol >= 0 && at.col + dCol < shape.cellsW;
    const bool rowOK = at.row + dRow >= 0 && at.row + dRow < shape.cellsH;
    const bool moveCol = colOK && (dCol != 0 || rowOK);
    const bool moveRow = rowOK && (dRow != 0 || colOK);
    const bool moveParity = moveCol || moveRow;
    TrianglePlace next = at;
    next.row += moveRow ? dRow : 0;
    next.col += moveCol ? dCol : 0;
    next.parity += moveParity ? dParity : 0;
    next.tri = 2 * (next.row * shape.cellsW + next.col) + next.parity;
    return next;
}

inline int nextTriangle(const MeshShape& shape, int tri, const float* bary) {
    return nextPlace(shape, locate(shape, tri), bary).tri;
}

// Along a query row the search starts one cell right of the previous hit; at
// a row start, one cell below the previous row's first hit.
inline int firstTriangle(const MeshShape& shape, int queryCol, int lastTri) {
    const int cell = lastTri / 2;
    const int parity = lastTri % 2;
    int row = sdiv(cell, shape.cellsW);
    int col = cell - row * shape.cellsW;
    if (queryCol != 0 && col != shape.cellsW - 1) ++col;
    if (queryCol < 1 && row != shape.cellsH - 1) ++row;
    return parity + 2 * (row * shape.cellsW + col);
}

// Returns 1 when the point lies in the triangle reported; otherwise the
// triangle reported is the last one whose coordinates were computed.
template <class Corners, class Counter>
int walk(const MeshShape& shape, const Corners& corners, Counter& counter, float x, float y,
         int startTri, int* outTri, float* bary) {
    if (shape.searchLimit < 1 || !shape.hasCells() || !shape.isTriangle(startTri)) return 0;
    TrianglePlace cur = locate(shape, startTri);
    int prev = -1;
    int steps = 0;
    do {
        float p[6];
        corners(cur.tri, p);
        counter.evaluation();
        const bool inside = barycentric(x, y, p, bary);
        *outTri = cur.tri;
        if (inside) return 1;
        const TrianglePlace next = nextPlace(shape, cur, bary);
        if (next.tri == cur.tri || next.tri == prev) return 0;
        ++steps;
        prev = cur.tri;
        cur = next;
    } while (steps < shape.searchLimit);
    return 0;
}

// out = b0 x A + b1 x B + b2 x C, per component, summed left to right.
inline void blend(const float* bary, const float* a, const float* b, const float* c, float* out) {
    out[0] = bary[0] * a[0] + bary[1] * b[0] + bary[2] * c[0];
    out[1] = bary[0] * a[1] + bary[1] * b[1] + bary[2] * c[1];
}

inline void interpolateAt(const int* triangles, int tri, const float* bary, const float* values,
                          float* out) {
    const int* vertex = triangles + 3 * int64_t{tri};
    blend(bary, values + 2 * int64_t{vertex[0]}, values + 2 * int64_t{vertex[1]},
          values + 2 * int64_t{vertex[2]}, out);
}

// The sequential query loop: the reference every faster path must match.
template <class Corners, class Counter>
void interpolateGrid(const MeshShape& shape, const int* triangles, const Corners& corners,
                     Counter& counter, int queryW, int queryH, const float* values,
                     const float* queryXY, float* out) {
    // Rows of no query points write nothing; do not walk two billion of them.
    if (!shape.hasCells() || queryW < 1) return;
    int rowStartTri = 0;
    int prevTri = 0;
    int tri = 0;
    float bary[3] = {0.0f, 0.0f, 0.0f};
    for (int r = 0; r < queryH; ++r) {
        for (int c = 0; c < queryW; ++c) {
            const int64_t i = int64_t{r} * queryW + c;
            const int start = firstTriangle(shape, c, c != 0 ? prevTri : rowStartTri);
            walk(shape, corners, counter, queryXY[2 * i], queryXY[2 * i + 1], start, &tri, bary);
            if (c == 0) rowStartTri = tri;
            prevTri = tri;
            interpolateAt(triangles, tri, bary, values, out + 2 * i);
        }
    }
}

}  // namespace mesh
}  // namespace velmo
