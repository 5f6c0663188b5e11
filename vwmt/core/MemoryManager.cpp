#include "vwmt/core/MemoryManager.h"

#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <new>

namespace VWMT {
namespace {

// Element counts are formed in 64 bits so that no sizing argument can
// overflow them; a product beyond 64 bits saturates and is then refused as
// larger than any block.
int64_t product(int64_t a, int64_t b) {
    int64_t result = 0;
    if (__builtin_mul_overflow(a, b, &result)) return INT64_MAX;
    return result;
}

int64_t product(int64_t a, int64_t b, int64_t c) { return product(product(a, b), c); }

bool isEightByteArray(int index) {
    return index == 19 || index == 21 || (index >= 40 && index <= 43) || index == 45;
}

}  // namespace

MemoryManager::MemoryManager(int heapSize, void* buffer, int listLenA, int listLenB, int meshW,
                             int meshH, int vecW, int vecH, int bufW, int bufH, int bufDepth,
                             int scratchLen)
    : base_(nullptr), cursor_(nullptr), capacity_(heapSize), ownsBlock_(buffer == nullptr),
      arrays_{} {
    if (buffer != nullptr) {
        base_ = static_cast<unsigned char*>(buffer);
    } else if (heapSize > 0) {
        base_ = new (std::nothrow) unsigned char[static_cast<size_t>(heapSize)];
    }
    cursor_ = base_;
    arrangeMemoryForArrays(listLenA, listLenB, meshW, meshH, vecW, vecH, bufW, bufH, bufDepth,
                           scratchLen);
}

MemoryManager::~MemoryManager() {
    if (ownsBlock_ && base_ != nullptr) delete[] base_;
}

unsigned char* MemoryManager::carve(const char* what, int index, int64_t count, int elementBytes) {
    char request[48];
    std::snprintf(request, sizeof request, what, index);
    if (count < 0) {
        std::printf("MemoryManager: %s refused, negative element count %" PRId64 "\n", request,
                    count);
        return nullptr;
    }
    const int64_t bytes = product(count, elementBytes);
    const int64_t used = cursor_ - base_;
    const int64_t room = capacity_ > used ? capacity_ - used : 0;
    if (bytes > room) {
        std::printf("MemoryManager: %s refused, %" PRId64 " bytes requested with %" PRId64
                    " of %d bytes left\n",
                    request, bytes, room, capacity_);
        return nullptr;
    }
    unsigned char* start = cursor_;
    if (bytes > 0) cursor_ += bytes;
    return start;
}

void MemoryManager::arrangeMemoryForArrays(int listLenA, int listLenB, int meshW, int meshH,
                                           int vecW, int vecH, int bufW, int bufH, int bufDepth,
                                           int scratchLen) {
    const int64_t n = product(meshW, meshH);
    const int64_t cells = product(int64_t{meshW} - 1, int64_t{meshH} - 1);
    const int64_t v = product(vecW, vecH);
    const int64_t g = product(bufW, bufH, bufDepth);
    const int64_t vecSum = int64_t{vecW} + vecH;
    const int64_t meshSum = int64_t{meshW} + meshH;

    // Element count of every array, in carving order; 8-byte arrays are
    // marked by isEightByteArray.
    const int64_t counts[kArrayCount] = {
        listLenA, listLenB, product(2, n), product(product(2, n), listLenA, listLenB),
        product(6, cells),
        product(2, n), product(2, n), product(2, n), product(2, n), product(2, n), product(2, n),
        product(3, n), product(6, cells),
        product(2, v), product(2, v), product(2, v), product(2, v),
        scratchLen, product(2, vecW), vecH, product(2, vecW), vecH,
        vecSum, vecSum, meshSum, meshSum, vecSum, meshSum, product(4, vecSum), vecSum,
        vecW, vecH,
        product(3, meshW), product(3, meshH), product(3, meshW), product(3, meshH),
        product(3, meshW), product(3, meshH), product(3, meshW), product(3, meshH),
        meshW, meshH, meshW, meshH,
        product(2, vecW), vecH,
        product(3, n), product(2, n), product(2, n),
        product(12, cells), product(12, cells),
        product(2, g), product(2, g)};

    for (int index = 0; index < kArrayCount; ++index) {
        arrays_[index] = carve("array %d", index, counts[index], isEightByteArray(index) ? 8 : 4);
    }
}

float* MemoryManager::allocateFloat(int count) {
    return reinterpret_cast<float*>(carve("allocateFloat(%d)", count, count, 4));
}

int* MemoryManager::allocateInt(int count) {
    return reinterpret_cast<int*>(carve("allocateInt(%d)", count, count, 4));
}

void* MemoryManager::allocateDouble(int count) { return carve("allocateDouble(%d)", count, count, 8); }

void MemoryManager::printMemoryUsage(const char* unit) const {
    const int used = static_cast<int>(cursor_ - base_);
    if (std::strcmp(unit, "B") == 0) {
        std::printf("Memory Heap Utilization: %d / %d (Bytes)\n", used, capacity_);
    } else if (std::strcmp(unit, "KB") == 0) {
        std::printf("Memory Heap Utilization: %.2f / %.2f (KB)\n", used * 0.0009765625,
                    capacity_ * 0.0009765625);
    } else if (std::strcmp(unit, "MB") == 0) {
        std::printf("Memory Heap Utilization: %.2f / %.2f (MB)\n", used * 9.5367431640625e-7,
                    capacity_ * 9.5367431640625e-7);
    }
}

unsigned char* MemoryManager::arrayAddress(int index) const {
    if (index < 0 || index >= kArrayCount) return nullptr;
    return arrays_[index];
}

float* MemoryManager::floatArray(int index) const {
    unsigned char* address = arrayAddress(index);
    if (address == nullptr || isEightByteArray(index)) return nullptr;
    if (reinterpret_cast<uintptr_t>(address) % alignof(float) != 0) return nullptr;
    return reinterpret_cast<float*>(address);
}

int* MemoryManager::intArray(int index) const {
    return reinterpret_cast<int*>(floatArray(index));
}

double MemoryManager::readDouble(int index, int element) const {
    double value = 0.0;
    std::memcpy(&value, arrayAddress(index) + int64_t{element} * 8, sizeof value);
    return value;
}

void MemoryManager::writeDouble(int index, int element, double value) const {
    std::memcpy(arrayAddress(index) + int64_t{element} * 8, &value, sizeof value);
}

}  // namespace VWMT
