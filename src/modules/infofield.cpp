/*
 * Info fields: the layout of a small block of typed values. A field list is
 * a NULL-terminated array of field records; each field sits at the sum of
 * the sizes before it, and elements are copied in and out with byte copies,
 * so the block needs no alignment.
 */
#include "modules/infofield_internal.h"

#include <string.h>

namespace kvinfo {

namespace {

KorvInfoField *field_copy(KorvInfoField *field);
void field_free(KorvInfoField *field);

KorvInfoField *new_field(const char *name, char type, uint32_t count)
{
    auto *f = static_cast<KorvInfoField *>(korv_internal_calloc(1, sizeof(KorvInfoField)));
    if (!f)
        return nullptr;
    f->name = KorvStrDup(name);
    if (!f->name) {
        korv_internal_free(f);
        return nullptr;
    }
    f->copy = field_copy;
    f->free = field_free;
    f->type = type;
    f->count = count;
    f->size = field_size(type, count);
    return f;
}

KorvInfoField *field_copy(KorvInfoField *field)
{
    if (!field)
        return nullptr;
    KorvInfoField *copy = new_field(field->name ? field->name : "", field->type, field->count);
    if (!copy)
        return nullptr;
    copy->size = field->size;
    copy->offset = field->offset;
    return copy;
}

void field_free(KorvInfoField *field)
{
    if (!field)
        return;
    korv_internal_free(field->name);
    korv_internal_free(field);
}

} // namespace

/* A size that does not fit the field's 32 bits counts as unknown. */
uint32_t field_size(char type, uint32_t count)
{
    uint64_t unit = type == 'c' ? 1 : type == 'f' ? 8 : type == 'i' ? 4 : 0;
    uint64_t size = unit * count;
    return size > UINT32_MAX ? 0 : static_cast<uint32_t>(size);
}

void recompute_offsets(KorvInfoField **list)
{
    uint64_t offset = 0;
    for (KorvInfoField **p = list; p && *p; p++) {
        (*p)->offset = offset;
        offset += (*p)->size;
    }
}

/* The list grows by one place directly, so that a failure leaves it as it
 * was rather than freeing fields whose names only their own free releases. */
int32_t add_field(KorvInfoField ***list, const char *name, char type, uint32_t count)
{
    if (!list || !name)
        return -1;
    uint32_t n = KorvGetArraySize(reinterpret_cast<void **>(*list));
    if (n >= INT32_MAX)
        return -1;
    KorvInfoField *f = new_field(name, type, count);
    if (!f)
        return -1;
    auto **grown = static_cast<KorvInfoField **>(
        korv_internal_realloc(*list, (static_cast<size_t>(n) + 2) * sizeof(KorvInfoField *)));
    if (!grown) {
        field_free(f);
        return -1;
    }
    grown[n] = f;
    grown[n + 1] = nullptr;
    *list = grown;
    recompute_offsets(grown);
    return f->size ? static_cast<int32_t>(n) : -1;
}

} // namespace kvinfo

/* A field of unknown type or count 0 stays in the list, but the result is
 * -1. */
extern "C" KORV_API int32_t KorvAddInfoField(KorvInfoField ***list, const char *name, char type,
                                             uint32_t count)
{
    return kvinfo::add_field(list, name, type, count);
}

extern "C" KORV_API int32_t KorvFindInfoField(KorvInfoField **list, const char *name)
{
    if (!list || !name)
        return -1;
    for (int32_t i = 0; list[i]; i++) {
        if (list[i]->name && KorvStrCaseCmp(list[i]->name, name) == 0)
            return i;
    }
    return -1;
}

extern "C" KORV_API uint32_t KorvRemoveInfoField(KorvInfoField **list, int32_t index)
{
    if (!list || index < 0)
        return 0;
    uint32_t n = KorvGetArraySize(reinterpret_cast<void **>(list));
    if (static_cast<uint32_t>(index) >= n)
        return 0;
    KorvInfoField *gone = list[index];
    if (gone->free)
        gone->free(gone);
    memmove(&list[index], &list[index + 1], (n - static_cast<uint32_t>(index)) * sizeof *list);
    kvinfo::recompute_offsets(list);
    return 1;
}

extern "C" KORV_API uint64_t KorvGetInfoFieldsTotal(KorvInfoField **list)
{
    uint64_t total = 0;
    for (KorvInfoField **p = list; p && *p; p++)
        total += (*p)->size;
    return total;
}

namespace {

/* 1 when element index of a field of that type may be used, -1 when not,
 * 0 for missing arguments. */
int32_t check_element(const KorvInfoField *field, const void *block, const void *value,
                      char type, int32_t index)
{
    if (!field || !block || !value)
        return 0;
    if (field->type != type || index < 0 || static_cast<uint32_t>(index) >= field->count)
        return -1;
    return 1;
}

template <typename T>
int32_t get_element(const KorvInfoField *field, const void *block, int32_t index, T *value,
                    char type)
{
    int32_t r = check_element(field, block, value, type, index);
    if (r == 1)
        memcpy(value,
               static_cast<const unsigned char *>(block) + field->offset +
                   static_cast<uint64_t>(index) * sizeof(T),
               sizeof(T));
    return r;
}

template <typename T>
int32_t set_element(const KorvInfoField *field, void *block, int32_t index, T value, char type)
{
    int32_t r = check_element(field, block, &value, type, index);
    if (r == 1)
        memcpy(static_cast<unsigned char *>(block) + field->offset +
                   static_cast<uint64_t>(index) * sizeof(T),
               &value, sizeof(T));
    return r;
}

} // namespace

extern "C" KORV_API int32_t KorvGetInfoFieldInt(const KorvInfoField *field, const void *block,
                                                int32_t index, int32_t *value)
{
    return get_element(field, block, index, value, 'i');
}

extern "C" KORV_API int32_t KorvSetInfoFieldInt(const KorvInfoField *field, void *block,
                                                int32_t index, int32_t value)
{
    return set_element(field, block, index, value, 'i');
}

extern "C" KORV_API int32_t KorvGetInfoFieldDouble(const KorvInfoField *field, const void *block,
                                                   int32_t index, double *value)
{
    return get_element(field, block, index, value, 'f');
}

extern "C" KORV_API int32_t KorvSetInfoFieldDouble(const KorvInfoField *field, void *block,
                                                   int32_t index, double value)
{
    return set_element(field, block, index, value, 'f');
}

/* The whole field as a new string: its count bytes and a NUL. */
extern "C" KORV_API int32_t KorvGetInfoFieldStr(const KorvInfoField *field, const void *block,
                                                char **string)
{
    if (!field || !block || !string)
        return 0;
    if (field->type != 'c')
        return -1;
    char *s = static_cast<char *>(korv_internal_malloc(static_cast<size_t>(field->count) + 1));
    if (!s)
        return 0;
    memcpy(s, static_cast<const unsigned char *>(block) + field->offset, field->count);
    s[field->count] = '\0';
    *string = s;
    return 1;
}

/* A string shorter than the field is stored with its NUL; one as long as
 * the field or longer fills it with no terminator. */
extern "C" KORV_API int32_t KorvSetInfoFieldStr(const KorvInfoField *field, void *block,
                                                const char *string)
{
    if (!field || !block || !string)
        return 0;
    if (field->type != 'c')
        return -1;
    size_t len = strlen(string);
    unsigned char *dst = static_cast<unsigned char *>(block) + field->offset;
    if (len < field->count) {
        memcpy(dst, string, len + 1);
    } else {
        memcpy(dst, string, field->count);
    }
    return 1;
}
