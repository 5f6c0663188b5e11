#pragma once

// Raw element arrays on disk: native byte order, no header, no padding. For
// offline tools and debugging only; no per-frame path reads or writes files.

#include "velmoExport.h"

namespace VWMT {

class VELMO_EXPORT File_Bin {
public:
    // Reads count elements of elementSize bytes from path into buffer. A
    // positive bufferBytes bounds the read to the whole elements that fit.
    // Returns 1 when the file cannot be opened or closed, else 0: a short read
    // is printed but still returns 0, so 0 does not prove the data arrived.
    static int read(char const* path, void* buffer, int bufferBytes, int elementSize, int count);

    // Writes count elements to path, appending when append is set. Returns 1
    // when the file cannot be opened or closed, else 0 (a short write is printed).
    static int write(char const* path, void* buffer, int elementSize, int count, bool append);
};

}  // namespace VWMT
