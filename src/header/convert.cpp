/*
 * Conversion through a header manager: documents to headers and records
 * and back, and data chunks to and from streams. A header made through a
 * manager carries a copy of the manager's nine entries; the chunk and
 * document entries prefer the header's own copy to the manager's.
 */
#include "header/convert.h"

namespace kvhdr {

void copy_entries(KorvGenericHeader *header, const KVHdrManager *manager)
{
    header->toStruct = manager->toStruct;
    header->loadAll = manager->loadAll;
    header->fromStruct = manager->fromStruct;
    header->emitAll = manager->emitAll;
    header->toHeader = manager->toHeader;
    header->loadChunk = manager->loadChunk;
    header->fromHeader = manager->fromHeader;
    header->emitChunk = manager->emitChunk;
    header->createHeader = manager->createHeader;
}

} // namespace kvhdr

namespace {

/* The header's own copy of an entry, else the manager's (null without
 * either). */
template <typename Fn>
Fn entry_of(Fn own, const KVHdrManager *manager, Fn KVHdrManager::*entry)
{
    if (own)
        return own;
    return manager ? manager->*entry : nullptr;
}

} // namespace

extern "C" KORV_API uint32_t KVHdrToStruct(const KVHdrManager *manager, KorvCMNode *tree,
                                           void *record)
{
    if (!manager || !manager->toStruct || !tree || !record)
        return 0;
    return manager->toStruct(tree, record);
}

/* The tree built is arranged with "ID" first and "End" last. */
extern "C" KORV_API uint32_t KVHdrFromStruct(const KVHdrManager *manager, void *record,
                                             KorvCMNode **tree)
{
    if (!manager || !manager->fromStruct || !record || !tree)
        return 0;
    uint32_t r = manager->fromStruct(record, tree);
    *tree = KVHdrArrange(*tree);
    return r;
}

extern "C" KORV_API uint32_t KVHdrLoadAll(const KVHdrManager *manager, KorvIO *io,
                                          void *destination)
{
    if (!manager || !manager->loadAll || !io)
        return 0;
    return manager->loadAll(io, destination);
}

extern "C" KORV_API uint32_t KVHdrEmitAll(const KVHdrManager *manager, KorvIO *io, void *source)
{
    if (!manager || !manager->emitAll || !io)
        return 0;
    return manager->emitAll(io, source);
}

extern "C" KORV_API uint32_t KVHdrToHeader(const KVHdrManager *manager, KorvCMNode *tree,
                                           KorvGenericHeader **header)
{
    if (!manager || !manager->toHeader || !tree || !header)
        return 0;
    uint32_t r = manager->toHeader(tree, header);
    if (r == 1 && *header)
        kvhdr::copy_entries(*header, manager);
    return r;
}

/* A manager is usable here when it can make an empty header, that is when
 * it has a createHeader entry. */
extern "C" KORV_API uint32_t KVHdrCreateHeader(const KVHdrManager *manager,
                                               KorvGenericHeader **header)
{
    // A usable manager converts documents (toHeader) and makes empty
    // headers (createHeader, the entry called here).
    bool usable = manager && manager->toHeader && manager->createHeader;
    if (!usable && !header) {
        KorvDebug("KVHdrCreateHeader: %s\n", "both KVHdrManager and KorvHeaderStruct are NULL");
        return 0;
    }
    if (!usable) {
        KorvDebug("KVHdrCreateHeader: %s\n", "NULL KVHdrManager");
        return 0;
    }
    if (!header) {
        KorvDebug("KVHdrCreateHeader: %s\n", "NULL KorvHeaderStruct");
        return 0;
    }
    uint32_t r = manager->createHeader(header);
    if (r != 1) {
        KorvDebug("KVHdrCreateHeader: createHeader method failed\n");
        return r;
    }
    if (*header)
        kvhdr::copy_entries(*header, manager);
    return 1;
}

/* The tree starts as a copy of the header's own parameters; the format's
 * entry adds its sections, and the result is arranged. Without an entry
 * the arranged copy is still handed back, with result 0. */
extern "C" KORV_API uint32_t KVHdrFromHeader(const KVHdrManager *manager,
                                             KorvGenericHeader *header, KorvCMNode **tree)
{
    if (!header || !tree)
        return 0;
    *tree = nullptr;
    if (header->params) {
        *tree = KorvUserCMDupData(header->params);
        if (!*tree)
            return 0;
    }
    KVHdrFromHeaderFn entry = entry_of(header->fromHeader, manager, &KVHdrManager::fromHeader);
    uint32_t r = entry ? entry(header, tree) : 0;
    *tree = KVHdrArrange(*tree);
    return r;
}

extern "C" KORV_API uint32_t KVHdrToChunk(const KVHdrManager *manager, KorvGenericHeader *header,
                                          KorvIO *io, KorvChunk *chunk)
{
    return KVHdrToChunkLines(manager, header, io, chunk, 0);
}

extern "C" KORV_API uint32_t KVHdrToChunkLines(const KVHdrManager *manager,
                                               KorvGenericHeader *header, KorvIO *io,
                                               KorvChunk *chunk, uint32_t count)
{
    if (!header || !io || !chunk)
        return 0;
    KVHdrLoadChunkFn entry = entry_of(header->loadChunk, manager, &KVHdrManager::loadChunk);
    return entry ? entry(header, io, chunk, count) : 0;
}

/* The emit entry takes (header, stream, chunk, flag) like the load entry;
 * a chunk written on its own always goes out, so the flag is 1. */
extern "C" KORV_API uint32_t KVHdrFromChunk(const KVHdrManager *manager,
                                            KorvGenericHeader *header, KorvIO *io,
                                            KorvChunk *chunk)
{
    if (!header || !io || !chunk)
        return 0;
    KVHdrEmitChunkFn entry = entry_of(header->emitChunk, manager, &KVHdrManager::emitChunk);
    return entry ? entry(header, io, chunk, 1) : 0;
}
