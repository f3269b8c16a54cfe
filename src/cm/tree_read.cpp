/*
 * Reading a CM document into a tree. Tokens come from the tokenizer; each
 * token's text is gathered in a private buffer stream and becomes the text
 * of the node it makes.
 *
 * Objects merge with a top-level node of the same name and sections with a
 * sibling of the same name; labels and values are always new. The current
 * object, section and label are replaced as headers and labels arrive but
 * never cleared, so a label that follows a new object header goes into the
 * previous object's current section, and a value that follows a new section
 * header goes to the previous label.
 */
#include "cm/cm_private.h"

namespace {

constexpr uint32_t kMisplaced = 0xFFFFFFFFu;

bool is_value_kind(uint32_t kind)
{
    return kind == KORV_CMK_PLAIN || kind == KORV_CMK_STRING || kind == KORV_CMK_DATA;
}

/* Tails of the lists the reader appends to, so that a long list is not
 * walked again for every new node. A hint is used only for the list it was
 * taken from. */
struct TailHint {
    const KorvCMNode *owner;  /* parent node, or NULL for the top list */
    KorvCMNode *tail;
};

struct Reader {
    KorvIO *in;
    KorvIO *text;           /* receives each token's text */
    KorvCMNode *tree;
    KorvCMNode *object = nullptr;
    KorvCMNode *section = nullptr;
    KorvCMNode *label = nullptr;
    bool id_pending;
    TailHint hints[4] = {};

    void add(KorvCMNode *owner, KorvCMNode **head, KorvCMNode *node, int level)
    {
        TailHint &h = hints[level];
        if (h.owner != owner || !h.tail) {
            h.owner = owner;
            h.tail = nullptr;
        }
        kvcm::append(head, node, &h.tail);
    }

    /* Result of one header token: 1 go on, 2 stop with the current result,
     * 0 failure, kMisplaced. */
    uint32_t object_header(KorvCMNode *node);
    uint32_t section_header(KorvCMNode *node);
    uint32_t label_token(KorvCMNode *node);
    uint32_t value_token(KorvCMNode *node);

    /* The first header read into an empty tree must be "ID" when asked. */
    bool take_root_header(KorvCMNode *node)
    {
        if (id_pending) {
            if (!kvcm::name_is(node, "ID"))
                return false;
            id_pending = false;
        }
        tree = node;
        return true;
    }
};

constexpr uint32_t kGoOn = 1, kStop = 2;

KorvCMNode *find_name(KorvCMNode *list, const KorvCMNode *like)
{
    for (; list; list = list->next)
        if (list->length == like->length && (list->text || !like->length) &&
            kvcm::ci_equal(list->text, like->text, static_cast<size_t>(like->length)))
            return list;
    return nullptr;
}

uint32_t Reader::object_header(KorvCMNode *node)
{
    if (KorvCMNode *found = find_name(tree, node)) {
        KorvFreeUserCMData(node);
        object = found;
        return kGoOn;
    }
    if (!tree) {
        if (!take_root_header(node)) {
            KorvFreeUserCMData(node);
            return 0;
        }
    } else if (tree->kind == KORV_CMK_OBJECT) {
        add(nullptr, &tree, node, 0);
    } else {
        KorvFreeUserCMData(node);
        return kMisplaced;
    }
    object = node;
    if (tree->kind == KORV_CMK_OBJECT && kvcm::name_is(node, "End"))
        return kStop;
    return kGoOn;
}

uint32_t Reader::section_header(KorvCMNode *node)
{
    if (KorvCMNode *found = find_name(object ? object->child : tree, node)) {
        KorvFreeUserCMData(node);
        section = found;
        return kGoOn;
    }
    if (!tree) {
        if (!take_root_header(node)) {
            KorvFreeUserCMData(node);
            return 0;
        }
    } else if (object) {
        add(object, &object->child, node, 1);
    } else if (tree->kind == KORV_CMK_SECTION) {
        add(nullptr, &tree, node, 0);
    } else {
        KorvFreeUserCMData(node);
        return kMisplaced;
    }
    section = node;
    if (tree->kind == KORV_CMK_SECTION && kvcm::name_is(node, "End"))
        return kStop;
    return kGoOn;
}

uint32_t Reader::label_token(KorvCMNode *node)
{
    if (!tree)
        tree = node;
    else if (section)
        add(section, &section->child, node, 2);
    else if (tree->kind == KORV_CMK_LABEL)
        add(nullptr, &tree, node, 0);
    else {
        KorvFreeUserCMData(node);
        return kMisplaced;
    }
    label = node;
    return kGoOn;
}

uint32_t Reader::value_token(KorvCMNode *node)
{
    if (!tree)
        tree = node;
    else if (label)
        add(label, &label->child, node, 3);
    else if (is_value_kind(tree->kind))
        add(nullptr, &tree, node, 0);
    else {
        KorvFreeUserCMData(node);
        return kMisplaced;
    }
    return kGoOn;
}

uint32_t kind_of(int code)
{
    switch (code) {
    case KORV_CM_OBJECT: return KORV_CMK_OBJECT;
    case KORV_CM_SECTION: return KORV_CMK_SECTION;
    case KORV_CM_LABEL: return KORV_CMK_LABEL;
    case KORV_CM_PLAIN: return KORV_CMK_PLAIN;
    case KORV_CM_STRING: return KORV_CMK_STRING;
    default: return KORV_CMK_DATA;
    }
}

} // namespace

namespace kvcm {

uint32_t read_tree(KorvIO *in, KorvCMNode **root, uint32_t require_id, bool keep_on_failure)
{
    if (!in || !root)
        return 0;
    Reader r;
    r.in = in;
    r.text = buffer_stream_open();
    if (!r.text)
        return 0;
    r.tree = *root;
    r.id_pending = require_id != 0;

    uint32_t result = 1;
    for (;;) {
        int code = KorvReadUserCM(in, r.text);
        if (code == KORV_CM_EOF) {
            if (r.id_pending)
                result = 0;
            break;
        }
        if (code == KORV_CM_FAIL) {
            result = 0;
            break;
        }
        if (code == KORV_CM_ASSIGN)
            continue;  /* "name=" stays in the buffer, in front of the next token */
        bool is_header = code == KORV_CM_OBJECT || code == KORV_CM_SECTION;
        if (!is_header && r.id_pending) {
            result = 0;
            break;
        }
        char *text;
        uint64_t length;
        KorvCMNode *node = nullptr;
        if (buffer_stream_take(r.text, &text, &length)) {
            node = static_cast<KorvCMNode *>(korv_internal_calloc(1, sizeof *node));
            if (node) {
                node->text = text;
                node->length = length;
                node->kind = kind_of(code);
            } else {
                korv_internal_free(text);
            }
        }
        if (!node) {
            result = 0;
            break;
        }
        uint32_t step;
        switch (code) {
        case KORV_CM_OBJECT: step = r.object_header(node); break;
        case KORV_CM_SECTION: step = r.section_header(node); break;
        case KORV_CM_LABEL: step = r.label_token(node); break;
        default: step = r.value_token(node); break;
        }
        if (step == kGoOn)
            continue;
        if (step != kStop)
            result = step;
        break;
    }

    r.text->close(r.text);
    if (result == 0 && !keep_on_failure) {
        KorvFreeUserCMData(r.tree);
        *root = nullptr;
        return 0;
    }
    *root = r.tree;
    return result;
}

} // namespace kvcm

extern "C" KORV_API uint32_t KorvReadUserCMData(KorvIO *in, KorvCMNode **root, uint32_t require_id)
{
    return kvcm::read_tree(in, root, require_id, false);
}
