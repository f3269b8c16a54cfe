// Chunks held in item arrays: set and get by index, flags, the queue's
// enqueue and the deep copy.
#include <string.h>
#include <kvsup.h>

namespace {

KorvChunk *chunk_at(KorvChunk **array, uint32_t index)
{
    return static_cast<KorvChunk *>(KorvGetArrayItem((void **)array, index));
}

bool slot_is_free(const KorvChunk *chunk)
{
    return !chunk->data && chunk->mark == 0 && chunk->flags == 0;
}

void fill_slot(KorvChunk *slot, const KorvChunk *chunk)
{
    if (chunk)
        *slot = *chunk;
    else
        memset(slot, 0, sizeof *slot);
}

} // namespace

extern "C" KORV_API uint32_t KorvSetChunk(KorvChunk **array, uint32_t index, void *data,
                                          uint32_t size, uint32_t aux)
{
    KorvChunk *chunk = chunk_at(array, index);
    if (!chunk)
        return 0;
    chunk->data = static_cast<unsigned char *>(data);
    chunk->size = size;
    chunk->aux = aux;
    return 1;
}

extern "C" KORV_API uint32_t KorvGetChunk(KorvChunk **array, uint32_t index, void **data,
                                          uint32_t *size, uint32_t *aux)
{
    KorvChunk *chunk = chunk_at(array, index);
    if (!chunk)
        return 0;
    if (data)
        *data = chunk->data;
    if (size)
        *size = chunk->size;
    if (aux)
        *aux = chunk->aux;
    return 1;
}

extern "C" KORV_API uint32_t KorvSetChunkFlags(KorvChunk **array, uint32_t index, uint32_t flags)
{
    KorvChunk *chunk = chunk_at(array, index);
    if (!chunk)
        return 0;
    chunk->flags = flags;
    return 1;
}

extern "C" KORV_API uint32_t KorvGetChunkFlags(KorvChunk **array, uint32_t index, uint32_t *flags)
{
    KorvChunk *chunk = chunk_at(array, index);
    if (!chunk || !flags)
        return 0;
    *flags = chunk->flags;
    return 1;
}

extern "C" KORV_API uint32_t KorvMarkChunkFlags(KorvChunk **array, uint32_t index, uint32_t bits)
{
    KorvChunk *chunk = chunk_at(array, index);
    return chunk ? KorvChunkMarkFlags(&chunk->flags, bits) : 0;
}

extern "C" KORV_API uint32_t KorvClearChunkFlags(KorvChunk **array, uint32_t index, uint32_t bits)
{
    KorvChunk *chunk = chunk_at(array, index);
    return chunk ? KorvChunkClearFlags(&chunk->flags, bits) : 0;
}

extern "C" KORV_API uint32_t KorvChunkMarkFlags(uint32_t *flags, uint32_t bits)
{
    if (!flags)
        return 0;
    *flags |= bits;
    return 1;
}

extern "C" KORV_API uint32_t KorvChunkClearFlags(uint32_t *flags, uint32_t bits)
{
    if (!flags)
        return 0;
    *flags &= ~bits;
    return 1;
}

extern "C" KORV_API uint32_t KorvResetChunks(KorvChunk **array)
{
    if (!array)
        return 1;
    for (KorvChunk **p = array; *p; p++) {
        (*p)->aux = 0;
        (*p)->size = 0;
    }
    return 1;
}

// The queue grows four slots at a time; queueLength counts slots, used or
// free, and keeps its increase even when the growth fails.
extern "C" KORV_API uint32_t KorvEnqueueChunk(KorvState *state, const KorvChunk *chunk,
                                              uint32_t *index)
{
    if (!state)
        return 0;
    uint32_t i = 0;
    for (KorvChunk *slot; (slot = chunk_at(state->queue, i)) != nullptr; i++) {
        if (slot_is_free(slot)) {
            fill_slot(slot, chunk);
            if (index)
                *index = i;
            return 1;
        }
    }
    state->queueLength += 4;
    if (!KorvReallocArray((void ***)&state->queue, state->queueLength, sizeof(KorvChunk)))
        return 0;
    KorvChunk *slot = chunk_at(state->queue, i);
    if (!slot)
        return 0;
    fill_slot(slot, chunk);
    if (index)
        *index = i;
    return 1;
}

// The destination must hold some non-null pointer on entry; it is
// overwritten without being freed. A chunk without bytes cannot be copied.
extern "C" KORV_API uint32_t KorvDupChunk(KorvChunk **dest, const KorvChunk *source)
{
    if (!dest || !*dest)
        return 0;
    if (!source) {
        *dest = nullptr;
        return 1;
    }
    auto *copy = static_cast<KorvChunk *>(korv_internal_calloc(1, sizeof(KorvChunk)));
    *dest = copy;
    if (!copy)
        return 0;
    copy->flags = source->flags;
    copy->aux = source->aux;
    copy->size = source->size;
    copy->mark = source->mark;
    copy->user = source->user;
    copy->data = source->size ? static_cast<unsigned char *>(korv_internal_malloc(source->size))
                              : nullptr;
    if (!copy->data) {
        korv_internal_free(copy);
        *dest = nullptr;
        return 0;
    }
    if (source->data)
        memcpy(copy->data, source->data, source->size);
    else
        memset(copy->data, 0, source->size);
    return 1;
}
