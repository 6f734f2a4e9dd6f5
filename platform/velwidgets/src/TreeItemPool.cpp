#include "TreeItemPool.h"

#include <new>

namespace wxUtils {

TreeItemPool::SizeClass& TreeItemPool::sizeClass(size_t size) {
    static SizeClass classes[MaxBlock / Granule];
    return classes[(size + Granule - 1) / Granule - 1];
}

void* TreeItemPool::allocate(size_t size) {
    if (size == 0 || size > MaxBlock) return ::operator new(size);
    SizeClass& pool = sizeClass(size);
    const size_t block = (size + Granule - 1) / Granule * Granule;
    ++pool.live;
    if (FreeBlock* head = pool.free) {
        pool.free = head->next;
        return head;
    }
    if (pool.slabs.empty() || pool.carved + block > SlabBytes) {
        pool.slabs.push_back(static_cast<char*>(::operator new(SlabBytes)));
        pool.carved = 0;
    }
    void* result = pool.slabs.back() + pool.carved;
    pool.carved += block;
    return result;
}

void TreeItemPool::release(void* block, size_t size) {
    if (!block) return;
    if (size == 0 || size > MaxBlock) {
        ::operator delete(block);
        return;
    }
    SizeClass& pool = sizeClass(size);
    auto* freed = static_cast<FreeBlock*>(block);
    freed->next = pool.free;
    pool.free = freed;
    if (--pool.live == 0) {  // nothing left in this class: give the slabs back
        for (char* slab : pool.slabs) ::operator delete(slab);
        pool.slabs.clear();
        pool.free = nullptr;
        pool.carved = 0;
    }
}

}  // namespace wxUtils
