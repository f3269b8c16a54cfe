// Small hashes for lookups and checks.
#include <kvsup.h>

// A weighted byte sum: odd multiples of a weight that climbs by 2 and wraps
// back to 1 before reaching 255.
extern "C" KORV_API uint16_t KorvHashBytes(const void *data, uint32_t length)
{
    const auto *p = static_cast<const unsigned char *>(data);
    uint32_t sum = 0, weight = 1;
    for (uint32_t i = 0; i < length; i++) {
        sum += ((2u * p[i] + 1u) * weight) & 0xFF;
        weight += 2;
        if (weight >= 255)
            weight = 1;
    }
    return (uint16_t)sum;
}

// h = h * 33 + byte from 5381, each byte taken as signed.
extern "C" KORV_API uint32_t KorvHashString(const char *text)
{
    uint32_t h = 5381;
    if (text)
        for (const signed char *p = (const signed char *)text; *p; p++)
            h = h * 33u + (uint32_t)(int32_t)*p;
    return h;
}

// FNV-1 steps from the caller's seed; no built-in offset basis.
extern "C" KORV_API uint32_t KorvFNVHashBytes(const void *data, uint32_t length, uint32_t seed)
{
    const auto *p = static_cast<const unsigned char *>(data);
    uint32_t h = seed;
    for (uint32_t i = 0; i < length; i++)
        h = (h * 16777619u) ^ p[i];
    return h;
}
