// MD5 message digests (RFC 1321). The context keeps the four state words, the
// bit count as two 32-bit halves and one 64-byte block.
#include <string.h>
#include <kvsup.h>

namespace {

// Per-step shift amounts, four per round.
const unsigned kShift[4][4] = {{7, 12, 17, 22}, {5, 9, 14, 20}, {4, 11, 16, 23}, {6, 10, 15, 21}};

// floor(abs(sin(i + 1)) * 2^32)
const uint32_t kSine[64] = {
    0xd76aa478, 0xe8c7b756, 0x242070db, 0xc1bdceee, 0xf57c0faf, 0x4787c62a, 0xa8304613, 0xfd469501,
    0x698098d8, 0x8b44f7af, 0xffff5bb1, 0x895cd7be, 0x6b901122, 0xfd987193, 0xa679438e, 0x49b40821,
    0xf61e2562, 0xc040b340, 0x265e5a51, 0xe9b6c7aa, 0xd62f105d, 0x02441453, 0xd8a1e681, 0xe7d3fbc8,
    0x21e1cde6, 0xc33707d6, 0xf4d50d87, 0x455a14ed, 0xa9e3e905, 0xfcefa3f8, 0x676f02d9, 0x8d2a4c8a,
    0xfffa3942, 0x8771f681, 0x6d9d6122, 0xfde5380c, 0xa4beea44, 0x4bdecfa9, 0xf6bb4b60, 0xbebfbc70,
    0x289b7ec6, 0xeaa127fa, 0xd4ef3085, 0x04881d05, 0xd9d4d039, 0xe6db99e5, 0x1fa27cf8, 0xc4ac5665,
    0xf4292244, 0x432aff97, 0xab9423a7, 0xfc93a039, 0x655b59c3, 0x8f0ccc92, 0xffeff47d, 0x85845dd1,
    0x6fa87e4f, 0xfe2ce6e0, 0xa3014314, 0x4e0811a1, 0xf7537e82, 0xbd3af235, 0x2ad7d2bb, 0xeb86d391,
};

uint32_t rotl(uint32_t x, unsigned n)
{
    return (x << n) | (x >> (32 - n));
}

void transform(uint32_t state[4], const unsigned char block[64])
{
    uint32_t m[16];
    for (int i = 0; i < 16; i++)
        m[i] = (uint32_t)block[4 * i] | (uint32_t)block[4 * i + 1] << 8 |
               (uint32_t)block[4 * i + 2] << 16 | (uint32_t)block[4 * i + 3] << 24;
    uint32_t a = state[0], b = state[1], c = state[2], d = state[3];
    for (unsigned i = 0; i < 64; i++) {
        uint32_t f;
        unsigned g, round = i / 16;
        switch (round) {
        case 0: f = (b & c) | (~b & d); g = i; break;
        case 1: f = (d & b) | (~d & c); g = (5 * i + 1) % 16; break;
        case 2: f = b ^ c ^ d; g = (3 * i + 5) % 16; break;
        default: f = c ^ (b | ~d); g = (7 * i) % 16; break;
        }
        uint32_t t = d;
        d = c;
        c = b;
        b = b + rotl(a + f + kSine[i] + m[g], kShift[round][i % 4]);
        a = t;
    }
    state[0] += a;
    state[1] += b;
    state[2] += c;
    state[3] += d;
}

} // namespace

extern "C" KORV_API void KorvMD5Init(KorvMD5Context *context)
{
    if (!context)
        return;
    memset(context, 0, sizeof *context);
    context->state[0] = 0x67452301;
    context->state[1] = 0xefcdab89;
    context->state[2] = 0x98badcfe;
    context->state[3] = 0x10325476;
}

extern "C" KORV_API void KorvMD5Update(KorvMD5Context *context, const void *data, uint32_t length)
{
    if (!context || (!data && length))
        return;
    const auto *p = static_cast<const unsigned char *>(data);
    uint32_t used = (context->count[0] >> 3) & 63;
    uint64_t bits = ((uint64_t)context->count[1] << 32 | context->count[0]) + ((uint64_t)length << 3);
    context->count[0] = (uint32_t)bits;
    context->count[1] = (uint32_t)(bits >> 32);
    while (length > 0) {
        uint32_t take = 64 - used < length ? 64 - used : length;
        memcpy(context->buffer + used, p, take);
        used += take;
        p += take;
        length -= take;
        if (used == 64) {
            transform(context->state, context->buffer);
            used = 0;
        }
    }
}

extern "C" KORV_API void KorvMD5Final(unsigned char digest[16], KorvMD5Context *context)
{
    if (!context)
        return;
    unsigned char length[8];
    for (int i = 0; i < 4; i++) {
        length[i] = (unsigned char)(context->count[0] >> (8 * i));
        length[4 + i] = (unsigned char)(context->count[1] >> (8 * i));
    }
    // Pad with 0x80 and zeros up to 56 bytes mod 64, then the bit count.
    static const unsigned char padding[64] = {0x80};
    uint32_t used = (context->count[0] >> 3) & 63;
    KorvMD5Update(context, padding, used < 56 ? 56 - used : 120 - used);
    KorvMD5Update(context, length, 8);
    if (digest)
        for (int i = 0; i < 16; i++)
            digest[i] = (unsigned char)(context->state[i / 4] >> (8 * (i % 4)));
    memset(context, 0, sizeof *context);
}
