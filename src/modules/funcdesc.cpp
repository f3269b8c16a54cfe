// The function descriptor record: allocation, deep copy, release, and the
// search for a descriptor document by name.
#include <stddef.h>
#include <string.h>
#include <kvsup.h>
#include "modules/funcdesc_internal.h"

static_assert(offsetof(KorvFuncDesc, free) == 2 * sizeof(void *),
              "holders reach free as the record's third word");

namespace {

// Where descriptor documents live, searched in order.
constexpr const char *kSearchPath =
    ".,${HOME}/.kvdata/korv,${KV_RELEASE}/data/korv,${KVTOP}/data/korv";

void free_strings(char ***list)
{
    if (*list)
        KorvFreeArray(reinterpret_cast<void **>(*list));
    *list = nullptr;
}

void free_string(char **text)
{
    korv_internal_free(*text);
    *text = nullptr;
}

// A copy of a NULL-terminated string array (NULL copies as NULL). False
// when memory runs out; nothing is left allocated then.
bool copy_strings(char *const *from, char ***to)
{
    *to = nullptr;
    if (!from)
        return true;
    size_t n = 0;
    while (from[n])
        n++;
    auto **list = static_cast<char **>(korv_internal_calloc(n + 1, sizeof(char *)));
    if (!list)
        return false;
    for (size_t i = 0; i < n; i++) {
        list[i] = KorvStrDup(from[i]);
        if (!list[i]) {
            KorvFreeArray(reinterpret_cast<void **>(list));
            return false;
        }
    }
    *to = list;
    return true;
}

bool copy_string(const char *from, char **to)
{
    *to = nullptr;
    if (!from)
        return true;
    *to = KorvStrDup(from);
    return *to != nullptr;
}

// The bit depths end with -1; the copy keeps that end.
bool copy_bits(const int32_t *from, int32_t **to)
{
    *to = nullptr;
    if (!from)
        return true;
    size_t n = 0;
    while (from[n] != -1)
        n++;
    auto *bits = static_cast<int32_t *>(korv_internal_malloc((n + 1) * sizeof(int32_t)));
    if (!bits)
        return false;
    memcpy(bits, from, (n + 1) * sizeof(int32_t));
    *to = bits;
    return true;
}

} // namespace

namespace korv::fd {

void release_fields(KorvFuncDesc *desc)
{
    free_string(&desc->name);
    free_string(&desc->init);
    free_string(&desc->description);
    free_string(&desc->documentation);
    free_strings(&desc->args);
    free_strings(&desc->colorSpaces);
    free_strings(&desc->tests);
    free_strings(&desc->formats);
    free_strings(&desc->categories);
    korv_internal_free(desc->bits);
    desc->bits = nullptr;
}

void set_read_defaults(KorvFuncDesc *desc)
{
    desc->inputs = 1;
    desc->outputs = 1;
    desc->synchronous = 1;
    desc->interleaves = KORV_FD_SCANLINE | KORV_FD_PIXEL | KORV_FD_FRAME | KORV_FD_COMPRESSION;
}

} // namespace korv::fd

extern "C" KORV_API KorvFuncDesc *KorvAllocFuncDesc(void)
{
    auto *desc = static_cast<KorvFuncDesc *>(korv_internal_calloc(1, sizeof(KorvFuncDesc)));
    if (!desc)
        return nullptr;
    desc->copy = KorvCopyFuncDesc;
    desc->free = KorvFreeFuncDesc;
    desc->synchronous = 1;
    desc->interleaves = KORV_FD_SCANLINE | KORV_FD_PIXEL | KORV_FD_FRAME | KORV_FD_COMPRESSION;
    return desc;
}

extern "C" KORV_API KorvFuncDesc *KorvCopyFuncDesc(KorvFuncDesc *desc)
{
    if (!desc)
        return nullptr;
    KorvFuncDesc *copy = KorvAllocFuncDesc();
    if (!copy)
        return nullptr;
    copy->user = desc->user;
    copy->inputs = desc->inputs;
    copy->outputs = desc->outputs;
    copy->synchronous = desc->synchronous;
    copy->interleaves = desc->interleaves;
    bool ok = copy_string(desc->name, &copy->name) && copy_string(desc->init, &copy->init) &&
              copy_string(desc->description, &copy->description) &&
              copy_string(desc->documentation, &copy->documentation) &&
              copy_strings(desc->args, &copy->args) &&
              copy_strings(desc->colorSpaces, &copy->colorSpaces) &&
              copy_bits(desc->bits, &copy->bits) && copy_strings(desc->tests, &copy->tests) &&
              copy_strings(desc->formats, &copy->formats) &&
              copy_strings(desc->categories, &copy->categories);
    if (!ok) {
        KorvFreeFuncDesc(copy);
        return nullptr;
    }
    return copy;
}

extern "C" KORV_API void KorvFreeFuncDesc(KorvFuncDesc *desc)
{
    if (!desc)
        return;
    korv::fd::release_fields(desc);
    korv_internal_free(desc);
}

extern "C" KORV_API char *KorvFuncDescFileName(const char *name)
{
    return KorvFindFile(name, "dot", kSearchPath);
}
