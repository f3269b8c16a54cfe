// Aligned blocks on top of the library's allocators. The distance from the
// underlying block to the aligned address is kept in the 8 bytes just below
// the address, so that free can find the block again.
#include <string.h>
#include <kvsup.h>

static void *align_block(unsigned char *block, size_t a)
{
    uintptr_t at = ((uintptr_t)block + a) & ~(uintptr_t)(a - 1);
    uint64_t distance = at - (uintptr_t)block;
    memcpy((unsigned char *)at - 8, &distance, 8);
    return (void *)at;
}

static size_t effective_alignment(size_t alignment)
{
    return alignment < 8 ? 8 : alignment;
}

extern "C" KORV_API void *korv_internal_aligned_malloc(size_t size, size_t alignment)
{
    size_t a = effective_alignment(alignment);
    if (size > SIZE_MAX - a)
        return nullptr;
    auto *block = static_cast<unsigned char *>(korv_internal_malloc(size + a));
    return block ? align_block(block, a) : nullptr;
}

extern "C" KORV_API void *korv_internal_aligned_alloc(size_t size, size_t alignment)
{
    size_t a = effective_alignment(alignment);
    if (size > SIZE_MAX - a)
        return nullptr;
    auto *block = static_cast<unsigned char *>(korv_internal_calloc(1, size + a));
    return block ? align_block(block, a) : nullptr;
}

extern "C" KORV_API void korv_internal_aligned_free(void *block)
{
    if (!block) {
        korv_internal_free(nullptr);
        return;
    }
    uint64_t distance;
    memcpy(&distance, (unsigned char *)block - 8, 8);
    korv_internal_free((unsigned char *)block - distance);
}
