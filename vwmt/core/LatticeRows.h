#pragma once

// The query loop on a mesh whose vertices form an evenly spaced axis-aligned
// lattice (x a function of the column only, y of the row only), as the merge
// builds it. There the triangle a walk ends on can be told from the point
// itself for all but a thin band around the lattice lines, without walking;
// those points and every other case are walked as in the sequential loop.
// The bits are the sequential loop's either way (see LatticeRows.cpp).

#include <cstdint>

#include "vwmt/core/MeshQueryRows.h"

namespace velmo {
namespace mesh {

// A hit at most this many cells (in rows and in columns) from the walk's
// start is taken without walking. Every walk over the lattice from such a
// start reaches the hit in at most 2 x kLatticeReach + 1 steps without
// leaving the cells spanned by the start and the hit.
constexpr int kLatticeReach = 6;
constexpr int kLatticeMaxSteps = 2 * kLatticeReach + 1;

// A point is taken without walking only when each of its weights in the
// triangle found lies in [kLatticeMargin, 1 - kLatticeMargin].
constexpr float kLatticeMargin = 1e-3f;

// How many queries of the last call were located, how many walked one by
// one, and how many were left to the row-parallel walk.
struct LatticeCounts {
    int64_t located = 0;
    int64_t walked = 0;
    int64_t handedOver = 0;
};

// Whether the job's mesh is a lattice the loop below accepts: positions read
// through the standard two-triangles-per-cell list, x equal bit for bit along
// each column and y along each row, both strictly increasing, every vertex
// within 1e-5 of a cell of the evenly spaced position, cells between 1e-3 and
// 1e9 on a side, and a search limit above kLatticeMaxSteps.
bool isEvenLattice(const RowsJob& job);

// Runs the job when isEvenLattice holds and returns true; otherwise writes
// nothing and returns false. The output must not overlap an input.
bool interpolateRowsOnLattice(const RowsJob& job, LatticeCounts* counts = nullptr);

}  // namespace mesh
}  // namespace velmo
