/*
 * Info fields as text: "name:<N><type><type>...", read from an array of
 * texts or from the "Info" section of an image header ("field-0",
 * "field-1", ...), and written back to a header as "%s:%d%c".
 */
#include "modules/infofield_internal.h"

#include <string.h>

/* "rgb:3f": the name before the first ':', an optional multiplier, then the
 * type letter, repeated once per further element: "xy:ii" has count 2 and
 * "abc:2ff" count 4. */
extern "C" KORV_API int32_t KorvParseInfoField(const char *text, char **name, char *type,
                                               uint32_t *count)
{
    if (!text || !name || !type || !count)
        return 0;
    const char *colon = strchr(text, ':');
    if (!colon)
        return -1;
    char *copy = KorvStrNDup(text, static_cast<size_t>(colon - text));
    if (!copy)
        return 0;
    const char *p = colon + 1;
    uint32_t multiplier = 0;
    for (; *p >= '0' && *p <= '9'; p++)
        multiplier = multiplier * 10u + static_cast<uint32_t>(*p - '0');
    char t = *p;
    uint32_t n = 1;
    if (t) {
        for (p++; *p == t; p++)
            n++;
    }
    if (multiplier >= 1)
        n *= multiplier;
    *name = copy;
    *type = t;
    *count = n;
    return 1;
}

namespace {

/* Parses one text and appends its field: false when the text is not a
 * field, memory runs out or the field's size is 0. */
bool add_parsed(KorvInfoField ***list, const char *text)
{
    char *name = nullptr;
    char type = 0;
    uint32_t count = 0;
    if (KorvParseInfoField(text, &name, &type, &count) != 1)
        return false;
    int32_t index = kvinfo::add_field(list, name, type, count);
    korv_internal_free(name);
    return index >= 0;
}

/* An empty list: the terminating NULL alone. */
bool start_list(KorvInfoField ***list)
{
    *list = static_cast<KorvInfoField **>(korv_internal_calloc(1, sizeof(KorvInfoField *)));
    return *list != nullptr;
}

} // namespace

/* On failure the fields parsed so far stay in the list, for the caller to
 * free. */
extern "C" KORV_API uint32_t KorvParseInfoFields(const char *const *texts,
                                                 KorvInfoField ***list)
{
    if (!texts || !list)
        return 0;
    if (!start_list(list))
        return 0;
    for (const char *const *t = texts; *t; t++) {
        if (!add_parsed(list, *t))
            return 0;
    }
    return 1;
}

extern "C" KORV_API uint32_t KorvParseInfoFieldsFromHdr(KorvGenericHeader *header,
                                                        KorvInfoField ***list)
{
    if (!header || !list)
        return 0;
    if (!start_list(list))
        return 0;
    char key[32];
    for (uint32_t i = 0;; i++) {
        KorvSNPrintf(key, sizeof key, "field-%u", i);
        const char *text = KVHdrGetHeaderParam(header->params, "Info", key);
        if (!text)
            return 1;
        if (!add_parsed(list, text))
            return 0;
    }
}

/* The "Info" section is rebuilt from scratch; an empty list leaves the
 * header without one. 0 also when memory ran out for a field's text. */
extern "C" KORV_API uint32_t KorvWriteInfoFieldsToHdr(KorvGenericHeader *header,
                                                      KorvInfoField **list)
{
    if (!header || !list)
        return 0;
    header->params = KVHdrDeleteHeaderSection(header->params, "Info");
    char key[32];
    for (uint32_t i = 0; list[i]; i++) {
        const KorvInfoField *f = list[i];
        char *text = nullptr;
        KorvASPrintf(&text, "%s:%u%c", f->name ? f->name : "", f->count, f->type);
        if (!text)
            return 0;
        KorvSNPrintf(key, sizeof key, "field-%u", i);
        header->params = KVHdrSetHeaderString(header->params, "Info", key, text);
        bool stored = KVHdrCheckHeaderParam(header->params, "Info", key) &&
                      KVHdrGetHeaderParam(header->params, "Info", key);
        korv_internal_free(text);
        if (!stored)
            return 0;
    }
    return 1;
}
