#pragma once

// Bilinear interpolation of a regular table of grid-point displacements, for
// grids that are still regular after displacement (the triangle mesh of
// VWMT::MeshInterpolator handles the general case).

#include <vector>

#include "velmoExport.h"

// Displacement of one grid point, in pixels.
struct myOffset {
    float dx;
    float dy;
};

// The offset at (x, y) in an imageW x imageH image whose grid points sit
// imageW / maxCol and imageH / maxRow pixels apart (integer division; a zero
// divisor gives 0). table[col][row] holds the offset of each grid point, for
// col <= maxCol and row <= maxRow.
//
// A point strictly inside the grid is interpolated bilinearly and then scaled
// by 1 / 1.00001: four offsets of (1, 2) give (0.99999, 1.99998). A point on
// the border or outside takes the offset of the nearest grid point, clamped
// to the table. A table too small for the point's grid point gives (0, 0)
// and one log line. imageW and imageH are not changed.
VELMO_EXPORT myOffset bilinear_interpolation(float x, float y, const std::vector<std::vector<myOffset>>& table,
                                             int& imageW, int& imageH, int maxCol, int maxRow);
