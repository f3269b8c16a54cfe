// In-place byte reversal of 2-, 4- and 8-byte values and arrays of them.
#include <string.h>
#include <kvsup.h>

namespace {

template <size_t N> void reverse(unsigned char *p)
{
    for (size_t i = 0; i < N / 2; i++) {
        unsigned char t = p[i];
        p[i] = p[N - 1 - i];
        p[N - 1 - i] = t;
    }
}

template <size_t N> void reverse_all(void *values, uint32_t count)
{
    auto *p = static_cast<unsigned char *>(values);
    if (!p)
        return;
    for (uint32_t i = 0; i < count; i++, p += N)
        reverse<N>(p);
}

} // namespace

extern "C" KORV_API void KorvSwabShort(void *value) { reverse_all<2>(value, 1); }
extern "C" KORV_API void KorvSwabLong(void *value) { reverse_all<4>(value, 1); }
extern "C" KORV_API void KorvSwabDouble(void *value) { reverse_all<8>(value, 1); }
extern "C" KORV_API void KorvSwabShortArray(void *values, uint32_t count) { reverse_all<2>(values, count); }
extern "C" KORV_API void KorvSwabLongArray(void *values, uint32_t count) { reverse_all<4>(values, count); }
extern "C" KORV_API void KorvSwabDoubleArray(void *values, uint32_t count) { reverse_all<8>(values, count); }
