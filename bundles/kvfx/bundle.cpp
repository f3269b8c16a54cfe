// The three entry symbols of the kvfx bundle: its major version, the list of
// its functions and the lookup of one function by name.
#include "fx.h"

namespace {

const int32_t kMajorVersion = KORV_BUNDLE_MAJOR_VERSION;

// Each function's descriptor document has the function's own name.
KorvModule g_invert = {"kvfx", "invert", "invert", KvfxInvertInit, nullptr};
KorvModule g_levels = {"kvfx", "levels", "levels", KvfxLevelsInit, nullptr};
KorvModule g_grey = {"kvfx", "grey", "grey", KvfxGreyInit, nullptr};
KorvModule g_crop = {"kvfx", "crop", "crop", KvfxCropInit, nullptr};
KorvModule g_flip = {"kvfx", "flip", "flip", KvfxFlipInit, nullptr};
KorvModule g_threshold = {"kvfx", "threshold", "threshold", KvfxThresholdInit, nullptr};
KorvModule g_boxblur = {"kvfx", "boxblur", "boxblur", KvfxBoxblurInit, nullptr};
KorvModule g_convert = {"kvfx", "convert", "convert", KvfxConvertInit, nullptr};

KorvModule *g_list[] = {&g_invert, &g_levels, &g_grey, &g_crop, &g_flip,
                        &g_threshold, &g_boxblur, &g_convert, nullptr};

char lower(char c)
{
    return c >= 'A' && c <= 'Z' ? (char)(c - 'A' + 'a') : c;
}

// Function names are matched without regard to ASCII case.
bool same_name(const char *a, const char *b)
{
    for (; *a && *b; a++, b++) {
        if (lower(*a) != lower(*b))
            return false;
    }
    return *a == *b;
}

} // namespace

extern "C" {

KVFX_EXPORT const int32_t *KorvaneBundleGetVersion_kvfx(void)
{
    return &kMajorVersion;
}

KVFX_EXPORT KorvModule **KorvaneBundleGetList_kvfx(void)
{
    return g_list;
}

KVFX_EXPORT KorvModule *KorvaneBundleGetModule_kvfx(const char *name)
{
    if (!name)
        return nullptr;
    for (KorvModule **m = g_list; *m; m++) {
        if (same_name((*m)->name, name))
            return *m;
    }
    return nullptr;
}

} // extern "C"
