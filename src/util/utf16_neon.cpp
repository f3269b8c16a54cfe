// Blocks of sixteen bytes of UTF-8 decoded, and of eight units of UTF-16
// encoded, with NEON, which every 64-bit Arm machine has.
#include "util/utf16_paths.h"

#if defined(__aarch64__)
#include <arm_neon.h>
#include "util/utf16_tables.h"
#include "util/whole_reads.h"

namespace korv::utf16 {
namespace {

// The lanes of a byte mask (each 0xFF or 0) as bits, lane i as bit i.
inline uint32_t lane_bits(uint8x16_t m)
{
    const uint8x16_t weights = {1, 2, 4, 8, 16, 32, 64, 128, 1, 2, 4, 8, 16, 32, 64, 128};
    uint8x16_t w = vandq_u8(m, weights);
    return (uint32_t)vaddv_u8(vget_low_u8(w)) | (uint32_t)vaddv_u8(vget_high_u8(w)) << 8;
}

// The same for eight 16-bit lanes.
inline uint32_t lane_bits(uint16x8_t m)
{
    const uint16x8_t weights = {1, 2, 4, 8, 16, 32, 64, 128};
    return vaddvq_u16(vandq_u16(m, weights));
}

inline uint8x16_t in_range(uint8x16_t x, uint8_t low, uint8_t high)
{
    return vandq_u8(vcgeq_u8(x, vdupq_n_u8(low)), vcleq_u8(x, vdupq_n_u8(high)));
}

// The values of eight positions, each taken as the lead of a one-, two- or
// three-byte sequence, from the bytes there (b0) and the two after them.
inline uint16x8_t values(uint16x8_t b0, uint16x8_t b1, uint16x8_t b2)
{
    uint16x8_t low6 = vdupq_n_u16(0x3F);
    // The lead's bits above the first continuation's six: the low eleven
    // bits are a two-byte value, and six more bits make a three-byte one.
    uint16x8_t w = vorrq_u16(vshlq_n_u16(b0, 6), vandq_u16(b1, low6));
    uint16x8_t v2 = vandq_u16(w, vdupq_n_u16(0x7FF));
    uint16x8_t v3 = vorrq_u16(vshlq_n_u16(w, 6), vandq_u16(b2, low6));
    uint16x8_t lead = vcgtq_u16(b0, vdupq_n_u16(0xBF));
    uint16x8_t lead3 = vcgtq_u16(b0, vdupq_n_u16(0xDF));
    return vbslq_u16(lead3, v3, vbslq_u16(lead, v2, b0));
}

// Writes the lanes of v whose bits are set in keep (eight bits), in order.
inline void put_lanes(uint16x8_t v, uint32_t keep, uint16_t *&o)
{
    uint8x16_t packed = vqtbl1q_u8(vreinterpretq_u8_u16(v), vld1q_u8(kGatherLanes.index[keep]));
    vst1q_u8(reinterpret_cast<uint8_t *>(o), packed);
    o += __builtin_popcount(keep);
}

const unsigned char *decode_neon(const unsigned char *p, const unsigned char *end, uint16_t *&out)
{
    uint16_t *o = out;
    // A block reads the two bytes after its sixteen.
    while (end - p >= 18) {
        uint8x16_t x = vld1q_u8(p);
        if (vmaxvq_u8(x) < 0x80) {
            vst1q_u16(o, vmovl_u8(vget_low_u8(x)));
            vst1q_u16(o + 8, vmovl_high_u8(x));
            p += 16;
            o += 16;
            continue;
        }
        uint8x16_t cont = vceqq_u8(vandq_u8(x, vdupq_n_u8(0xC0)), vdupq_n_u8(0x80));
        uint8x16_t lead2 = in_range(x, 0xC2, 0xDF), lead3 = in_range(x, 0xE0, 0xEF);
        uint8x16_t known = vorrq_u8(vorrq_u8(vcltq_u8(x, vdupq_n_u8(0x80)), cont), vorrq_u8(lead2, lead3));
        if (vminvq_u8(known) != 0xFF)
            break;
        // E0 must be followed by A0 or more, or the value would be overlong.
        uint8x16_t x1 = vld1q_u8(p + 1), x2 = vld1q_u8(p + 2);
        if (vmaxvq_u8(vandq_u8(vceqq_u8(x, vdupq_n_u8(0xE0)), vcltq_u8(x1, vdupq_n_u8(0xA0)))) != 0)
            break;
        // Continuation bytes exactly where the leads want them, the two
        // after the block included.
        uint32_t conts = lane_bits(cont) | (uint32_t)((p[16] & 0xC0) == 0x80) << 16
                         | (uint32_t)((p[17] & 0xC0) == 0x80) << 17;
        uint32_t l3 = lane_bits(lead3);
        uint32_t wanted = (lane_bits(lead2) | l3) << 1 | l3 << 2;
        if (((conts ^ wanted) & 0xFFFF) != 0 || (wanted & ~conts) != 0)
            break;
        uint32_t keep = ~conts & 0xFFFF;
        put_lanes(values(vmovl_u8(vget_low_u8(x)), vmovl_u8(vget_low_u8(x1)), vmovl_u8(vget_low_u8(x2))),
                  keep & 0xFF, o);
        put_lanes(values(vmovl_high_u8(x), vmovl_high_u8(x1), vmovl_high_u8(x2)), keep >> 8, o);
        p += 16 + __builtin_popcount(wanted >> 16);
    }
    out = o;
    return p;
}

const uint16_t *encode_neon(const uint16_t *p, const uint16_t *end, unsigned char *&out)
{
    unsigned char *o = out;
    while (end - p >= 8) {
        uint16x8_t u = vld1q_u16(p);
        // Surrogates, and units from 0xFEFF up, are for the careful encoder.
        uint16x8_t odd = vorrq_u16(vceqq_u16(vandq_u16(u, vdupq_n_u16(0xF800)), vdupq_n_u16(0xD800)),
                                   vcgeq_u16(u, vdupq_n_u16(0xFEFF)));
        if (vmaxvq_u16(odd) != 0)
            break;
        uint16x8_t one = vcltq_u16(u, vdupq_n_u16(0x80)), upto2 = vcltq_u16(u, vdupq_n_u16(0x800));
        if (vminvq_u16(one) != 0) {
            vst1_u8(o, vmovn_u16(u));
            o += 8;
            p += 8;
            continue;
        }
        // Each unit's bytes in a word: last and middle continuation bytes,
        // three-byte lead, one- or two-byte lead (see the encode table).
        uint16x8_t conts = vorrq_u16(vorrq_u16(vandq_u16(u, vdupq_n_u16(0x3F)),
                                               vandq_u16(vshlq_n_u16(u, 2), vdupq_n_u16(0x3F00))),
                                     vdupq_n_u16(0x8080));
        uint16x8_t lead3 = vorrq_u16(vshrq_n_u16(u, 12), vdupq_n_u16(0xE0));
        uint16x8_t lead12 = vbslq_u16(one, u, vorrq_u16(vshrq_n_u16(u, 6), vdupq_n_u16(0xC0)));
        uint16x8_t leads = vorrq_u16(lead3, vshlq_n_u16(lead12, 8));
        uint8x16_t lo = vreinterpretq_u8_u16(vzip1q_u16(conts, leads));
        uint8x16_t hi = vreinterpretq_u8_u16(vzip2q_u16(conts, leads));
        uint32_t m1 = lane_bits(one), m2 = lane_bits(upto2);
        uint32_t k0 = (m1 & 0xF) | (m2 & 0xF) << 4, k1 = m1 >> 4 | (m2 & 0xF0);
        vst1q_u8(o, vqtbl1q_u8(lo, vld1q_u8(kEncodeWords.index[k0])));
        o += 12 - __builtin_popcount(k0);
        vst1q_u8(o, vqtbl1q_u8(hi, vld1q_u8(kEncodeWords.index[k1])));
        o += 12 - __builtin_popcount(k1);
        p += 8;
    }
    out = o;
    return p;
}

// Reads aligned blocks, which never cross into another page.
KORV_WHOLE_WORD_READS void measure_neon(const uint16_t *s, size_t *units, size_t *bytes, bool *swapped)
{
    const uint16_t *p = s;
    size_t total = 0;
    bool mark = false;
    while ((reinterpret_cast<uintptr_t>(p) & 15) != 0 && *p) {
        total += 1 + (*p >= 0x80) + (*p >= 0x800);
        mark |= *p++ == 0xFFFE;
    }
    if ((reinterpret_cast<uintptr_t>(p) & 15) == 0) {
        uint16x8_t marks = vdupq_n_u16(0);
        for (;;) {
            uint16x8_t u = vld1q_u16(p);
            if (vmaxvq_u16(vceqq_u16(u, vdupq_n_u16(0))) != 0)
                break;
            // Three bytes a unit, less one for each limit it is below (a
            // true compare is -1).
            int16x8_t below = vaddq_s16(vreinterpretq_s16_u16(vcltq_u16(u, vdupq_n_u16(0x80))),
                                        vreinterpretq_s16_u16(vcltq_u16(u, vdupq_n_u16(0x800))));
            total += (size_t)(24 + vaddvq_s16(below));
            marks = vorrq_u16(marks, vceqq_u16(u, vdupq_n_u16(0xFFFE)));
            p += 8;
        }
        mark |= vmaxvq_u16(marks) != 0;
        while (*p) {
            total += 1 + (*p >= 0x80) + (*p >= 0x800);
            mark |= *p++ == 0xFFFE;
        }
    }
    *units = (size_t)(p - s);
    *bytes = total;
    *swapped = mark;
}

const Blocks kNeon = {decode_neon, encode_neon, measure_neon};

} // namespace

const Blocks *neon_blocks()
{
    return &kNeon;
}

} // namespace korv::utf16

#else

namespace korv::utf16 {

const Blocks *neon_blocks()
{
    return nullptr;
}

} // namespace korv::utf16

#endif
