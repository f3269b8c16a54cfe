/*
 * Colour spaces: the fixed table of codes with their canonical names, the
 * further names accepted when reading, their image parts (samples per
 * pixel) and their query bits.
 *
 * Query bits: 0x01 unknown, 0x02 RGB-ordered, 0x04 one-channel grey, 0x08
 * colour components, 0x10 hue-based, 0x20 device and ink spaces (and the
 * multi-part and spectral ones), 0x40 calibrated, 0x80 colour maps.
 */
#include "image/image_private.h"

#include <string_view>

namespace {

using std::string_view;

struct ColorRow {
    uint32_t code;
    string_view names[4]; /* canonical name first; unused entries empty */
    int32_t parts;        /* -1: no fixed count */
    uint32_t query;
};

/* The order of the rows is the order in which names are tried: a text is
 * matched against each row's names before any later row's, so a short name
 * early in the table ("unknown", "k") wins over longer ones after it. */
constexpr ColorRow kColors[] = {
    {0, {"unknown"}, -1, 0x01},
    {1, {"grayLinear", "gray", "grey"}, 1, 0x4C},
    {22, {"sLum", "sgray", "sgrey"}, 1, 0x4C},
    {21, {"klinear", "k"}, 1, 0x4C},
    {2, {"rgbLinear", "rgb", "velmorrgb", "vrgb"}, 3, 0x4A},
    {100, {"acRGB", "accurgb"}, 3, 0x4A},
    {111, {"sRGB"}, 3, 0x4A},
    {13, {"sBGR"}, 3, 0x4A},
    {10, {"BGR"}, 3, 0x4A},
    {105, {"GenRGB"}, 3, 0x4A},
    {23, {"DeviceGray", "devicegrey"}, 1, 0x2C},
    {18, {"DeviceRGB"}, 3, 0x2A},
    {19, {"ROMMRGB", "romm", "prophotorgb"}, 3, 0x4A},
    {6, {"cmykLinear", "cmyk"}, 4, 0x28},
    {103, {"cmyLinear", "cmy"}, 3, 0x28},
    {107, {"DeviceCMYK", "gencmyk"}, 4, 0x28},
    {106, {"DeviceCMY", "gencmy"}, 3, 0x28},
    {108, {"GenGRAY", "gengrey"}, 1, 0x4C},
    {3, {"yesLinear", "yes"}, 3, 0x48},
    {8, {"yhs"}, 3, 0x50},
    {113, {"iccxyz", "xyzicc"}, 3, 0x48},
    {7, {"xyz"}, 3, 0x48},
    {112, {"xyY"}, 3, 0x48},
    {4, {"cielab", "lab"}, 3, 0x48},
    {102, {"cielch", "lch"}, 3, 0x50},
    {5, {"cieluv", "luv"}, 3, 0x48},
    {16, {"faxlab"}, 3, 0x48},
    {20, {"itulab"}, 3, 0x48},
    {17, {"itul", "lstar"}, 1, 0x4C},
    {104, {"hclab", "hlab"}, 3, 0x48},
    {110, {"rlab"}, 3, 0x48},
    {101, {"ciecam97s", "ciecam97", "ciecam"}, 3, 0x50},
    {9, {"PhotoYCC", "ycc"}, 3, 0x48},
    {15, {"YCbCr", "jpegycbcr", "jpgycbcr", "unknownycbcr"}, 3, 0x48},
    {115, {"PhotometricYCbCr", "photoycbcr", "kodakycbcr"}, 3, 0x48},
    {109, {"hsv", "hsb"}, 3, 0x50},
    {114, {"lms"}, 3, 0x48},
    {11, {"BuildMap"}, 1, 0x80},
    {12, {"Map"}, 1, 0x80},
    {14, {"MultiPart"}, -1, 0x20},
    {116, {"Spectral"}, -1, 0x20},
    {24, {"sYCC"}, 3, 0x48},
    {25, {"Device5INK"}, 5, 0x28},
    {26, {"Device6INK"}, 6, 0x28},
    {27, {"Device7INK"}, 7, 0x28},
    {28, {"Device8INK"}, 8, 0x28},
};

static_assert(sizeof kColors / sizeof kColors[0] == 46, "the colour table has 46 spaces");

const ColorRow *find(uint32_t code)
{
    for (const ColorRow &row : kColors)
        if (row.code == code)
            return &row;
    return nullptr;
}

} // namespace

/* A name matches when the text begins with it: "grayscale" reads as gray,
 * "Labels" as lab. Text that matches no name is the unknown space. */
extern "C" KORV_API uint32_t KorvStr2Clr(const char *text)
{
    if (!text)
        return 0;
    for (const ColorRow &row : kColors)
        for (string_view name : row.names)
            if (!name.empty() && kvimage::ci_starts_with(text, name))
                return row.code;
    return 0;
}

/* Codes outside the table read "Unknown", apart from the unknown space's
 * own "unknown". */
extern "C" KORV_API const char *KorvClr2Str(uint32_t code)
{
    const ColorRow *row = find(code);
    return row ? row->names[0].data() : "Unknown";
}

extern "C" KORV_API uint32_t KorvValidColor(uint32_t code)
{
    return find(code) ? 1 : 0;
}

extern "C" KORV_API int32_t KorvGetImageParts(uint32_t code)
{
    const ColorRow *row = find(code);
    return row ? row->parts : -1;
}

/* Unsigned difference of the image parts: 0 means the same number of
 * samples, and a space with fewer parts gives a large value. */
extern "C" KORV_API uint32_t KorvCompareColor(uint32_t a, uint32_t b)
{
    return static_cast<uint32_t>(KorvGetImageParts(a)) - static_cast<uint32_t>(KorvGetImageParts(b));
}

extern "C" KORV_API uint32_t KorvColorQuery(uint32_t code, uint32_t bits)
{
    const ColorRow *row = find(code);
    return row && (row->query & bits) ? 1 : 0;
}

extern "C" KORV_API uint32_t KorvGetDefaultColor(uint32_t parts)
{
    switch (parts) {
    case 1: return 1; /* grayLinear */
    case 3: return 2; /* rgbLinear */
    case 4: return 6; /* cmykLinear */
    default: return 0;
    }
}
