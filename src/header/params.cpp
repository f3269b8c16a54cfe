/*
 * Header parameters: a header's named values live in its CM tree, addressed
 * by section and name (never by object). These are thin calls into the tree
 * interface; the setters that replace a value delete the old label first,
 * since the tree itself would keep both.
 */
#include "header/params_text.h"

#include <string.h>

namespace {

/* Removes the first label of that name in the section; the tree may lose
 * its first node when labels stand at its top. */
KorvCMNode *delete_param(KorvCMNode *tree, const char *section, const char *name)
{
    return KorvDeleteUserCMData(tree, nullptr, section, name);
}

} // namespace

extern "C" KORV_API char *KVHdrGetHeaderParam(KorvCMNode *tree, const char *section,
                                              const char *name)
{
    if (!tree || !name)
        return nullptr;
    return KorvGetParam(tree, nullptr, section, name);
}

extern "C" KORV_API uint32_t KVHdrGetHeaderData(KorvCMNode *tree, const char *section,
                                                const char *name, void **data, uint64_t *size)
{
    if (!data || !size)
        return 0;
    if (!tree || !name) {
        *data = nullptr;
        *size = 0;
        return 0;
    }
    return KorvGetData(tree, nullptr, section, name, data, size);
}

extern "C" KORV_API uint32_t KVHdrCheckHeaderParam(KorvCMNode *tree, const char *section,
                                                   const char *name)
{
    if (!tree || !name)
        return 0;
    return KorvGetUserCMData(tree, nullptr, section, name) ? 1 : 0;
}

extern "C" KORV_API uint32_t KVHdrGetHeaderList(KorvCMNode *tree, const char *section,
                                                const char *name, char ***list)
{
    if (!tree || !name || !list)
        return 0;
    return KorvGetUserCMList(tree, nullptr, section, name, list);
}

extern "C" KORV_API KorvCMNode *KVHdrSetHeaderParam(KorvCMNode *tree, const char *section,
                                                    const char *name, const char *text)
{
    return KVHdrSetHeaderField(tree, section, name, text, text ? strlen(text) : 0);
}

/* The bytes are read as document text, so they may hold a bare word, a
 * quoted string or several values on several lines. */
extern "C" KORV_API KorvCMNode *KVHdrSetHeaderField(KorvCMNode *tree, const char *section,
                                                    const char *name, const void *bytes,
                                                    uint64_t length)
{
    if (!name)
        return tree;
    tree = delete_param(tree, section, name);
    return KorvSetParam(tree, nullptr, section, name, static_cast<const char *>(bytes),
                        bytes ? length : 0);
}

/* The string and data setters add a label without removing an old one. */
extern "C" KORV_API KorvCMNode *KVHdrSetHeaderString(KorvCMNode *tree, const char *section,
                                                     const char *name, const char *text)
{
    if (!name)
        return tree;
    return KorvSetString(tree, nullptr, section, name, text);
}

extern "C" KORV_API KorvCMNode *KVHdrSetHeaderData(KorvCMNode *tree, const char *section,
                                                   const char *name, const void *bytes,
                                                   uint64_t length)
{
    if (!name)
        return tree;
    return KorvSetData(tree, nullptr, section, name, bytes, length);
}

extern "C" KORV_API KorvCMNode *KVHdrDeleteHeaderField(KorvCMNode *tree, const char *section,
                                                       const char *name)
{
    if (!name)
        return tree;
    return delete_param(tree, section, name);
}

extern "C" KORV_API KorvCMNode *KVHdrDeleteHeaderSection(KorvCMNode *tree, const char *section)
{
    if (!section)
        return tree;
    return KorvDeleteUserCMData(tree, nullptr, section, nullptr);
}

/* ---- numbers ---- */

namespace {

/* Reads up to *count numbers of one type from the parameter's text. */
template <typename T>
uint32_t get_numbers(KorvCMNode *tree, const char *section, const char *name, T *values,
                     uint32_t *count)
{
    if (!count || (*count && !values))
        return 0;
    const char *text = KVHdrGetHeaderParam(tree, section, name);
    if (!text)
        return 0;
    if constexpr (kvhdr::NumberText<T>::stops_at_end) {
        *count = kvhdr::scan_numbers(text, values, *count);
    } else {
        /* Every place gets an attempt; places past the last token keep what
         * the caller had in them, and the count stays as asked. */
        kvhdr::scan_numbers(text, values, *count);
    }
    return 1;
}

template <typename T>
KorvCMNode *set_numbers(KorvCMNode *tree, const char *section, const char *name,
                        const T *values, uint32_t count, uint32_t perLine)
{
    if (!name || perLine == 0 || (count && !values))
        return tree;
    char *text = kvhdr::format_numbers(values, count, perLine);
    if (!text)
        return tree;
    tree = KVHdrSetHeaderParam(tree, section, name, text);
    korv_internal_free(text);
    return tree;
}

/* Every value of a multi-valued parameter, count numbers per value, where
 * count is the number of number tokens of the first value. */
template <typename T>
int32_t get_number_list(KorvCMNode *tree, const char *section, const char *name, T **values,
                        uint32_t *perValue)
{
    if (!values || !perValue)
        return 0;
    *values = nullptr;
    *perValue = 0;
    char **list = nullptr;
    uint32_t n = KVHdrGetHeaderList(tree, section, name, &list);
    if (n == 0 || !list)
        return 0;
    uint32_t per = kvhdr::count_number_tokens<T>(list[0]);
    size_t total = static_cast<size_t>(per) * n;
    T *out = static_cast<T *>(korv_internal_calloc(total ? total : 1, sizeof(T)));
    if (!out) {
        KorvFreeUserCMList(&list);
        return -1;
    }
    for (uint32_t i = 0; i < n; i++)
        kvhdr::scan_number_tokens(list[i], out + static_cast<size_t>(i) * per, per);
    KorvFreeUserCMList(&list);
    *values = out;
    *perValue = per;
    return static_cast<int32_t>(n);
}

} // namespace

extern "C" KORV_API uint32_t KVHdrGetHeaderInts(KorvCMNode *tree, const char *section,
                                                const char *name, int32_t *values,
                                                uint32_t *count)
{
    return get_numbers(tree, section, name, values, count);
}

extern "C" KORV_API uint32_t KVHdrGetHeaderDoubles(KorvCMNode *tree, const char *section,
                                                   const char *name, double *values,
                                                   uint32_t *count)
{
    return get_numbers(tree, section, name, values, count);
}

extern "C" KORV_API uint32_t KVHdrGetHeaderFloats(KorvCMNode *tree, const char *section,
                                                  const char *name, float *values,
                                                  uint32_t *count)
{
    return get_numbers(tree, section, name, values, count);
}

extern "C" KORV_API KorvCMNode *KVHdrSetHeaderInts(KorvCMNode *tree, const char *section,
                                                   const char *name, const int32_t *values,
                                                   uint32_t count, uint32_t perLine)
{
    return set_numbers(tree, section, name, values, count, perLine);
}

extern "C" KORV_API KorvCMNode *KVHdrSetHeaderDoubles(KorvCMNode *tree, const char *section,
                                                      const char *name, const double *values,
                                                      uint32_t count, uint32_t perLine)
{
    return set_numbers(tree, section, name, values, count, perLine);
}

extern "C" KORV_API KorvCMNode *KVHdrSetHeaderFloats(KorvCMNode *tree, const char *section,
                                                     const char *name, const float *values,
                                                     uint32_t count, uint32_t perLine)
{
    return set_numbers(tree, section, name, values, count, perLine);
}

extern "C" KORV_API int32_t KVHdrGetHeaderIntsList(KorvCMNode *tree, const char *section,
                                                   const char *name, int32_t **values,
                                                   uint32_t *perValue)
{
    return get_number_list(tree, section, name, values, perValue);
}

extern "C" KORV_API int32_t KVHdrGetHeaderDoublesList(KorvCMNode *tree, const char *section,
                                                      const char *name, double **values,
                                                      uint32_t *perValue)
{
    return get_number_list(tree, section, name, values, perValue);
}

extern "C" KORV_API int32_t KVHdrGetHeaderFloatsList(KorvCMNode *tree, const char *section,
                                                     const char *name, float **values,
                                                     uint32_t *perValue)
{
    return get_number_list(tree, section, name, values, perValue);
}
