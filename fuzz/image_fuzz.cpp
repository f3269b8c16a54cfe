// The image vocabularies and colour-space names over fuzzed words: a word
// that names a code must come back from that code's word.
#include "fuzz_util.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    std::string word(reinterpret_cast<const char *>(data), size);
    const char *w = word.c_str();

    uint32_t color = KorvStr2Clr(w);
    const char *color_name = KorvClr2Str(color);
    if (!color_name)
        abort();
    if (color && KorvStr2Clr(color_name) != color)
        abort(); // the word of a colour space does not name it
    KorvValidColor(color);
    KorvGetImageParts(color);
    KorvCompareColor(color, KorvStr2Clr("rgb"));
    KorvColorQuery(color, size % 64);

    struct Pair {
        const char *(*to_word)(uint32_t);
        int32_t (*to_code)(const char *);
    };
    const Pair pairs[] = {{KorvOrient2Str, KorvStr2Orient}, {KorvScanDir2Str, KorvStr2ScanDir},
                          {KorvComp2Str, KorvStr2Comp}, {KorvEndian2Str, KorvStr2Endian},
                          {KorvInterleave2Str, KorvStr2Interleave}};
    for (const Pair &p : pairs) {
        int32_t code = p.to_code(w);
        const char *name = p.to_word(static_cast<uint32_t>(code));
        if (!name)
            abort(); // a code's word is never null
        p.to_word(size);
    }
    KorvGetDefaultColor(size % 40);
    return 0;
}
