#pragma once

// Sorted one-dimensional resampling in two passes: positions become a table of
// (index, weight) records once per geometry, and the table is then applied to
// as many interleaved components and rows as needed.

#include "velmoExport.h"

namespace VWMT {

class VELMO_EXPORT Interp1_Sorted {
public:
    // One record of four floats per query, in query order: i0, w0, i1, w1
    // (indices stored as floats).
    static constexpr int kRecordFloats = 4;

    // x: nX ascending sample positions; q: nQ ascending query positions.
    // Queries outside the samples clamp to the end samples. The sample cursor
    // never moves back, so a query below an earlier one clamps to the current
    // left sample.
    // Example: x = (0, 10, 20), q = 5 gives the record (0, 0.5, 1, 0.5).
    static void getIndicesAndWeights(float* out, int nX, float const* x, int nQ, float const* q);

    // As above, for samples and queries that may each be descending. The
    // reversed copies go to the caller's arrays *xWork (nX floats) and *qWork
    // (nQ floats); records follow the caller's query order and indices the
    // caller's sample order.
    static void getIndicesAndWeights(float* out, int nX, float const* x, bool xDescending, float** xWork,
                                     int nQ, float const* q, bool qDescending, float** qWork);

    // out[k * stride + e] = w0 * data[i0 * stride + e] + w1 * data[i1 * stride + e]
    // for every query k and component e. Returns the end of the written output.
    static float* applyWeightedSum(float* out, int nQ, int stride, float const* table, float const* data);

    // Exchanges two floats (the historic name says doubles).
    static void swapDoubles(float* a, float* b);
};

}  // namespace VWMT
