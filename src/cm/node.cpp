/*
 * Node construction, list appending, name comparison, freeing and
 * duplication of CM trees.
 */
#include "cm/cm_private.h"
#include "util/ascii.h"

#include <string.h>

namespace kvcm {

// Through the library's one case table, so that a name found here is the
// name the string routines call equal.
bool ci_equal(const char *a, const char *b, size_t n)
{
    for (size_t i = 0; i < n; i++)
        if (korv::ascii::lower(static_cast<unsigned char>(a[i]))
            != korv::ascii::lower(static_cast<unsigned char>(b[i])))
            return false;
    return true;
}

bool name_is(const KorvCMNode *node, const char *name)
{
    size_t n = strlen(name);
    if (node->length != n)
        return false;
    return n == 0 || (node->text && ci_equal(node->text, name, n));
}

KorvCMNode *make_node(uint32_t kind, const void *text, size_t n)
{
    KorvCMNode *node = static_cast<KorvCMNode *>(korv_internal_calloc(1, sizeof *node));
    if (!node)
        return nullptr;
    node->text = static_cast<char *>(korv_internal_malloc(n + 1));
    if (!node->text) {
        korv_internal_free(node);
        return nullptr;
    }
    if (n)
        memcpy(node->text, text, n);
    node->text[n] = '\0';
    node->length = n;
    node->kind = kind;
    return node;
}

void append(KorvCMNode **head, KorvCMNode *node, KorvCMNode **tail_hint)
{
    if (node->next)
        return;
    KorvCMNode *at = (tail_hint && *tail_hint) ? *tail_hint : *head;
    if (!at) {
        *head = node;
    } else {
        for (;;) {
            if (at == node)
                return;
            if (!at->next)
                break;
            at = at->next;
        }
        at->next = node;
    }
    if (tail_hint)
        *tail_hint = node;
}

} // namespace kvcm

/* Frees the node, its whole child list and every sibling after it.
 * Siblings are walked in a loop; only child lists recurse. */
extern "C" KORV_API void KorvFreeUserCMData(KorvCMNode *node)
{
    while (node) {
        KorvCMNode *next = node->next;
        if (node->child)
            KorvFreeUserCMData(node->child);
        if (!node->borrowed)
            korv_internal_free(node->text);
        korv_internal_free(node);
        node = next;
    }
}

/* Deep copy of the node, its descendants and the siblings after it. An
 * empty node copies with no text at all (NULL); the borrowed flag is not
 * copied. On any allocation failure everything copied is freed. */
extern "C" KORV_API KorvCMNode *KorvUserCMDupData(const KorvCMNode *node)
{
    KorvCMNode *head = nullptr;
    KorvCMNode **link = &head;
    for (; node; node = node->next) {
        KorvCMNode *copy = static_cast<KorvCMNode *>(korv_internal_calloc(1, sizeof *copy));
        if (!copy)
            goto fail;
        *link = copy;
        link = &copy->next;
        copy->kind = node->kind;
        copy->length = node->length;
        if (node->length && node->text) {
            if (node->length >= SIZE_MAX)
                goto fail;
            copy->text = static_cast<char *>(korv_internal_malloc(static_cast<size_t>(node->length) + 1));
            if (!copy->text)
                goto fail;
            memcpy(copy->text, node->text, static_cast<size_t>(node->length) + 1);
        }
        if (node->child) {
            copy->child = KorvUserCMDupData(node->child);
            if (!copy->child)
                goto fail;
        }
    }
    return head;
fail:
    KorvFreeUserCMData(head);
    return nullptr;
}
