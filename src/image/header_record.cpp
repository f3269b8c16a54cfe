/*
 * The generic header record: initialisation, arrays of headers, copying
 * and freeing.
 */
#include "image/image_private.h"

#include <string.h>

extern "C" KORV_API uint32_t KorvInitGenericHeader(KorvGenericHeader *header)
{
    if (!header)
        return 0;
    header->copy = KorvGenericHeaderCopy;
    header->free = KorvGenericHeaderFree;
    header->endian = KorvIdentifyEndian();
    return 1;
}

/* Records smaller than the common part are allocated at its size, so that
 * initialising them never writes past their end. */
extern "C" KORV_API uint32_t KorvAllocHeaders(KorvGenericHeader ***array, int32_t count,
                                              int32_t size)
{
    if (!array || count < 0)
        return 0;
    uint32_t item = size < static_cast<int32_t>(sizeof(KorvGenericHeader))
                        ? static_cast<uint32_t>(sizeof(KorvGenericHeader))
                        : static_cast<uint32_t>(size);
    if (!KorvAllocArray(reinterpret_cast<void ***>(array), static_cast<uint32_t>(count), item))
        return 0;
    for (KorvGenericHeader **h = *array; *h; h++)
        KorvInitGenericHeader(*h);
    return 1;
}

/* A copy is always a plain generic header, whatever made the original:
 * only the common part is copied, and the copy frees itself generically. */
extern "C" KORV_API KorvGenericHeader *KorvGenericHeaderCopy(KorvGenericHeader *header)
{
    if (!header)
        return nullptr;
    auto *copy = static_cast<KorvGenericHeader *>(korv_internal_calloc(1, sizeof(KorvGenericHeader)));
    if (!copy)
        return nullptr;
    memcpy(copy, header, sizeof *copy);
    copy->params = nullptr;
    copy->copy = KorvGenericHeaderCopy;
    copy->free = KorvGenericHeaderFree;
    if (header->params) {
        copy->params = KorvUserCMDupData(header->params);
        if (!copy->params) {
            copy->free(copy);
            return nullptr;
        }
    }
    return copy;
}

extern "C" KORV_API void KorvGenericHeaderFree(KorvGenericHeader *header)
{
    if (!header)
        return;
    KorvFreeUserCMData(header->params);
    korv_internal_free(header);
}
