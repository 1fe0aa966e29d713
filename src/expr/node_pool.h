// Where small blocks live: nodes, texts and container blocks of up to 512 bytes come from free
// lists of blocks of one size, carved from large chunks; node_pool.cpp also replaces the global
// operator new and delete with these two. A translation makes and drops millions of small trees
// (derivatives, expansions, simplified copies) and the containers that index them; the general
// heap spends most of its time on those. Sanitizer builds take each block from the heap, so
// that use after free stays visible. The translator runs on one thread; so does the pool.
#pragma once

#include <cstddef>

void* PoolAllocate(size_t size);
void PoolFree(void* p);
