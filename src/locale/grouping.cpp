/*
 * Group sizes as the C library lists them, turned into the text form.
 */
#include "locale/locale_os.h"

#include "kvsup.h"

namespace korv::locale {

// The bytes are read as unsigned values, so that the result is the same
// whether `char` is signed (x86) or unsigned (Arm): a 0 ends the list and the
// last size repeats; a byte of 127 or more ends it without repetition. That
// covers "no further grouping" written as CHAR_MAX of either kind of machine
// (127 or 255), and the sizes a signed-char machine would see as negative.
char *grouping_text(const char *sizes)
{
    char text[64];
    size_t used = 0;
    bool repeats = false;
    for (const char *p = sizes; *p && used + 8 < sizeof text; p++) {
        unsigned size = static_cast<unsigned char>(*p);
        if (size >= 127) {
            repeats = false;
            break;
        }
        used += KorvSNPrintf(text + used, sizeof text - used, "%s%u", used ? ";" : "", size);
        repeats = true;
    }
    text[used] = '\0';
    if (repeats)
        KorvSNPrintf(text + used, sizeof text - used, ";0");
    return KorvStrDup(text);
}

} // namespace korv::locale
