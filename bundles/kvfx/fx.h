/*
 * kvfx: the sample processing bundle. This header is the plumbing that every
 * function of the bundle shares: the private state behind the common state
 * record, the strip driver, the input checks and the argument readers.
 *
 * Each function sees its image as interleaved samples of 8 or 16 bits, 1 to
 * 4 per pixel, in whole unpadded lines; 16-bit samples are in this machine's
 * byte order. Data comes and goes in strips of whole lines.
 */
#ifndef KVFX_FX_H
#define KVFX_FX_H

#include <stddef.h>
#include <stdint.h>
#include <string.h>
#include <kvsup.h>

#if defined(_WIN32)
#  define KVFX_EXPORT __declspec(dllexport)
#else
#  define KVFX_EXPORT __attribute__((visibility("default")))
#endif

namespace kvfx {

// 16-bit samples read and written in place; strips may start anywhere.
typedef uint16_t u16a __attribute__((aligned(1), may_alias));

// Sample i of a run of B-byte samples (B = 1 or 2), for templates, which
// would drop the attributes of u16a.
template <int B>
inline uint32_t get(const unsigned char *p, size_t i)
{
    if (B == 1)
        return p[i];
    uint16_t v;
    memcpy(&v, p + 2 * i, 2);
    return v;
}

template <int B>
inline void put(unsigned char *p, size_t i, uint32_t v)
{
    if (B == 1) {
        p[i] = (unsigned char)v;
        return;
    }
    uint16_t x = (uint16_t)v;
    memcpy(p + 2 * i, &x, 2);
}

struct Geometry {
    uint32_t width;
    uint32_t height;
    uint32_t channels; // samples per pixel, 1 to 4
    uint32_t bits;     // 8 or 16
    uint32_t line;     // bytes of one line
};

inline uint32_t max_value(uint32_t bits)
{
    return bits == 8 ? 255u : 65535u;
}

struct Fx;

// Consumes `lines` whole input lines (never 0) and leaves the output of this
// call in the output buffer (fx->outLines lines). Returns false with the
// error set.
typedef bool (*StripFn)(Fx *fx, const unsigned char *in, uint32_t lines);
// Called at end of input, every time the caller asks: emits held-back
// output. Returns 1 when nothing more remains, 2 when the caller must call
// again, 0 after setting the error.
typedef uint32_t (*FinishFn)(Fx *fx);
// Frees what the function holds of its own; the shared part frees the rest.
typedef void (*ReleaseFn)(Fx *fx);

// The state of every kvfx function: the common record first, then these
// fields, then the function's own (each function's record starts with Fx).
struct Fx {
    KorvState state;
    const char *fn;        // the function's name, first word of its messages
    Geometry in;
    Geometry out;
    unsigned char *buf;    // output bytes of the current call
    size_t cap;
    uint32_t outLines;     // lines in buf handed out by the current call
    uint32_t received;     // input lines consumed so far
    uint32_t ended;        // end of input seen
    StripFn strip;
    FinishFn finish;       // may be null: nothing is held back
    ReleaseFn release;     // may be null
};

// Allocates a state of `size` bytes (at least sizeof(Fx)), stores it through
// `out`, installs the shared entries and reads and checks the input header.
// Returns null when that fails; *out then holds the state with its error set
// (or null when not even the state could be made).
Fx *begin(KorvArgWord *args, KorvState **out, size_t size, const char *fn);

// Makes the output header from the input header and fx->out; returns the
// init entry's result (1, or 0 with the error set).
uint32_t ready(Fx *fx);

// Sets the error "<fn>: <message>" and returns 0.
uint32_t fail(Fx *fx, const char *format, ...);

// Output space for `lines` output lines; null (error set) when out of memory.
unsigned char *reserve(Fx *fx, uint32_t lines);

// Argument readers. Each returns 1 when the argument was given and read, 2
// when it is absent (the destination is untouched) and 0 when it is bad (the
// error names the argument and the offending text).
//
// A list of reals: the stored values in order; a text value is cut at blanks
// and commas ("1.2 1 0.8"). At most `max` values; at least one.
uint32_t arg_reals(Fx *fx, const KorvArgWord *args, const char *name, double *values,
                   uint32_t max, uint32_t *count);
uint32_t arg_real(Fx *fx, const KorvArgWord *args, const char *name, double *value);
uint32_t arg_int(Fx *fx, const KorvArgWord *args, const char *name, int32_t *value);
// A new text (korv_internal_free), stored values formatted as text.
uint32_t arg_text(Fx *fx, const KorvArgWord *args, const char *name, char **text);

} // namespace kvfx

// The init entries, exported so that descriptors can name them.
extern "C" {
KVFX_EXPORT uint32_t KvfxInvertInit(KorvArgWord *args, KorvState **state, KorvFuncDesc *desc);
KVFX_EXPORT uint32_t KvfxLevelsInit(KorvArgWord *args, KorvState **state, KorvFuncDesc *desc);
KVFX_EXPORT uint32_t KvfxGreyInit(KorvArgWord *args, KorvState **state, KorvFuncDesc *desc);
KVFX_EXPORT uint32_t KvfxCropInit(KorvArgWord *args, KorvState **state, KorvFuncDesc *desc);
KVFX_EXPORT uint32_t KvfxFlipInit(KorvArgWord *args, KorvState **state, KorvFuncDesc *desc);
KVFX_EXPORT uint32_t KvfxThresholdInit(KorvArgWord *args, KorvState **state, KorvFuncDesc *desc);
KVFX_EXPORT uint32_t KvfxBoxblurInit(KorvArgWord *args, KorvState **state, KorvFuncDesc *desc);
KVFX_EXPORT uint32_t KvfxConvertInit(KorvArgWord *args, KorvState **state, KorvFuncDesc *desc);
}

#endif
