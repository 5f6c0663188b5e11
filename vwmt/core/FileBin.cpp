#include "vwmt/core/FileBin.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>

namespace VWMT {

namespace {

// Whole elements to transfer: none for a non-positive count or element size,
// and never more than a positive buffer size holds.
size_t elementsToTransfer(int bufferBytes, int elementSize, int count) {
    if (count <= 0 || elementSize <= 0) return 0;
    int64_t elements = count;
    if (bufferBytes > 0) elements = std::min<int64_t>(elements, bufferBytes / elementSize);
    return static_cast<size_t>(elements);
}

int closeResult(std::FILE* file) { return std::fclose(file) == 0 ? 0 : 1; }

}  // namespace

int File_Bin::read(char const* path, void* buffer, int bufferBytes, int elementSize, int count) {
    std::FILE* file = std::fopen(path, "rb");
    if (file == nullptr) {
        std::printf("The file %s was not opened\n", path);
        return 1;
    }
    const size_t wanted = elementsToTransfer(bufferBytes, elementSize, count);
    const size_t got = wanted > 0 ? std::fread(buffer, static_cast<size_t>(elementSize), wanted, file) : 0;
    if (static_cast<int64_t>(got) != count)
        std::printf("fread ret(%d) != elementCount(%d)\n", static_cast<int>(got), count);
    return closeResult(file);
}

int File_Bin::write(char const* path, void* buffer, int elementSize, int count, bool append) {
    std::FILE* file = std::fopen(path, append ? "ab" : "wb");
    if (file == nullptr) {
        std::printf("The file %s was not opened\n", path);
        return 1;
    }
    const size_t wanted = elementsToTransfer(0, elementSize, count);
    const size_t put = wanted > 0 ? std::fwrite(buffer, static_cast<size_t>(elementSize), wanted, file) : 0;
    if (static_cast<int64_t>(put) != count)
        std::printf("fwrite ret(%d) != elementCount(%d)\n", static_cast<int>(put), count);
    return closeResult(file);
}

}  // namespace VWMT
