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

// Turns a tree into the caller's target through the manager.
typedef uint32_t (*FromTree)(const KVHdrManager *manager, KorvCMNode *tree, void *target);

uint32_t tree_to_header(const KVHdrManager *manager, KorvCMNode *tree, void *target)
{
    return KVHdrToHeader(manager, tree, static_cast<KorvGenericHeader **>(target));
}

/* Reads the document, converts it into target and frees the tree. */
uint32_t read_into(const char *caller, KorvIO *io, void **block, uint64_t *size,
                   KVHdrManager *manager, FromTree convert, void *target)
{
    KorvCMNode *tree;
    uint32_t r = read_with_manager(caller, io, block, size, manager, &tree);
    if (r != 1)
        return r;
    r = convert(manager, tree, target);
    KorvFreeUserCMData(tree);
    return r;
}

/* Writes a tree that was built with result r (only when r is 1) and frees
 * it either way. */
uint32_t write_built(uint32_t r, KorvCMNode *tree, KorvIO *io)
{
    if (r == 1)
        r = KVHdrWrite(tree, io);
    KorvFreeUserCMData(tree);
    return r;
}

} // namespace

extern "C" KORV_API uint32_t KVHdrRead_Header(KorvIO *io, KVHdrManager *manager,
                                              KorvGenericHeader **header)
{
    if (!io || !manager || !header)
        return 0;
    return read_into("KVHdrRead_Header", io, nullptr, nullptr, manager, tree_to_header, header);
}

extern "C" KORV_API uint32_t KVHdrNonDestructivRead_Header(KorvIO *io, void **block,
                                                           uint64_t *size,
                                                           KVHdrManager *manager,
                                                           KorvGenericHeader **header)
{
    if (!io || !block || !size || !manager || !header)
        return 0;
    return read_into("KVHdrNonDestructivRead_Header", io, block, size, manager, tree_to_header,
                     header);
}

extern "C" KORV_API uint32_t KVHdrWrite_Header(KorvGenericHeader *header,
                                               const KVHdrManager *manager, KorvIO *io)
{
    if (!header || !io)
        return 0;
    KorvCMNode *tree = nullptr;
    uint32_t r = KVHdrFromHeader(manager, header, &tree);
    return write_built(r, tree, io);
}

extern "C" KORV_API uint32_t KVHdrRead_Struct(KorvIO *io, KVHdrManager *manager, void *record)
{
    if (!io || !manager || !record)
        return 0;
    return read_into("KVHdrRead_Struct", io, nullptr, nullptr, manager, KVHdrToStruct, record);
}

extern "C" KORV_API uint32_t KVHdrNonDestructivRead_Struct(KorvIO *io, void **block,
                                                           uint64_t *size,
                                                           KVHdrManager *manager, void *record)
{
    if (!io || !block || !size || !manager || !record)
        return 0;
    return read_into("KVHdrNonDestructivRead_Struct", io, block, size, manager, KVHdrToStruct,
                     record);
}

extern "C" KORV_API uint32_t KVHdrWrite_Struct(void *record, const KVHdrManager *manager,
                                               KorvIO *io)
{
    if (!record || !manager || !io)
        return 0;
    KorvCMNode *tree = nullptr;
    uint32_t r = KVHdrFromStruct(manager, record, &tree);
    return write_built(r, tree, io);
}
