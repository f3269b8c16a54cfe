// Whole-block exchange and comparison.
#include <string.h>
#include <kvsup.h>

extern "C" KORV_API void KorvSwapBlock(void *a, void *b, size_t count)
{
    auto *p = static_cast<unsigned char *>(a);
    auto *q = static_cast<unsigned char *>(b);
    // Whole 32-bit words first (the blocks need no alignment), then the tail.
    for (size_t words = count / 4; words > 0; words--, p += 4, q += 4) {
        uint32_t x, y;
        memcpy(&x, p, 4);
        memcpy(&y, q, 4);
        memcpy(p, &y, 4);
        memcpy(q, &x, 4);
    }
    for (size_t rest = count % 4; rest > 0; rest--, p++, q++) {
        unsigned char t = *p;
        *p = *q;
        *q = t;
    }
}

extern "C" KORV_API int32_t KorvCmpBlock(const void *a, const void *b, size_t count)
{
    if (count == 0)
        return 0;
    auto *p = static_cast<const unsigned char *>(a);
    auto *q = static_cast<const unsigned char *>(b);
    size_t i = 0;
    while (i + 1 < count && p[i] == q[i])
        i++;
    // The first unequal pair, or the last pair when all are equal.
    return (int32_t)p[i] - (int32_t)q[i];
}
