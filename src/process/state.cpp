// The process-state record: allocation with its eleven default entry points,
// release, and the accessors of its common part.
#include <stddef.h>
#include <kvsup.h>
#include "process/state_internal.h"

static_assert(sizeof(KorvState) == KORV_STATE_MIN_SIZE, "state record must stay 176 bytes");
static_assert(offsetof(KorvState, status) == 96, "entry table is eleven pointers after flags");
static_assert(offsetof(KorvState, queueLength) == 168, "queue length ends the common part");

namespace {

uint32_t default_process(KorvState *state, void *, void *, void *)
{
    return state ? 1 : 0;
}

char *default_error_msg(KorvState *state)
{
    return state->errorMsg;
}

uint32_t default_flags(KorvState *state)
{
    return state->flags;
}

// Counts through the record's own getOutputHeader slot, so a module's entry
// is used; a cached count of 0 means "not counted yet".
int32_t default_output_count(KorvState *state)
{
    if (state->flags & KORV_STATE_OUTPUTS_UNKNOWN)
        return -1;
    if (state->outputCount == 0) {
        uint32_t n = 0;
        while (state->getOutputHeader(state, (int32_t)n))
            n++;
        state->outputCount = n;
    }
    return (int32_t)state->outputCount;
}

uint32_t default_output_flags(KorvState *state, int32_t index)
{
    return state->outputFlags ? state->outputFlags[index] : 0;
}

KorvGenericHeader *default_output_header(KorvState *state, int32_t index)
{
    return state->outputHeaders ? state->outputHeaders[index] : nullptr;
}

int32_t default_output_bin_header(KorvState *state, int32_t index, void *buffer, uint32_t size)
{
    if (!state->outputHeaders || !state->outputHeaders[index])
        return 0;
    return korv::output_bin_header(state->outputHeaders[index], buffer, size);
}

KorvChunk *default_input_chunk(KorvState *state, int32_t index)
{
    if (!state->inputChunks)
        return nullptr;
    return static_cast<KorvChunk *>(KorvGetArrayItem((void **)state->inputChunks, (uint32_t)index));
}

KorvChunk *default_output_chunk(KorvState *state, int32_t index)
{
    if (!state->outputChunks)
        return nullptr;
    return static_cast<KorvChunk *>(KorvGetArrayItem((void **)state->outputChunks, (uint32_t)index));
}

KorvChunk *default_flagged_chunk(KorvState *state)
{
    if (state->queueLength == 0 || !state->queue)
        return nullptr;
    for (uint32_t i = 0; i < state->queueLength; i++) {
        KorvChunk *chunk = state->queue[i];
        if (!chunk)
            break; // the item array ends here
        if (chunk->flags & KORV_CHUNK_FLAGGED)
            return chunk;
    }
    return nullptr;
}

} // namespace

extern "C" KORV_API uint32_t KorvAllocState(KorvState **state, int32_t size)
{
    if (!state || size < KORV_STATE_MIN_SIZE)
        return 0;
    *state = static_cast<KorvState *>(korv_internal_calloc(1, (size_t)size));
    KorvState *s = *state;
    if (!s)
        return 0;
    KorvSetError(s, 0, nullptr);
    s->processPoint = default_process;
    s->endPoint = KorvFreeState;
    s->getErrorMsg = default_error_msg;
    s->getFlags = default_flags;
    s->getOutputCount = default_output_count;
    s->getOutputFlags = default_output_flags;
    s->getOutputHeader = default_output_header;
    s->getOutputBinHeader = default_output_bin_header;
    s->getInputChunk = default_input_chunk;
    s->getOutputChunk = default_output_chunk;
    s->getFlaggedChunk = default_flagged_chunk;
    s->reserved = 0;
    return 1;
}

extern "C" KORV_API uint32_t KorvFreeState(KorvState *state)
{
    if (!state)
        return 0;
    if (state->name)
        KorvDebug("Free State: %s\n", state->name);
    korv_internal_free(state);
    return 1;
}

extern "C" KORV_API uint32_t KorvGetStateFlags(KorvState *state, uint32_t *flags)
{
    if (!state || !flags)
        return 0;
    *flags = state->flags;
    return 1;
}

extern "C" KORV_API uint32_t KorvGetStateOutputCount(KorvState *state, uint32_t *count)
{
    if (!state || !count)
        return 0;
    int32_t n = state->getOutputCount(state);
    *count = n == -1 ? 0 : (uint32_t)n;
    return 1;
}

extern "C" KORV_API uint32_t KorvGetStateQueueLength(KorvState *state, uint32_t *length)
{
    if (!state || !length)
        return 0;
    *length = state->queueLength;
    return 1;
}

extern "C" KORV_API uint32_t KorvGetOutputFlags(KorvState *state, int32_t index)
{
    // A negative index is refused too: it can only read outside the array.
    if (!state || index < 0 || index >= (int32_t)state->outputCount || !state->outputFlags)
        return 0;
    return state->outputFlags[index];
}
