/*
 * Making, setting and deleting parameters of a CM tree. None of the setters
 * replaces an existing label: each adds another one, and lookups find the
 * first, so replacing a parameter means deleting it first.
 */
#include "cm/cm_private.h"

#include <string.h>

namespace {

KorvCMNode *find_name(KorvCMNode *list, const char *name)
{
    for (; list; list = list->next)
        if (kvcm::name_is(list, name))
            return list;
    return nullptr;
}

KorvCMNode *named_node(uint32_t kind, const char *name)
{
    return kvcm::make_node(kind, name, strlen(name));
}

/* Hangs value under last as its only child; a child list that was there is
 * freed. NULL arguments and a failed allocation leave the tree as it is. */
void set_value(KorvCMNode *last, KorvCMNode *value)
{
    if (!value)
        return;
    if (!last) {
        KorvFreeUserCMData(value);
        return;
    }
    KorvFreeUserCMData(last->child);
    last->child = value;
}

} // namespace

/* Makes the path exist. The object is found by name among the top-level
 * nodes (of any kind) or made; the section likewise among the object's
 * children (or the top level); the label is always made anew. A node that
 * cannot stand where it would go is dropped, and then *last is NULL. */
extern "C" KORV_API KorvCMNode *KorvMergeUserCMData(KorvCMNode *root, const char *object,
    const char *section, const char *label, KorvCMNode **last)
{
    KorvCMNode *found_object = nullptr, *found_section = nullptr, *at = nullptr;
    if (last)
        *last = nullptr;

    if (object) {
        found_object = find_name(root, object);
        if (!found_object) {
            KorvCMNode *node = named_node(KORV_CMK_OBJECT, object);
            if (!node)
                return root;
            if (!root)
                root = node;
            else if (root->kind == KORV_CMK_OBJECT)
                kvcm::append(&root, node);
            else {
                KorvFreeUserCMData(node);
                return root;
            }
            found_object = node;
        }
        at = found_object;
    }

    if (section) {
        found_section = find_name(found_object ? found_object->child : root, section);
        if (!found_section) {
            KorvCMNode *node = named_node(KORV_CMK_SECTION, section);
            if (!node)
                return root;
            if (found_object)
                kvcm::append(&found_object->child, node);
            else if (!root)
                root = node;
            else if (root->kind == KORV_CMK_SECTION)
                kvcm::append(&root, node);
            else {
                KorvFreeUserCMData(node);
                return root;
            }
            found_section = node;
        }
        at = found_section;
    }

    if (label) {
        KorvCMNode *node = named_node(KORV_CMK_LABEL, label);
        if (!node)
            return root;
        if (!root)
            root = node;
        else if (found_section)
            kvcm::append(&found_section->child, node);
        else if (root->kind == KORV_CMK_LABEL)
            kvcm::append(&root, node);
        else {
            KorvFreeUserCMData(node);
            return root;
        }
        at = node;
    }

    if (last)
        *last = at;
    return root;
}

extern "C" KORV_API KorvCMNode *KorvSetString(KorvCMNode *root, const char *object,
    const char *section, const char *label, const char *string)
{
    KorvCMNode *last;
    root = KorvMergeUserCMData(root, object, section, label, &last);
    if (last)
        set_value(last, kvcm::make_node(KORV_CMK_STRING, string, string ? strlen(string) : 0));
    return root;
}

extern "C" KORV_API KorvCMNode *KorvSetData(KorvCMNode *root, const char *object,
    const char *section, const char *label, const void *data, uint64_t length)
{
    if (!data || length >= SIZE_MAX)
        length = 0;
    KorvCMNode *last;
    root = KorvMergeUserCMData(root, object, section, label, &last);
    if (last)
        set_value(last, kvcm::make_node(KORV_CMK_DATA, data, static_cast<size_t>(length)));
    return root;
}

/* The value text is read as document text under "<object>", "[section]"
 * and "label: " lines, so it may be a bare word, a quoted string, inline
 * data or several values on several lines. Objects and sections merge with
 * existing ones; the label is added anew. Whatever the value text holds,
 * the caller's tree survives: nodes read before a bad token stay. */
extern "C" KORV_API KorvCMNode *KorvSetParam(KorvCMNode *root, const char *object,
    const char *section, const char *label, const char *value, uint64_t length)
{
    if (!value)
        length = 0;
    size_t lo = object ? strlen(object) : 0;
    size_t ls = section ? strlen(section) : 0;
    size_t ll = label ? strlen(label) : 0;
    if (length > SIZE_MAX / 2)
        return root;
    size_t size = (object ? lo + 3 : 0) + (section ? ls + 3 : 0) + (label ? ll + 2 : 0) +
                  static_cast<size_t>(length);
    char *text = static_cast<char *>(korv_internal_malloc(size ? size : 1));
    if (!text)
        return root;
    char *p = text;
    if (object) {
        *p++ = '<';
        memcpy(p, object, lo);
        p += lo;
        *p++ = '>';
        *p++ = '\n';
    }
    if (section) {
        *p++ = '[';
        memcpy(p, section, ls);
        p += ls;
        *p++ = ']';
        *p++ = '\n';
    }
    if (label) {
        memcpy(p, label, ll);
        p += ll;
        *p++ = ':';
        *p++ = ' ';
    }
    if (length)
        memcpy(p, value, static_cast<size_t>(length));

    kvcm::RangeStream in;
    kvcm::range_stream_init(&in, text, size);
    kvcm::read_tree(&in.io, &root, 0, true);
    korv_internal_free(text);
    return root;
}

/* Unlinks and frees the node the path names, with its descendants. The
 * root is returned unchanged when any name is missing or of the wrong kind;
 * deleting the first top-level node returns the next one as the root. */
extern "C" KORV_API KorvCMNode *KorvDeleteUserCMData(KorvCMNode *root, const char *object,
    const char *section, const char *label)
{
    if (!root || root->kind == KORV_CMK_PLAIN)
        return root;
    const char *names[3] = {object, section, label};
    const uint32_t kinds[3] = {KORV_CMK_OBJECT, KORV_CMK_SECTION, KORV_CMK_LABEL};
    KorvCMNode **link = nullptr;      /* link that points at the node found */
    KorvCMNode **list = &root;        /* head of the list searched next */
    for (int i = 0; i < 3; i++) {
        if (!names[i])
            continue;
        link = list;
        while (*link && !kvcm::name_is(*link, names[i]))
            link = &(*link)->next;
        if (!*link || (*link)->kind != kinds[i])
            return root;
        list = &(*link)->child;
    }
    if (!link)
        return root;
    KorvCMNode *gone = *link;
    *link = gone->next;
    gone->next = nullptr;
    KorvFreeUserCMData(gone);
    return root;
}

/* Removes the first child of the object/section node whose text equals the
 * label without regard to case (lengths are not compared: the text is read
 * up to its first NUL). */
extern "C" KORV_API void KorvDeleteParam(KorvCMNode *root, const char *object,
    const char *section, const char *label)
{
    KorvCMNode *parent = KorvGetUserCMData(root, object, section, nullptr);
    if (!parent || !label)
        return;
    size_t n = strlen(label);
    for (KorvCMNode **link = &parent->child; *link; link = &(*link)->next) {
        KorvCMNode *c = *link;
        if (c->text && strlen(c->text) == n && kvcm::ci_equal(c->text, label, n)) {
            *link = c->next;
            c->next = nullptr;
            KorvFreeUserCMData(c);
            return;
        }
    }
}
