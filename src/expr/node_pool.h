// Where nodes and texts live: every `CNode` with its reference count, and every `String` array,
// comes from free lists of blocks of one size, carved from large chunks. A translation makes
// and drops millions of small trees (derivatives, expansions, simplified copies); the general
// heap spends most of its time on those. Sanitizer builds take each block from the heap, so
// that use after free stays visible.
#pragma once

#include <cstddef>

void* PoolAllocate(size_t size);
void PoolFree(void* p, size_t size);

// The allocator of `std::allocate_shared` for nodes: it serves whatever type the library binds
// it to, one object at a time from the pool, arrays from the heap.
template <class T> struct NodeAllocator {
    typedef T value_type;

    NodeAllocator() = default;

    template <class U> NodeAllocator(NodeAllocator<U> const&) {}

    T* allocate(size_t n) {
        return static_cast<T*>(n == 1 ? PoolAllocate(sizeof(T)) : ::operator new(n * sizeof(T)));
    }

    void deallocate(T* p, size_t n) {
        if (n == 1)
            PoolFree(p, sizeof(T));
        else
            ::operator delete(p);
    }
};

template <class T, class U> bool operator==(NodeAllocator<T> const&, NodeAllocator<U> const&) {
    return true;
}

template <class T, class U> bool operator!=(NodeAllocator<T> const&, NodeAllocator<U> const&) {
    return false;
}
