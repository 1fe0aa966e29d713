// Free lists by size class (multiples of 16 bytes up to 512), filled from 64 KB chunks of
// 2 MB regions that live until the process ends. Larger blocks, and every block in a sanitizer
// build, go to the heap.
#include "expr/node_pool.h"

#include <cstdint>
#include <new>
#include <sys/mman.h>

#if defined(__SANITIZE_ADDRESS__)
#define VARO5_POOL_OFF 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define VARO5_POOL_OFF 1
#endif
#endif

namespace {

constexpr size_t kGrain = 16;
constexpr size_t kLargest = 512;
constexpr size_t kChunk = 64 * 1024;
constexpr size_t kRegion = 2 * 1024 * 1024;

struct FreeBlock {
    FreeBlock* next;
};

FreeBlock* freeLists[kLargest / kGrain + 1];

size_t ClassOf(size_t size) {
    return (size + kGrain - 1) / kGrain;
}

char* regionNext = nullptr;
char* regionEnd = nullptr;
int regions = 0;

// A region of kRegion bytes at a multiple of kRegion. From the second region on, the kernel is
// asked to back it with huge pages: a large model then takes a page fault per region instead
// of one per 4 KB, while a small one never touches more than its first region.
char* NewRegion() {
    void* raw =
        mmap(nullptr, 2 * kRegion, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (raw == MAP_FAILED) throw std::bad_alloc();
    char* start = static_cast<char*>(raw);
    char* aligned = reinterpret_cast<char*>((reinterpret_cast<uintptr_t>(start) + kRegion - 1) &
                                            ~uintptr_t(kRegion - 1));
    if (aligned > start) munmap(start, size_t(aligned - start));
    char* end = aligned + kRegion;
    if (start + 2 * kRegion > end) munmap(end, size_t(start + 2 * kRegion - end));
    if (regions++ > 0) madvise(aligned, kRegion, MADV_HUGEPAGE);
    return aligned;
}

char* NewChunk() {
    if (regionNext == regionEnd) {
        regionNext = NewRegion();
        regionEnd = regionNext + kRegion;
    }
    char* chunk = regionNext;
    regionNext += kChunk;
    return chunk;
}

// Cuts a new chunk into blocks of class 'c' and puts them on its list.
void Refill(size_t c) {
    size_t const block = c * kGrain;
    char* chunk = NewChunk();
    for (size_t off = 0; off + block <= kChunk; off += block) {
        FreeBlock* b = reinterpret_cast<FreeBlock*>(chunk + off);
        b->next = freeLists[c];
        freeLists[c] = b;
    }
}

} // namespace

void* PoolAllocate(size_t size) {
#ifndef VARO5_POOL_OFF
    if (size > 0 && size <= kLargest) {
        size_t const c = ClassOf(size);
        if (!freeLists[c]) Refill(c);
        FreeBlock* b = freeLists[c];
        freeLists[c] = b->next;
        return b;
    }
#endif
    return ::operator new(size);
}

void PoolFree(void* p, size_t size) {
#ifndef VARO5_POOL_OFF
    if (size > 0 && size <= kLargest) {
        FreeBlock* b = static_cast<FreeBlock*>(p);
        size_t const c = ClassOf(size);
        b->next = freeLists[c];
        freeLists[c] = b;
        return;
    }
#endif
    ::operator delete(p);
}
