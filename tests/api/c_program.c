/* A plain C11 program against the public header and the shared library. */
#include <kvsup.h>
#include <string.h>

int main(void)
{
    char *p = (char *)korv_internal_malloc(8);
    if (p == NULL)
        return 1;
    memcpy(p, "kvsup", 6);
    korv_internal_free(p);
    return 0;
}
