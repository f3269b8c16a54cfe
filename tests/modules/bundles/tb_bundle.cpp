// A test bundle with two functions, compiled once per variant:
//   TB_NAME      the bundle's name (a bare token)
//   TB_FUNC1/2   its functions' names (strings)
//   TB_MAJOR     the major version it reports
//   TB_NO_VERSION, TB_NO_LIST, TB_NO_MODULE leave that entry symbol out.
// The module entry counts its calls (tb_module_calls).
#include <string.h>
#include <kvsup.h>
#include "tb_export.h"

namespace {

const int32_t g_major = TB_MAJOR;
int g_calls = 0;

uint32_t first_init(KorvArgWord *, KorvState **state, KorvFuncDesc *)
{
    if (!KorvAllocState(state, KORV_STATE_MIN_SIZE))
        return 0;
    (*state)->name = TB_FUNC1;
    return 1;
}

uint32_t second_init(KorvArgWord *, KorvState **state, KorvFuncDesc *)
{
    if (!KorvAllocState(state, KORV_STATE_MIN_SIZE))
        return 0;
    (*state)->name = TB_FUNC2;
    return 1;
}

KorvModule g_first = {TB_STR(TB_NAME), TB_FUNC1, TB_STR(TB_NAME) "_" TB_FUNC1, first_init, nullptr};
KorvModule g_second = {TB_STR(TB_NAME), TB_FUNC2, TB_STR(TB_NAME) "_" TB_FUNC2, second_init,
                       nullptr};
KorvModule *g_list[] = {&g_first, &g_second, nullptr};

} // namespace

#ifndef TB_NO_VERSION
TB_EXPORT const int32_t *TB_CAT(KorvaneBundleGetVersion_, TB_NAME)(void)
{
    return &g_major;
}
#endif

#ifndef TB_NO_LIST
TB_EXPORT KorvModule **TB_CAT(KorvaneBundleGetList_, TB_NAME)(void)
{
    return g_list;
}
#endif

#ifndef TB_NO_MODULE
TB_EXPORT KorvModule *TB_CAT(KorvaneBundleGetModule_, TB_NAME)(const char *name)
{
    g_calls++;
    for (KorvModule **m = g_list; *m; m++) {
        if (strcmp((*m)->name, name) == 0)
            return *m;
    }
    return nullptr;
}
#endif

TB_EXPORT int tb_module_calls(void)
{
    return g_calls;
}
