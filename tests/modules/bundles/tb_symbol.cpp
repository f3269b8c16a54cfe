// A library exporting one symbol, TB_SYMBOL, a function that returns
// TB_VALUE, so that a test can tell which library answered; and a counter
// that starts again from 1 whenever the library is loaded afresh.
#include "tb_export.h"

namespace {
int g_count = 0;
}

TB_EXPORT int TB_SYMBOL(void)
{
    return TB_VALUE;
}

TB_EXPORT int tb_count(void)
{
    return ++g_count;
}
