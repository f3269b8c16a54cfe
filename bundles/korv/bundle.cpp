// The three entry symbols of the korv bundle.
#include <string.h>
#include "korv.h"

namespace {

const int32_t kMajorVersion = KORV_BUNDLE_MAJOR_VERSION;

// Descriptor documents are named after the bundle and the function, so that
// they sit beside other bundles' documents in one data folder.
KorvModule g_copy = {"korv", "copy", "korv_copy", KorvCopyInit, nullptr};
KorvModule g_invert = {"korv", "invert", "korv_invert", KorvInvertInit, nullptr};

KorvModule *g_list[] = {&g_copy, &g_invert, nullptr};

} // namespace

extern "C" {

KORV_BUNDLE_EXPORT const int32_t *KorvaneBundleGetVersion_korv(void)
{
    return &kMajorVersion;
}

KORV_BUNDLE_EXPORT KorvModule **KorvaneBundleGetList_korv(void)
{
    return g_list;
}

KORV_BUNDLE_EXPORT KorvModule *KorvaneBundleGetModule_korv(const char *name)
{
    if (!name)
        return nullptr;
    for (KorvModule **m = g_list; *m; m++) {
        if (strcmp((*m)->name, name) == 0)
            return *m;
    }
    return nullptr;
}

} // extern "C"
