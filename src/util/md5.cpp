// MD5 message digests (RFC 1321). The context keeps the four state words, the
// bit count as two 32-bit halves and one 64-byte block.
#include <string.h>
#include <kvsup.h>

namespace {

inline uint32_t rotl(uint32_t x, unsigned n)
{
    return (x << n) | (x >> (32 - n));
}

// The four round functions.
struct F { static uint32_t f(uint32_t x, uint32_t y, uint32_t z) { return z ^ (x & (y ^ z)); } };
struct G { static uint32_t f(uint32_t x, uint32_t y, uint32_t z) { return y ^ (z & (x ^ y)); } };
struct H { static uint32_t f(uint32_t x, uint32_t y, uint32_t z) { return x ^ y ^ z; } };
struct I { static uint32_t f(uint32_t x, uint32_t y, uint32_t z) { return y ^ (x | ~z); } };

// One step: a = b + ((a + f(b, c, d) + word + constant) <<< shift).
template <class Round>
inline void step(uint32_t &a, uint32_t b, uint32_t c, uint32_t d, uint32_t word_and_constant,
                 unsigned shift)
{
    a = b + rotl(a + Round::f(b, c, d) + word_and_constant, shift);
}

// The 64 steps written out: step i takes message word g(i), the constant
// floor(abs(sin(i + 1)) * 2^32) and the round's shift, with the four state
// registers rotating one place per step.
void transform(uint32_t state[4], const unsigned char block[64])
{
    uint32_t m[16];
    for (int i = 0; i < 16; i++)
        m[i] = (uint32_t)block[4 * i] | (uint32_t)block[4 * i + 1] << 8 |
               (uint32_t)block[4 * i + 2] << 16 | (uint32_t)block[4 * i + 3] << 24;
    uint32_t a = state[0], b = state[1], c = state[2], d = state[3];
    step<F>(a, b, c, d, m[0] + 0xd76aa478u, 7);
    step<F>(d, a, b, c, m[1] + 0xe8c7b756u, 12);
    step<F>(c, d, a, b, m[2] + 0x242070dbu, 17);
    step<F>(b, c, d, a, m[3] + 0xc1bdceeeu, 22);
    step<F>(a, b, c, d, m[4] + 0xf57c0fafu, 7);
    step<F>(d, a, b, c, m[5] + 0x4787c62au, 12);
    step<F>(c, d, a, b, m[6] + 0xa8304613u, 17);
    step<F>(b, c, d, a, m[7] + 0xfd469501u, 22);
    step<F>(a, b, c, d, m[8] + 0x698098d8u, 7);
    step<F>(d, a, b, c, m[9] + 0x8b44f7afu, 12);
    step<F>(c, d, a, b, m[10] + 0xffff5bb1u, 17);
    step<F>(b, c, d, a, m[11] + 0x895cd7beu, 22);
    step<F>(a, b, c, d, m[12] + 0x6b901122u, 7);
    step<F>(d, a, b, c, m[13] + 0xfd987193u, 12);
    step<F>(c, d, a, b, m[14] + 0xa679438eu, 17);
    step<F>(b, c, d, a, m[15] + 0x49b40821u, 22);
    step<G>(a, b, c, d, m[1] + 0xf61e2562u, 5);
    step<G>(d, a, b, c, m[6] + 0xc040b340u, 9);
    step<G>(c, d, a, b, m[11] + 0x265e5a51u, 14);
    step<G>(b, c, d, a, m[0] + 0xe9b6c7aau, 20);
    step<G>(a, b, c, d, m[5] + 0xd62f105du, 5);
    step<G>(d, a, b, c, m[10] + 0x02441453u, 9);
    step<G>(c, d, a, b, m[15] + 0xd8a1e681u, 14);
    step<G>(b, c, d, a, m[4] + 0xe7d3fbc8u, 20);
    step<G>(a, b, c, d, m[9] + 0x21e1cde6u, 5);
    step<G>(d, a, b, c, m[14] + 0xc33707d6u, 9);
    step<G>(c, d, a, b, m[3] + 0xf4d50d87u, 14);
    step<G>(b, c, d, a, m[8] + 0x455a14edu, 20);
    step<G>(a, b, c, d, m[13] + 0xa9e3e905u, 5);
    step<G>(d, a, b, c, m[2] + 0xfcefa3f8u, 9);
    step<G>(c, d, a, b, m[7] + 0x676f02d9u, 14);
    step<G>(b, c, d, a, m[12] + 0x8d2a4c8au, 20);
    step<H>(a, b, c, d, m[5] + 0xfffa3942u, 4);
    step<H>(d, a, b, c, m[8] + 0x8771f681u, 11);
    step<H>(c, d, a, b, m[11] + 0x6d9d6122u, 16);
    step<H>(b, c, d, a, m[14] + 0xfde5380cu, 23);
    step<H>(a, b, c, d, m[1] + 0xa4beea44u, 4);
    step<H>(d, a, b, c, m[4] + 0x4bdecfa9u, 11);
    step<H>(c, d, a, b, m[7] + 0xf6bb4b60u, 16);
    step<H>(b, c, d, a, m[10] + 0xbebfbc70u, 23);
    step<H>(a, b, c, d, m[13] + 0x289b7ec6u, 4);
    step<H>(d, a, b, c, m[0] + 0xeaa127fau, 11);
    step<H>(c, d, a, b, m[3] + 0xd4ef3085u, 16);
    step<H>(b, c, d, a, m[6] + 0x04881d05u, 23);
    step<H>(a, b, c, d, m[9] + 0xd9d4d039u, 4);
    step<H>(d, a, b, c, m[12] + 0xe6db99e5u, 11);
    step<H>(c, d, a, b, m[15] + 0x1fa27cf8u, 16);
    step<H>(b, c, d, a, m[2] + 0xc4ac5665u, 23);
    step<I>(a, b, c, d, m[0] + 0xf4292244u, 6);
    step<I>(d, a, b, c, m[7] + 0x432aff97u, 10);
    step<I>(c, d, a, b, m[14] + 0xab9423a7u, 15);
    step<I>(b, c, d, a, m[5] + 0xfc93a039u, 21);
    step<I>(a, b, c, d, m[12] + 0x655b59c3u, 6);
    step<I>(d, a, b, c, m[3] + 0x8f0ccc92u, 10);
    step<I>(c, d, a, b, m[10] + 0xffeff47du, 15);
    step<I>(b, c, d, a, m[1] + 0x85845dd1u, 21);
    step<I>(a, b, c, d, m[8] + 0x6fa87e4fu, 6);
    step<I>(d, a, b, c, m[15] + 0xfe2ce6e0u, 10);
    step<I>(c, d, a, b, m[6] + 0xa3014314u, 15);
    step<I>(b, c, d, a, m[13] + 0x4e0811a1u, 21);
    step<I>(a, b, c, d, m[4] + 0xf7537e82u, 6);
    step<I>(d, a, b, c, m[11] + 0xbd3af235u, 10);
    step<I>(c, d, a, b, m[2] + 0x2ad7d2bbu, 15);
    step<I>(b, c, d, a, m[9] + 0xeb86d391u, 21);
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
    if (length == 0)
        return;
    // Top up a partly filled block first, then take whole blocks straight
    // from the input, and keep the tail for later.
    if (used > 0) {
        uint32_t take = 64 - used < length ? 64 - used : length;
        memcpy(context->buffer + used, p, take);
        used += take;
        p += take;
        length -= take;
        if (used < 64)
            return;
        transform(context->state, context->buffer);
    }
    for (; length >= 64; p += 64, length -= 64)
        transform(context->state, p);
    memcpy(context->buffer, p, length);
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
