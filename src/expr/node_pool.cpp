// Free lists by size class (multiples of 16 bytes up to 512), filled from 64 KB chunks that
// live until the process ends. Larger blocks, and every block in a sanitizer build, go to the
// heap.
#include "expr/node_pool.h"

#include <cstdlib>
#include <new>

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

struct FreeBlock {
    FreeBlock* next;
};

FreeBlock* freeLists[kLargest / kGrain + 1];

size_t ClassOf(size_t size) {
    return (size + kGrain - 1) / kGrain;
}

// Cuts a new chunk into blocks of class 'c' and puts them on its list.
void Refill(size_t c) {
    size_t const block = c * kGrain;
    char* chunk = static_cast<char*>(malloc(kChunk));
    if (!chunk) throw std::bad_alloc();
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
