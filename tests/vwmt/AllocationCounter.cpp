// Every heap allocation of a test program linked with this file passes
// through here, so a frame can be checked for allocations.

#include <cstdlib>
#include <new>

#include "vwmt/TransformTestSupport.h"

namespace velmo {
namespace testing {
std::atomic<bool> gCountAllocations{false};
std::atomic<long> gAllocations{0};
}  // namespace testing
}  // namespace velmo

namespace {
// Out of line, so that the compiler does not pair operator new with free.
[[gnu::noinline]] void* countedAllocation(std::size_t size, const std::nothrow_t&) noexcept {
    if (velmo::testing::gCountAllocations) ++velmo::testing::gAllocations;
    return std::malloc(size == 0 ? 1 : size);
}
void* countedAllocation(std::size_t size) {
    if (void* p = countedAllocation(size, std::nothrow)) return p;
    throw std::bad_alloc();
}
[[gnu::noinline]] void release(void* p) noexcept { std::free(p); }
}  // namespace

void* operator new(std::size_t size) { return countedAllocation(size); }
void* operator new[](std::size_t size) { return countedAllocation(size); }
void* operator new(std::size_t size, const std::nothrow_t& tag) noexcept { return countedAllocation(size, tag); }
void* operator new[](std::size_t size, const std::nothrow_t& tag) noexcept { return countedAllocation(size, tag); }
void operator delete(void* p) noexcept { release(p); }
void operator delete[](void* p) noexcept { release(p); }
void operator delete(void* p, std::size_t) noexcept { release(p); }
void operator delete[](void* p, std::size_t) noexcept { release(p); }
void operator delete(void* p, const std::nothrow_t&) noexcept { release(p); }
void operator delete[](void* p, const std::nothrow_t&) noexcept { release(p); }
