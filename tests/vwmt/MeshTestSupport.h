#pragma once

// Meshes, query grids and an independent containment search for the mesh
// interpolation tests and benchmarks.

#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

namespace velmo {
namespace testing {

struct TestMesh {
    int w = 0;
    int h = 0;
    std::vector<float> xy;   // interleaved positions
    std::vector<int> tris;   // three vertex indices per triangle
};

// Two triangles per cell: (tl, bl, tr) then (tr, bl, br), cells row by row.
inline std::vector<int> cellTriangles(int w, int h) {
    std::vector<int> tris;
    for (int r = 0; r + 1 < h; ++r) {
        for (int c = 0; c + 1 < w; ++c) {
            const int v = r * w + c;
            tris.insert(tris.end(), {v, v + w, v + 1, v + 1, v + w, v + w + 1});
        }
    }
    return tris;
}

// kind 0: uniform; 1: smooth sinusoidal displacement of a few pixels;
// 2: strong random jitter of up to `jitter` of a cell in each direction.
inline TestMesh makeMesh(int w, int h, float width, float height, int kind, double jitter = 0.3,
                         unsigned seed = 7) {
    TestMesh mesh;
    mesh.w = w;
    mesh.h = h;
    mesh.tris = cellTriangles(w, h);
    const double cellW = width / (w - 1), cellH = height / (h - 1);
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> unit(-1.0, 1.0);
    for (int r = 0; r < h; ++r) {
        for (int c = 0; c < w; ++c) {
            double x = c * cellW, y = r * cellH;
            if (kind == 1) {
                const double u = x, v = y;
                x += 0.12 * cellW * std::sin(v / height * 3.1) + 0.05 * cellW * std::cos(u / width * 2.3);
                y += 0.10 * cellH * std::cos(u / width * 2.7) - 0.04 * cellH * std::sin(v / height * 1.9);
            } else if (kind == 2) {
                x += jitter * cellW * unit(random);
                y += jitter * cellH * unit(random);
            }
            mesh.xy.push_back(static_cast<float>(x));
            mesh.xy.push_back(static_cast<float>(y));
        }
    }
    return mesh;
}

// Regular query grid from (x0, y0) to (x1, y1) inclusive.
inline std::vector<float> makeQueries(int w, int h, double x0, double x1, double y0, double y1) {
    std::vector<float> q;
    for (int r = 0; r < h; ++r) {
        for (int c = 0; c < w; ++c) {
            q.push_back(static_cast<float>(x0 + (w > 1 ? (x1 - x0) * c / (w - 1) : 0.0)));
            q.push_back(static_cast<float>(y0 + (h > 1 ? (y1 - y0) * r / (h - 1) : 0.0)));
        }
    }
    return q;
}

// Barycentric coordinates in double from the signed areas.
inline void doubleBarycentric(const TestMesh& mesh, int tri, double x, double y, double* b) {
    const int* v = &mesh.tris[3 * tri];
    const double x0 = mesh.xy[2 * v[0]], y0 = mesh.xy[2 * v[0] + 1];
    const double x1 = mesh.xy[2 * v[1]], y1 = mesh.xy[2 * v[1] + 1];
    const double x2 = mesh.xy[2 * v[2]], y2 = mesh.xy[2 * v[2] + 1];
    const double area = (x1 - x0) * (y2 - y0) - (x2 - x0) * (y1 - y0);
    b[0] = ((x1 - x) * (y2 - y) - (x2 - x) * (y1 - y)) / area;
    b[1] = ((x2 - x) * (y0 - y) - (x0 - x) * (y2 - y)) / area;
    b[2] = 1.0 - b[0] - b[1];
}

// Every triangle that contains the point, allowing `slack` in barycentric units.
inline std::vector<int> containingTriangles(const TestMesh& mesh, double x, double y, double slack) {
    std::vector<int> hits;
    const int count = static_cast<int>(mesh.tris.size() / 3);
    for (int tri = 0; tri < count; ++tri) {
        double b[3];
        doubleBarycentric(mesh, tri, x, y, b);
        if (b[0] >= -slack && b[1] >= -slack && b[2] >= -slack) hits.push_back(tri);
    }
    return hits;
}

}  // namespace testing
}  // namespace velmo
