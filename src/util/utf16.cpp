// UTF-8 to UTF-16 and back, in the machine's byte order.
//
// The two directions are deliberately not inverses beyond the Basic
// Multilingual Plane: a surrogate pair read back is combined without adding
// 65536, so such characters do not survive a round trip. Callers rely on the
// exact results, so both directions are kept as they are.
//
// Plain stretches of text go through blocks (utf16_paths.h); every other
// case goes through the character-at-a-time code here, which alone decides
// where a text ends and what a bad sequence or a surrogate does.
#include <string.h>
#include <atomic>
#include <kvsup.h>
#include "util/utf16_paths.h"
#include "util/utf8_codec.h"

using korv::utf8::Decoded;

namespace korv::utf16 {
namespace {

// Characters (or units) taken one at a time after a block is declined,
// before blocks are tried again.
const ptrdiff_t kStretch = 16;

void measure_scalar(const uint16_t *s, size_t *units, size_t *bytes, bool *swapped)
{
    const uint16_t *p = s;
    size_t total = 0;
    bool mark = false;
    for (; *p; p++) {
        total += 1 + (*p >= 0x80) + (*p >= 0x800);
        mark |= *p == 0xFFFE;
    }
    *units = (size_t)(p - s);
    *bytes = total;
    *swapped = mark;
}

const Blocks kScalar = {nullptr, nullptr, measure_scalar};

const Blocks *fastest()
{
    if (const Blocks *b = avx2_blocks())
        return b;
    if (const Blocks *b = neon_blocks())
        return b;
    if (const Blocks *b = sse2_blocks())
        return b;
    return &kScalar;
}

std::atomic<const Blocks *> g_active{nullptr};

} // namespace

const Blocks *blocks_of(Path path)
{
    switch (path) {
    case Path::Scalar:
        return &kScalar;
    case Path::SSE2:
        return sse2_blocks();
    case Path::AVX2:
        return avx2_blocks();
    case Path::NEON:
        return neon_blocks();
    }
    return nullptr;
}

const Blocks *active_blocks()
{
    const Blocks *b = g_active.load(std::memory_order_acquire);
    if (!b) {
        b = fastest();
        g_active.store(b, std::memory_order_release);
    }
    return b;
}

bool force_path(Path path)
{
    const Blocks *b = blocks_of(path);
    if (!b)
        return false;
    g_active.store(b, std::memory_order_release);
    return true;
}

void reset_path()
{
    g_active.store(fastest(), std::memory_order_release);
}

} // namespace korv::utf16

using namespace korv::utf16;

namespace {

uint16_t swap_bytes(uint16_t u)
{
    return (uint16_t)((u << 8) | (u >> 8));
}

// Writes one decoded value as one unit, or as a pair from 0x10000 on.
uint16_t *put_unit(uint16_t *o, uint32_t value)
{
    if (value < 0x10000) {
        *o++ = (uint16_t)value;
    } else {
        *o++ = (uint16_t)(0xD800 | ((value - 0x10000) >> 10));
        *o++ = (uint16_t)(0xDC00 | (value & 0x3FF));
    }
    return o;
}

uint64_t load64(const void *p)
{
    uint64_t w;
    memcpy(&w, p, sizeof w);
    return w;
}

} // namespace

// A bad sequence is not an error: it ends the text, and what was converted
// before it is the result. Every byte gives at most one unit (a four-byte
// sequence gives two), so the result is made once, as long as the text.
extern "C" KORV_API uint16_t *KorvUTF8ConvertToUTF16(const char *s)
{
    if (!s)
        return nullptr;
    size_t length = strlen(s);
    if (length >= SIZE_MAX / sizeof(uint16_t))
        return nullptr;
    auto *out = static_cast<uint16_t *>(korv_internal_malloc((length + 1) * sizeof(uint16_t)));
    if (!out)
        return nullptr;
    const Blocks *blocks = active_blocks();
    const auto *p = reinterpret_cast<const unsigned char *>(s);
    const auto *end = p + length;
    uint16_t *o = out;
    for (;;) {
        if (blocks->decode)
            p = blocks->decode(p, end, o);
        // One character at a time past a declined block, and to the end
        // once blocks are done.
        const unsigned char *stop = blocks->decode && end - p > kStretch ? p + kStretch : end;
        Decoded d;
        do {
            d = korv::utf8::decode(p, (size_t)(end - p) + 1);
            if (d.length <= 0)
                break;
            p += d.length;
            o = put_unit(o, d.value);
        } while (p < stop);
        if (d.length <= 0)
            break;
    }
    *o = 0;
    return out;
}

// Byte-order marks are skipped wherever they stand; a swapped mark (0xFFFE)
// turns on byte swapping of every later lead unit. The second unit of a
// pair is taken as it stands. A broken pair fails the whole conversion.
extern "C" KORV_API char *KorvUTF8ConvertFromUTF16(const uint16_t *s)
{
    if (!s)
        return nullptr;
    // The result is made once. No unit writes more than three bytes (a
    // pair writes four for two units); unswapped units are counted exactly.
    // Sixteen more bytes give the block writers room for their last store.
    const Blocks *blocks = active_blocks();
    size_t units, room;
    bool may_swap;
    blocks->measure(s, &units, &room, &may_swap);
    if (units >= (SIZE_MAX - 16) / 3)
        return nullptr;
    if (may_swap)
        room = 3 * units;
    room += 16;
    auto *out = static_cast<unsigned char *>(korv_internal_malloc(room));
    if (!out)
        return nullptr;
    bool swapping = false;
    const uint16_t *p = s, *end = s + units;
    unsigned char *o = out;
    while (p < end) {
        const uint16_t *stop = end;
        if (!swapping) {
            if (blocks->encode) {
                p = blocks->encode(p, end, o);
                if (end - p > kStretch)
                    stop = p + kStretch;
            } else {
                // Runs of ASCII four units at a time, then one unit.
                while (end - p >= 4 && (load64(p) & 0xFF80FF80FF80FF80ull) == 0) {
                    o[0] = (unsigned char)p[0];
                    o[1] = (unsigned char)p[1];
                    o[2] = (unsigned char)p[2];
                    o[3] = (unsigned char)p[3];
                    o += 4;
                    p += 4;
                }
                stop = p + (p < end);
            }
        }
        while (p < stop) {
            uint32_t u = *p++;
            if (swapping)
                u = swap_bytes((uint16_t)u);
            if (u == 0xFEFF)
                continue;
            if (u == 0xFFFE) {
                swapping = true;
                continue;
            }
            if (u - 0xD800 < 0x800) {
                // The unit after a lead surrogate is read even at the end:
                // it is the terminator then, and fails the pair.
                uint16_t second = *p;
                if (u >= 0xDC00 || second < 0xDC00 || second > 0xDFFF) {
                    korv_internal_free(out);
                    return nullptr;
                }
                p++;
                u = ((u & 0x3FF) << 10) | (second & 0x3FFu);
            }
            o += korv::utf8::encode(u, o);
        }
    }
    *o = 0;
    return reinterpret_cast<char *>(out);
}
