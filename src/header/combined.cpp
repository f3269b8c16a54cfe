/*
 * Combined read and write: a header document read from a stream straight
 * into a header (or a format's record) through the manager it names, and
 * back. The tree in between is always freed.
 */
#include "kvsup.h"

namespace {

/* Reads the document (recording its bytes when block is given) and finds
 * its manager. On 1 the tree is handed back; otherwise it is freed and the
 * failing result returned, with a debug message naming the caller. */
uint32_t read_with_manager(const char *caller, KorvIO *io, void **block, uint64_t *size,
                           KVHdrManager *manager, KorvCMNode **tree)
{
    *tree = nullptr;
    uint32_t r;
    if (block) {
        r = KVHdrNonDestructiveRead(io, tree, block, size);
        if (r != 1) {
            KorvDebug("%s: Failed call KVHdrNonDestructiveRead()\n", caller);
            KorvFreeUserCMData(*tree);
            *tree = nullptr;
            return r;
        }
    } else {
        r = KVHdrRead(io, tree);
        if (r != 1) {
            KorvDebug("%s: Failed call KVHdrRead()\n", caller);
            KorvFreeUserCMData(*tree);
            *tree = nullptr;
            return r;
        }
    }
    r = KVHdrGetManager(*tree, manager);
    if (r != 1) {
        KorvDebug("%s: Failed call KVHdrGetManager()\n", caller);
        KorvFreeUserCMData(*tree);
        *tree = nullptr;
    }
    return r;
}

} // namespace

extern "C" KORV_API uint32_t KVHdrRead_Header(KorvIO *io, KVHdrManager *manager,
                                              KorvGenericHeader **header)
{
    if (!io || !manager || !header)
        return 0;
    KorvCMNode *tree;
    uint32_t r = read_with_manager("KVHdrRead_Header", io, nullptr, nullptr, manager, &tree);
    if (r != 1)
        return r;
    r = KVHdrToHeader(manager, tree, header);
    KorvFreeUserCMData(tree);
    return r;
}

extern "C" KORV_API uint32_t KVHdrNonDestructivRead_Header(KorvIO *io, void **block,
                                                           uint64_t *size,
                                                           KVHdrManager *manager,
                                                           KorvGenericHeader **header)
{
    if (!io || !block || !size || !manager || !header)
        return 0;
    KorvCMNode *tree;
    uint32_t r = read_with_manager("KVHdrNonDestructivRead_Header", io, block, size, manager,
                                   &tree);
    if (r != 1)
        return r;
    r = KVHdrToHeader(manager, tree, header);
    KorvFreeUserCMData(tree);
    return r;
}

extern "C" KORV_API uint32_t KVHdrWrite_Header(KorvGenericHeader *header,
                                               const KVHdrManager *manager, KorvIO *io)
{
    if (!header || !io)
        return 0;
    KorvCMNode *tree = nullptr;
    uint32_t r = KVHdrFromHeader(manager, header, &tree);
    if (r == 1)
        r = KVHdrWrite(tree, io);
    KorvFreeUserCMData(tree);
    return r;
}

extern "C" KORV_API uint32_t KVHdrRead_Struct(KorvIO *io, KVHdrManager *manager, void *record)
{
    if (!io || !manager || !record)
        return 0;
    KorvCMNode *tree;
    uint32_t r = read_with_manager("KVHdrRead_Struct", io, nullptr, nullptr, manager, &tree);
    if (r != 1)
        return r;
    r = KVHdrToStruct(manager, tree, record);
    KorvFreeUserCMData(tree);
    return r;
}

extern "C" KORV_API uint32_t KVHdrNonDestructivRead_Struct(KorvIO *io, void **block,
                                                           uint64_t *size,
                                                           KVHdrManager *manager, void *record)
{
    if (!io || !block || !size || !manager || !record)
        return 0;
    KorvCMNode *tree;
    uint32_t r = read_with_manager("KVHdrNonDestructivRead_Struct", io, block, size, manager,
                                   &tree);
    if (r != 1)
        return r;
    r = KVHdrToStruct(manager, tree, record);
    KorvFreeUserCMData(tree);
    return r;
}

extern "C" KORV_API uint32_t KVHdrWrite_Struct(void *record, const KVHdrManager *manager,
                                               KorvIO *io)
{
    if (!record || !manager || !io)
        return 0;
    KorvCMNode *tree = nullptr;
    uint32_t r = KVHdrFromStruct(manager, record, &tree);
    if (r == 1)
        r = KVHdrWrite(tree, io);
    KorvFreeUserCMData(tree);
    return r;
}
