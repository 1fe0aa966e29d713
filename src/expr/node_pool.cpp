// Free lists by size class (multiples of 16 bytes up to 512), filled from 64 KB chunks of one
// span of reserved address space. Since the span tells a pooled block from any other, the
// global operator new and delete use the pool too: besides nodes, a translation makes and
// drops hundreds of thousands of small container blocks. Larger blocks, and every block in a
// sanitizer build, go to the heap; so does everything when the span can't be reserved.
#include "expr/node_pool.h"

#include <cstdint>
#include <cstdlib>
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
constexpr size_t kHugePage = 2 * 1024 * 1024; // the span starts at a multiple of it
constexpr size_t kSpan = size_t(4) << 30;     // address space only: pages cost when touched

struct FreeBlock {
    FreeBlock* next;
};

FreeBlock* freeLists[kLargest / kGrain + 1];
unsigned char chunkClass[kSpan / kChunk]; // the size class of each chunk handed out

size_t ClassOf(size_t size) {
    return size == 0 ? 1 : (size + kGrain - 1) / kGrain;
}

char* spanBase = nullptr;
char* spanNext = nullptr;
char* spanEnd = nullptr;
bool spanTried = false;

// Reserves the span, once; without it the pool stays empty. The kernel is asked to back it
// with huge pages: a page fault then clears 2 MB instead of 4 KB, which costs less even for a
// small model that touches a few hundred KB.
void ReserveSpan() {
    spanTried = true;
    void* raw = mmap(nullptr, kSpan + kHugePage, PROT_READ | PROT_WRITE,
                     MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (raw == MAP_FAILED) return;
    uintptr_t const start = reinterpret_cast<uintptr_t>(raw);
    spanBase = reinterpret_cast<char*>((start + kHugePage - 1) & ~uintptr_t(kHugePage - 1));
    spanNext = spanBase;
    spanEnd = spanBase + kSpan;
    madvise(spanBase, kSpan, MADV_HUGEPAGE);
}

bool InSpan(void const* p) {
    return p >= spanBase && p < spanEnd;
}

// The next chunk of the span, or null when there is none.
char* NewChunk() {
    if (!spanTried) ReserveSpan();
    if (spanNext == spanEnd) return nullptr;
    char* chunk = spanNext;
    spanNext += kChunk;
    return chunk;
}

// Cuts a new chunk into blocks of class 'c' and puts them on its list; false without a chunk.
bool Refill(size_t c) {
    size_t const block = c * kGrain;
    char* chunk = NewChunk();
    if (!chunk) return false;
    chunkClass[size_t(chunk - spanBase) / kChunk] = static_cast<unsigned char>(c);
    for (size_t off = 0; off + block <= kChunk; off += block) {
        FreeBlock* b = reinterpret_cast<FreeBlock*>(chunk + off);
        b->next = freeLists[c];
        freeLists[c] = b;
    }
    return true;
}

void* HeapAllocate(size_t size) {
    void* p = std::malloc(size == 0 ? 1 : size);
    if (!p) throw std::bad_alloc();
    return p;
}

} // namespace

#ifndef VARO5_POOL_OFF

void* PoolAllocate(size_t size) {
    if (size > kLargest) return HeapAllocate(size);
    size_t const c = ClassOf(size);
    if (!freeLists[c] && !Refill(c)) return HeapAllocate(size);
    FreeBlock* b = freeLists[c];
    freeLists[c] = b->next;
    return b;
}

void PoolFree(void* p) {
    if (!InSpan(p)) return std::free(p);
    FreeBlock* b = static_cast<FreeBlock*>(p);
    size_t const c = chunkClass[size_t(static_cast<char*>(p) - spanBase) / kChunk];
    b->next = freeLists[c];
    freeLists[c] = b;
}

void* operator new(size_t size) {
    return PoolAllocate(size);
}

void* operator new[](size_t size) {
    return PoolAllocate(size);
}

void operator delete(void* p) noexcept {
    PoolFree(p);
}

void operator delete[](void* p) noexcept {
    PoolFree(p);
}

void operator delete(void* p, size_t) noexcept {
    PoolFree(p);
}

void operator delete[](void* p, size_t) noexcept {
    PoolFree(p);
}

#else

void* PoolAllocate(size_t size) {
    return ::operator new(size);
}

void PoolFree(void* p) {
    ::operator delete(p);
}

#endif
