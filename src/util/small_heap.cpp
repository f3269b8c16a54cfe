// The small heap: an arena of blocks from which pieces are handed out by
// moving a free position, and released only all at once. A block is one
// allocation whose first four words are its header.
#include <string.h>
#include <kvsup.h>

namespace {

const size_t kHeader = sizeof(KorvSmallHeapBlock);
static_assert(kHeader == 4 * sizeof(void *), "the block header is four words");
static_assert(sizeof(KorvSmallHeap) == 3 * sizeof(void *), "the handle is three words");

// Makes an unlinked block of size bytes, header included.
KorvSmallHeapBlock *make_block(size_t size)
{
    auto *raw = static_cast<unsigned char *>(korv_internal_malloc(size));
    if (!raw)
        return nullptr;
    auto *block = reinterpret_cast<KorvSmallHeapBlock *>(raw);
    block->next = nullptr;
    block->size = size;
    block->freePos = raw + kHeader;
    block->end = raw + size;
    return block;
}

void free_blocks(KorvSmallHeap *heap)
{
    KorvSmallHeapBlock *block = heap->first;
    while (block) {
        KorvSmallHeapBlock *next = block->next;
        korv_internal_free(block);
        block = next;
    }
    heap->first = heap->current = nullptr;
    heap->total = 0;
}

// Starts the heap over with one fresh block. On failure the heap is empty
// and the next allocation makes its first block.
void start(KorvSmallHeap *heap)
{
    heap->first = heap->current = make_block(KORV_SMALL_HEAP_BLOCK);
    heap->total = heap->first ? KORV_SMALL_HEAP_BLOCK : 0;
}

bool fits(const KorvSmallHeapBlock *block, size_t size)
{
    return (size_t)(block->end - block->freePos) > size;
}

void *take(KorvSmallHeapBlock *block, size_t size)
{
    unsigned char *piece = block->freePos;
    block->freePos += size;
    block->size = size;
    return piece;
}

} // namespace

extern "C" KORV_API KorvSmallHeap *KorvSmallHeapInit(void)
{
    auto *heap = static_cast<KorvSmallHeap *>(korv_internal_malloc(sizeof(KorvSmallHeap)));
    if (!heap)
        return nullptr;
    start(heap);
    if (!heap->first) {
        korv_internal_free(heap);
        return nullptr;
    }
    return heap;
}

extern "C" KORV_API void KorvSmallHeapRelease(KorvSmallHeap *heap)
{
    if (!heap)
        return;
    free_blocks(heap);
    start(heap);
}

extern "C" KORV_API void KorvSmallHeapFree(KorvSmallHeap *heap)
{
    if (!heap)
        return;
    free_blocks(heap);
    korv_internal_free(heap);
}

extern "C" KORV_API void *korv_internal_sh_malloc(KorvSmallHeap *heap, size_t size)
{
    if (!heap)
        return korv_internal_malloc(size);
    if (size > SIZE_MAX / 2 - kHeader)
        return nullptr;
    size = (size + 7) & ~(size_t)7;

    KorvSmallHeapBlock *current = heap->current;
    if (current) {
        if (fits(current, size))
            return take(current, size);
        // The next block serves without becoming current; a next block too
        // small for the piece becomes current and a new block follows it.
        if (current->next) {
            if (fits(current->next, size))
                return take(current->next, size);
            current = heap->current = current->next;
        }
    }

    size_t block_size = 2 * size > KORV_SMALL_HEAP_BLOCK ? 2 * size : KORV_SMALL_HEAP_BLOCK;
    if (block_size - kHeader <= size)
        block_size = size + kHeader + 8;
    KorvSmallHeapBlock *block = make_block(block_size);
    if (!block)
        return nullptr;
    heap->total += block_size;
    if (current) {
        block->next = current->next;
        current->next = block;
    } else {
        heap->first = heap->current = block;
    }
    return take(block, size);
}

extern "C" KORV_API void *korv_internal_sh_calloc(KorvSmallHeap *heap, size_t count, size_t size)
{
    if (size != 0 && count > SIZE_MAX / size)
        return nullptr;
    if (!heap)
        return korv_internal_calloc(count, size);
    void *piece = korv_internal_sh_malloc(heap, count * size);
    if (piece)
        memset(piece, 0, count * size);
    return piece;
}

namespace {

// The first address strictly above the raw piece that is a multiple of the
// alignment (a power of two).
void *aligned_piece(KorvSmallHeap *heap, size_t size, size_t alignment, bool zero)
{
    if (alignment == 0 || (alignment & (alignment - 1)) != 0 || size > SIZE_MAX - alignment)
        return nullptr;
    auto *raw = static_cast<unsigned char *>(korv_internal_sh_malloc(heap, size + alignment));
    if (!raw)
        return nullptr;
    uintptr_t at = ((uintptr_t)raw + alignment) & ~(uintptr_t)(alignment - 1);
    void *piece = raw + (at - (uintptr_t)raw);
    if (zero)
        memset(piece, 0, size);
    return piece;
}

} // namespace

extern "C" KORV_API void *korv_internal_sh_aligned_malloc(KorvSmallHeap *heap, size_t size,
                                                          size_t alignment)
{
    if (!heap)
        return korv_internal_aligned_malloc(size, alignment);
    return aligned_piece(heap, size, alignment, false);
}

extern "C" KORV_API void *korv_internal_sh_aligned_alloc(KorvSmallHeap *heap, size_t size,
                                                         size_t alignment)
{
    if (!heap)
        return korv_internal_aligned_alloc(size, alignment);
    return aligned_piece(heap, size, alignment, true);
}
