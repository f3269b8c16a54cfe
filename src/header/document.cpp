/*
 * Header documents on streams: a CM document that begins with "ID", then
 * a form feed and a line feed, then the data chunks. Reading leaves the
 * stream at the first data byte; the non-destructive read also hands back
 * every byte it consumed, so that the header can be replayed to another
 * reader.
 */
#include "kvsup.h"

#include <string.h>

namespace {

constexpr unsigned char kFormFeed = 12;
constexpr unsigned char kLineFeed = 10;

/* Reads single bytes until `stop` has been read or the stream stops
 * delivering. */
void skip_through(KorvIO *io, unsigned char stop)
{
    unsigned char c = 0;
    while (io->read(io, &c, 1) == 1) {
        if (c == stop)
            return;
    }
}

/* A stream that reads from another one and keeps a copy of every byte it
 * hands out. It lives on the caller's stack and is never closed. */
struct CaptureStream {
    KorvIO io;
    KorvIO *inner;
    KorvSmartBuffer *sb;
    bool lost; /* a copy could not be kept */
};

int64_t capture_read(KorvIO *io, void *dst, uint64_t count)
{
    auto *cs = reinterpret_cast<CaptureStream *>(io);
    int64_t n = cs->inner->read(cs->inner, dst, count);
    if (n > 0 && KorvSBAppend(cs->sb, dst, static_cast<uint64_t>(n)) != static_cast<uint64_t>(n))
        cs->lost = true;
    return n;
}

int64_t capture_write(KorvIO *, const void *, uint64_t)
{
    return -1;
}

int32_t capture_flush(KorvIO *)
{
    return 0;
}

int64_t capture_seek(KorvIO *, int64_t, uint32_t)
{
    return -1;
}

void capture_close(KorvIO *) {}
void capture_set_owned(KorvIO *, uint32_t) {}

} // namespace

/* Whatever *tree held is not looked at: the document always becomes a new
 * tree. A misplaced node (0xFFFFFFFF) leaves the tree read so far to the
 * caller, as the CM reader does. */
extern "C" KORV_API uint32_t KVHdrRead(KorvIO *io, KorvCMNode **tree)
{
    if (!io || !tree || !io->read)
        return 0;
    *tree = nullptr;
    uint32_t r = KorvReadUserCMData(io, tree, 1);
    if (r != 1)
        return r;
    skip_through(io, kFormFeed);
    skip_through(io, kLineFeed);
    return 1;
}

/* A short write of the separator counts like a short write of the
 * document. */
extern "C" KORV_API uint32_t KVHdrWrite(KorvCMNode *tree, KorvIO *io)
{
    if (!tree || !io || !io->write)
        return 0;
    uint32_t r = KorvWriteUserCMData(tree, io);
    static const unsigned char separator[2] = {kFormFeed, kLineFeed};
    if (KorvIOWriteBytes(io, separator, 2) != 2 && r == 1)
        r = 0xFFFFFFFFu;
    if (io->flush)
        io->flush(io);
    return r;
}

/* The bytes consumed are handed back whatever the read's result, so that a
 * caller can pass on even a document it could not read. 0 with size 0 when
 * no buffer for them could be made; 0xFFFFFFFF with size 0 when they could
 * not be handed back. */
extern "C" KORV_API uint32_t KVHdrNonDestructiveRead(KorvIO *io, KorvCMNode **tree,
                                                     void **block, uint64_t *size)
{
    if (!io || !tree || !block || !size || !io->read)
        return 0;
    *block = nullptr;
    *size = 0;
    *tree = nullptr;
    CaptureStream cs;
    memset(&cs, 0, sizeof cs);
    cs.sb = KorvSBInit(1, 256);
    if (!cs.sb)
        return 0;
    cs.io.close = capture_close;
    cs.io.read = capture_read;
    cs.io.write = capture_write;
    cs.io.flush = capture_flush;
    cs.io.seek = capture_seek;
    cs.io.set_owned = capture_set_owned;
    cs.inner = io;

    uint32_t r = KVHdrRead(&cs.io, tree);

    uint64_t captured = static_cast<uint64_t>(KorvSBBytesAvailable(cs.sb));
    void *copy = cs.lost ? nullptr : korv_internal_malloc(captured ? captured : 1);
    if (!copy) {
        KorvSBFree(cs.sb);
        return 0xFFFFFFFFu;
    }
    KorvSBRead(cs.sb, copy, captured);
    KorvSBFree(cs.sb);
    *block = copy;
    *size = captured;
    return r;
}

extern "C" KORV_API uint32_t KVHdrFree(KorvCMNode *tree)
{
    if (!tree)
        return 0;
    KorvFreeUserCMData(tree);
    return 1;
}

extern "C" KORV_API uint32_t KVHdrFreeList(char ***list)
{
    if (!list)
        return 0;
    KorvFreeUserCMList(list);
    return 1;
}

namespace {

bool named(const KorvCMNode *node, const char *name, size_t n)
{
    if (!node->text || node->length != n)
        return false;
    for (size_t i = 0; i < n; i++) {
        char c = node->text[i];
        if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c - 'A' + 'a');
        if (c != name[i])
            return false;
    }
    return true;
}

} // namespace

/* One walk over the top-level list: an "ID" node that is not first moves
 * to the front; an "End" node with a sibling after it is set aside, and the
 * nodes set aside follow the last remaining node, the latest first. The
 * kind of a node is not looked at. */
extern "C" KORV_API KorvCMNode *KVHdrArrange(KorvCMNode *tree)
{
    KorvCMNode *head = tree;
    KorvCMNode *prev = nullptr;
    KorvCMNode *aside = nullptr;
    for (KorvCMNode *node = tree; node;) {
        KorvCMNode *next = node->next;
        if (node != head && named(node, "id", 2)) {
            prev->next = next;
            node->next = head;
            head = node;
        } else if (next && named(node, "end", 3)) {
            if (prev)
                prev->next = next;
            else
                head = next;
            node->next = aside;
            aside = node;
        } else {
            prev = node;
        }
        node = next;
    }
    if (aside) {
        if (prev)
            prev->next = aside;
        else
            head = aside;
    }
    return head;
}
