#pragma once

#include <cstddef>
#include <vector>

namespace wxUtils {

// Memory for tree items: a large tree allocates and frees items by the million, and a free list of
// fixed-size blocks carved from big slabs is several times cheaper than the general heap. Blocks of
// each size class are reused; the slabs are returned when the last block of the pool is freed.
// User-interface thread only, like the trees themselves.
class TreeItemPool {
public:
    static void* allocate(size_t size);
    static void release(void* block, size_t size);

private:
    static const size_t Granule = 16;
    static const size_t MaxBlock = 256;
    static const size_t SlabBytes = 256 * 1024;
    struct FreeBlock {
        FreeBlock* next;
    };
    struct SizeClass {
        FreeBlock* free = nullptr;
        std::vector<char*> slabs;
        size_t live = 0;
        size_t carved = 0;  // bytes used in the newest slab
    };
    static SizeClass& sizeClass(size_t size);
};

}  // namespace wxUtils
