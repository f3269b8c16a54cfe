/*
 * Private helpers of the module-call drivers, shared by the ordinary and
 * the composite init drivers.
 */
#ifndef KVSUP_PROCESS_CALLS_INTERNAL_H
#define KVSUP_PROCESS_CALLS_INTERNAL_H

#include <kvsup.h>

namespace korv::calls {

/* The entry point a descriptor's init text names, or NULL when the
 * descriptor has no init text or the text does not resolve. */
void *resolve_entry(const KorvFuncDesc *desc);

/* The argument list a binary call hands to an init entry: the descriptors
 * unpacked into a list and, when headers is given, the converted headers
 * appended as the entry "input:h" (a NULL-terminated array of generic
 * headers). */
struct BinArgs {
    KorvArgWord *list;
    KorvGenericHeader **headers;
};

/* False when the block or a header cannot be converted, or memory runs
 * out; nothing is left allocated then. */
bool unpack_bin_args(uint32_t argCount, const KorvBinArgDesc *block, int32_t headerCount,
                     const void *const *headers, BinArgs *out);

/* Frees the list and the headers with their array. */
void release_bin_args(BinArgs *args);

} // namespace korv::calls

#endif
