/*
 * Writing a CM tree back out as a document, depth first: a node, then its
 * child list, then its following siblings. A header named "End" of the
 * top-level kind is written last, without its newline: nothing after it is
 * written. Strings are written without escaping, so a string holding a quote
 * does not read back unchanged.
 */
#include "cm/cm_private.h"

#include <string.h>

namespace {

constexpr uint32_t kShort = 0xFFFFFFFFu;

struct Writer {
    KorvIO *out;
    uint32_t top_kind;
    uint32_t result = 1;

    void put(const void *bytes, uint64_t n)
    {
        if (n && out->write(out, bytes, n) != static_cast<int64_t>(n))
            result = kShort;
    }
    void put(const char *s) { put(s, strlen(s)); }

    /* Base64 with '=' padding and no line breaks, written in pieces of 68
     * characters; the results of these writes are not checked. */
    void put_base64(const unsigned char *p, uint64_t n)
    {
        static const char alphabet[] =
            "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
        char piece[68];
        size_t used = 0;
        while (n) {
            uint32_t v = static_cast<uint32_t>(p[0]) << 16;
            if (n > 1)
                v |= static_cast<uint32_t>(p[1]) << 8;
            if (n > 2)
                v |= p[2];
            piece[used++] = alphabet[v >> 18];
            piece[used++] = alphabet[(v >> 12) & 63];
            piece[used++] = n > 1 ? alphabet[(v >> 6) & 63] : '=';
            piece[used++] = n > 2 ? alphabet[v & 63] : '=';
            uint64_t step = n > 3 ? 3 : n;
            p += step;
            n -= step;
            if (used == sizeof piece) {
                out->write(out, piece, used);
                used = 0;
            }
        }
        if (used)
            out->write(out, piece, used);
    }

    /* Writes one node's own text; returns false when it was the closing
     * "End" header. */
    bool node(const KorvCMNode *n, bool first)
    {
        const char *text = n->text ? n->text : "";
        uint64_t length = n->text ? n->length : 0;
        switch (n->kind) {
        case KORV_CMK_OBJECT:
        case KORV_CMK_SECTION: {
            bool object = n->kind == KORV_CMK_OBJECT;
            if (!first)
                put("\n");
            put(object ? "<" : "[");
            put(text, length);
            put(object ? ">" : "]");
            if (n->kind == top_kind && kvcm::name_is(n, "End"))
                return false;
            put("\n");
            break;
        }
        case KORV_CMK_LABEL:
            put(text, length);
            put(": ");
            break;
        case KORV_CMK_PLAIN:
            put(text, length);
            put("\n");
            break;
        case KORV_CMK_STRING:
            put("\"");
            put(text, length);
            put("\"\n");
            break;
        case KORV_CMK_DATA:
            put("\"<<<<Base64Data:");
            put_base64(reinterpret_cast<const unsigned char *>(text), length);
            put(">>>>\"\n");
            break;
        default:
            break;
        }
        return true;
    }

    /* Writes a sibling list; false once the walk must stop: after "End",
     * or after a node whose own write came up short (its children are still
     * written first). While a short node's children are written, further
     * short writes do not stop the walk. */
    bool list(const KorvCMNode *n, bool stop_on_short = true)
    {
        for (bool first = true; n; n = n->next, first = false) {
            uint32_t before = result;
            if (!node(n, first))
                return false;
            bool came_short = before == 1 && result != 1;
            if (n->child && !list(n->child, stop_on_short && !came_short))
                return false;
            if (came_short && stop_on_short)
                return false;
        }
        return true;
    }
};

} // namespace

extern "C" KORV_API uint32_t KorvWriteUserCMData(KorvCMNode *root, KorvIO *out)
{
    if (!out)
        return 0;
    if (!root)
        return 1;
    Writer w{out, root->kind};
    w.list(root);
    return w.result;
}
