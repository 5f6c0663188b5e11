#pragma once

// A ring of whole warp grids keyed by a running serial number. Its storage is
// one of the arena's arrays (identifier 11 or 12); the ring owns no memory.

#include "velmoExport.h"
#include "vwmt/core/MemoryManager.h"

namespace VWMT {

class VELMO_EXPORT Grid_Buffer {
public:
    // Status codes of store and get.
    static constexpr int kOk = 0;
    static constexpr int kTooOld = 1;
    static constexpr int kTooNew = 2;

    Grid_Buffer(MemoryManager const* arena, int bufferId, int gridW, int gridH, int depth);

    void createArrays(MemoryManager const* arena);

    int storeGrid(float* grid, int serial);
    int assignExpandedScalarToGrid(double value, int serial);
    int getGrid(float* out, int serial);
    float* getGridPointer(int serial);
    void copyGrid(float* dst, float const* src);
    void printGrid(int serial);
    void printGrid(float const* grid);

    int latestSerial() const { return latestSerial_; }

private:
    VELMO_LOCAL bool isTooOld(int serial) const;
    VELMO_LOCAL float* slot(int serial) const;
    VELMO_LOCAL void noteStored(int serial);
    VELMO_LOCAL void printRow(float const* grid, int row, int k) const;

    int bufferId_;
    int gridW_;
    int gridH_;
    int gridSize_;
    int depth_;
    int latestSerial_;
    float* storage_;
};

}  // namespace VWMT
