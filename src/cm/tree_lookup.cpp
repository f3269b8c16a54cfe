/*
 * Path lookups over a CM tree: a parameter is addressed by up to three
 * names (object, section, label), each compared by length and without
 * regard to case, each with an index among the nodes of that name.
 */
#include "cm/cm_private.h"

#include <string.h>

namespace {

/* The index-th node of the list named name (counting matches of any kind);
 * it must be of the wanted kind. */
KorvCMNode *nth_named(KorvCMNode *list, const char *name, uint32_t index, uint32_t kind)
{
    for (; list; list = list->next) {
        if (!kvcm::name_is(list, name))
            continue;
        if (index-- == 0)
            return list->kind == kind ? list : nullptr;
    }
    return nullptr;
}

char *copy_text(const KorvCMNode *value)
{
    size_t n = value->text ? static_cast<size_t>(value->length) : 0;
    char *copy = static_cast<char *>(korv_internal_malloc(n + 1));
    if (copy) {
        if (n)
            memcpy(copy, value->text, n);
        copy[n] = '\0';
    }
    return copy;
}

} // namespace

/* A tree whose root is a plain value has no names to look up. A name that
 * is not given is skipped: the next name is searched where the skipped one
 * would have been. */
extern "C" KORV_API KorvCMNode *KorvIndexedGetUserCMData(KorvCMNode *root,
    const char *object, uint32_t object_index,
    const char *section, uint32_t section_index,
    const char *label, uint32_t label_index)
{
    if (!root || root->kind == KORV_CMK_PLAIN)
        return nullptr;
    KorvCMNode *found = nullptr;
    if (object) {
        found = nth_named(root, object, object_index, KORV_CMK_OBJECT);
        if (!found)
            return nullptr;
    }
    if (section) {
        found = nth_named(found ? found->child : root, section, section_index, KORV_CMK_SECTION);
        if (!found)
            return nullptr;
    }
    if (label)
        found = nth_named(found ? found->child : root, label, label_index, KORV_CMK_LABEL);
    return found;
}

extern "C" KORV_API KorvCMNode *KorvGetUserCMData(KorvCMNode *root,
    const char *object, const char *section, const char *label)
{
    return KorvIndexedGetUserCMData(root, object, 0, section, 0, label, 0);
}

/* The text of the label's first value, owned by the tree. */
extern "C" KORV_API char *KorvGetParam(KorvCMNode *root,
    const char *object, const char *section, const char *label)
{
    KorvCMNode *node = KorvGetUserCMData(root, object, section, label);
    if (!node || !node->child)
        return nullptr;
    return node->child->text;
}

/* Points *data into the tree at the bytes of the label's first value when
 * that value is inline data. */
extern "C" KORV_API uint32_t KorvGetData(KorvCMNode *root, const char *object,
    const char *section, const char *label, void **data, uint64_t *length)
{
    if (data)
        *data = nullptr;
    if (length)
        *length = 0;
    KorvCMNode *node = KorvGetUserCMData(root, object, section, label);
    if (!node || !node->child || node->child->kind != KORV_CMK_DATA)
        return 0;
    if (data)
        *data = node->child->text;
    if (length)
        *length = node->child->length;
    return 1;
}

/* A new NULL-terminated array of copies of every value's text; the count
 * is returned. With no values (or when memory runs out) 0 is returned and
 * *list is left alone. A value without text copies as an empty string. */
extern "C" KORV_API uint32_t KorvGetUserCMList(KorvCMNode *root, const char *object,
    const char *section, const char *label, char ***list)
{
    KorvCMNode *node = KorvGetUserCMData(root, object, section, label);
    if (!node || !list)
        return 0;
    uint32_t count = 0;
    for (KorvCMNode *v = node->child; v; v = v->next)
        count++;
    if (count == 0)
        return 0;
    char **array = static_cast<char **>(korv_internal_calloc(static_cast<size_t>(count) + 1, sizeof *array));
    if (!array)
        return 0;
    uint32_t i = 0;
    for (KorvCMNode *v = node->child; v; v = v->next, i++) {
        array[i] = copy_text(v);
        if (!array[i]) {
            KorvFreeUserCMList(&array);
            return 0;
        }
    }
    *list = array;
    return count;
}

extern "C" KORV_API void KorvFreeUserCMList(char ***list)
{
    if (!list || !*list)
        return;
    for (char **p = *list; *p; p++)
        korv_internal_free(*p);
    korv_internal_free(*list);
    *list = nullptr;
}
