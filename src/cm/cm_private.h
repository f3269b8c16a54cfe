/*
 * Private helpers shared by the CM tokenizer, tree reader, writer and
 * editors: ASCII case-insensitive name comparison, node construction, list
 * appending, and two small private streams (a growable byte buffer and a
 * read-only view of a byte range).
 */
#ifndef KVSUP_CM_CM_PRIVATE_H
#define KVSUP_CM_CM_PRIVATE_H

#include "kvsup.h"

#include <stddef.h>
#include <stdint.h>

namespace kvcm {

/* ASCII case-insensitive equality of n bytes; either pointer may be NULL
 * only when n is 0. */
bool ci_equal(const char *a, const char *b, size_t n);

/* A node's name equals the NUL-terminated name: same length, same bytes
 * without regard to case. */
bool name_is(const KorvCMNode *node, const char *name);

/* A new node of the given kind owning a NUL-terminated copy of n bytes of
 * text (text may be NULL when n is 0). NULL when memory runs out. */
KorvCMNode *make_node(uint32_t kind, const void *text, size_t n);

/* Append node at the end of the list *head (the list may be empty). A node
 * that already has a next sibling, or is already in the list, is left
 * alone. The walk starts at *tail_hint when it is given and non-NULL (it
 * must then be a member of the list); the hint is updated to the new tail. */
void append(KorvCMNode **head, KorvCMNode *node, KorvCMNode **tail_hint = nullptr);

/* Reads a document into *root. With keep_on_failure the tree is left in
 * *root even when the result is 0 (the editors use this, so that a bad
 * value text never costs the caller the tree it already had). */
uint32_t read_tree(KorvIO *in, KorvCMNode **root, uint32_t require_id, bool keep_on_failure);

/* A growable in-memory stream: writes append, reads drain from the front.
 * Closing it frees it. NULL when memory runs out. */
KorvIO *buffer_stream_open();

/* Moves every unread byte of a buffer stream into a new NUL-terminated
 * string (*text, *length) and empties the buffer. False when memory runs
 * out; the buffer is emptied either way. */
bool buffer_stream_take(KorvIO *io, char **text, uint64_t *length);

/* A read-only stream over a byte range the caller keeps alive. It lives in
 * caller storage; its close slot does nothing. */
struct RangeStream {
    KorvIO io;
    const unsigned char *data;
    uint64_t size;
    uint64_t pos;
};
void range_stream_init(RangeStream *rs, const void *data, uint64_t size);

} // namespace kvcm

#endif
