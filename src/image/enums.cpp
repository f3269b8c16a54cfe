/*
 * The words of header files for orientations, scan directions, interleave
 * modes, compression methods and byte orders, both ways, and the
 * machine's own byte order. Words are compared whole, without regard to
 * letter case.
 */
#include "image/image_private.h"

#include <string_view>

namespace {

using std::string_view;

/* A word read as code; the written word of a code is the first row with it. */
struct Word {
    int32_t code;
    string_view name;
};

constexpr Word kOrient[] = {
    {0, "TB"}, {0, "LRTB"}, {1, "BT"}, {1, "LRBT"},
};

constexpr Word kScanDir[] = {
    {0, "LRTB"}, {1, "LRBT"}, {2, "RLTB"}, {3, "RLBT"},
    {4, "TBRL"}, {5, "TBLR"}, {6, "BTRL"}, {7, "BTLR"},
};

constexpr Word kInterleave[] = {
    {0, "scanline"}, {1, "pixel"}, {2, "frame"}, {3, "compression"},
};

constexpr Word kComp[] = {
    {0, "uncompressed"}, {1, "jpeg"}, {2, "ccitt-g3"}, {3, "ccitt-g4"},
    {4, "ccitt-g3-2d"}, {5, "fg"}, {6, "deflate"}, {7, "jbig2"},
    {8, "jpeg2000"}, {9, "xlz"}, {10, "lzw"}, {11, "ascii85"},
    {12, "base64"}, {13, "base32"}, {14, "base16"}, {14, "hex"},
    {15, "predictor"}, {16, "ccitt-rle"}, {17, "ccitt-rlew"}, {18, "jpeg-xr"},
    {19, "jbig"}, {19, "jbig1"},
};

constexpr Word kEndian[] = {
    {0, "type 2"}, {0, "little"}, {1, "type 1"}, {1, "big"},
};

template <size_t N>
const char *to_word(const Word (&table)[N], uint32_t code, const char *other)
{
    for (const Word &w : table)
        if (static_cast<uint32_t>(w.code) == code)
            return w.name.data(); /* every name is a NUL-terminated literal */
    return other;
}

template <size_t N>
int32_t to_code(const Word (&table)[N], string_view word, int32_t other)
{
    for (const Word &w : table)
        if (kvimage::ci_equal(word, w.name))
            return w.code;
    return other;
}

} // namespace

namespace kvimage {

int32_t comp_from_word(string_view word)
{
    return to_code(kComp, word, -1);
}

} // namespace kvimage

extern "C" KORV_API const char *KorvOrient2Str(uint32_t code)
{
    return to_word(kOrient, code, "unknown");
}

/* No word at all means the usual top-to-bottom order. */
extern "C" KORV_API int32_t KorvStr2Orient(const char *text)
{
    return text ? to_code(kOrient, text, -1) : 0;
}

extern "C" KORV_API const char *KorvScanDir2Str(uint32_t code)
{
    return to_word(kScanDir, code, "unknown");
}

extern "C" KORV_API int32_t KorvStr2ScanDir(const char *text)
{
    return text ? to_code(kScanDir, text, -1) : 0;
}

/* Interleave has no invalid word: anything unreadable falls back to
 * scan-line interleave, both ways. */
extern "C" KORV_API const char *KorvInterleave2Str(uint32_t code)
{
    return to_word(kInterleave, code, "scanline");
}

extern "C" KORV_API int32_t KorvStr2Interleave(const char *text)
{
    return text ? to_code(kInterleave, text, 0) : 0;
}

extern "C" KORV_API const char *KorvComp2Str(uint32_t code)
{
    return to_word(kComp, code, "unknown");
}

extern "C" KORV_API int32_t KorvStr2Comp(const char *text)
{
    return text ? to_code(kComp, text, -1) : -1;
}

extern "C" KORV_API const char *KorvEndian2Str(uint32_t code)
{
    return to_word(kEndian, code, "unknown");
}

extern "C" KORV_API int32_t KorvStr2Endian(const char *text)
{
    return text ? to_code(kEndian, text, -1) : -1;
}

extern "C" KORV_API uint32_t KorvIdentifyEndian(void)
{
    const uint32_t probe = 1;
    return *reinterpret_cast<const unsigned char *>(&probe) == 1 ? KORV_ENDIAN_LITTLE
                                                                 : KORV_ENDIAN_BIG;
}

/* Every supported machine is the one architecture, code 0, variant 0. */
extern "C" KORV_API uint32_t KorvIdentifyArch(uint32_t *arch, uint32_t *variant)
{
    if (arch)
        *arch = 0;
    if (variant)
        *variant = 0;
    return 4;
}
