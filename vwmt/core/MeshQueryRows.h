#pragma once

// The query loop over a regular grid, in two forms that give identical bits:
// the sequential reference, and a row-parallel form. Within the loop a row
// depends on the rows above only through its first hit, so once the first
// column has been walked row after row, the remaining columns of many rows are
// walked side by side in vector lanes.

#include "vwmt/core/TriangleWalk.h"

namespace velmo {
namespace mesh {

struct RowsJob {
    MeshShape shape;
    const int* triangles;
    const float* meshXY;       // corners read through the triangle list when set
    const float* cornerTable;  // otherwise corners from the per-triangle table
    int queryW;
    int queryH;
    const float* values;
    const float* queryXY;
    float* out;
};

// Sequential reference loop.
void interpolateRowsSequential(const RowsJob& job);

// Row-parallel loop; falls back to the sequential one where lanes cannot help
// (few rows, one column, or an output that overlaps an input).
void interpolateRows(const RowsJob& job);

// The loop of a job whose corner table was just filled from meshXY through
// its triangle list. The table holds copies of the mesh's floats, so walking
// with corners read from the mesh instead tests the same triangles with the
// same bits, and lets the rows run in lockstep. That holds while the output
// overwrites neither the mesh, the table nor the triangle list; otherwise
// the table is read as usual.
void interpolateRowsOfFilledTable(const RowsJob& job, const float* meshXY);

// The row-parallel loop alone (no fallback decisions), for tests. Requires
// job.queryW >= 2 and a mesh with cells.
void interpolateRowsParallel(const RowsJob& job);

// Whether the list is the standard two-triangles-per-cell connectivity,
// (tl, bl, tr) then (tr, bl, br), cells row by row.
bool hasStandardConnectivity(const int* triangles, int cellsW, int cellsH);

// Where a loop picks up: its first row, and the first hit of the row before
// (0 at the top, as in the sequential loop).
struct RowsStart {
    int row = 0;
    int rowStartTri = 0;
};

// The row-parallel loop from row `firstRow` on, the rows above done. Returns
// false, doing nothing, when it would not run in lanes (fewer rows left than
// lanes, one column, no cells, a start that is no triangle). The output must
// not overlap an input.
bool interpolateRowsFrom(const RowsJob& job, int firstRow, int rowStartTri);

// Lanes of the row-parallel loop on this CPU.
int parallelLanes();

// Whether the row-parallel loop walks this job's rows in lockstep batches on
// this CPU (mesh read through the standard connectivity, a query grid dense
// enough in rows), for tests.
bool walksInLockstep(const RowsJob& job);

}  // namespace mesh
}  // namespace velmo
