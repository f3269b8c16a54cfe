/*
 * The output state of one formatting call and its four sinks.
 *
 * Formatters hand the sink runs of characters (put) and runs of one repeated
 * character (fill); the string sinks copy them in blocks, the stream sink
 * writes them one byte per call. `produced` counts every character handed
 * over, `stored` those the sink kept.
 */
#ifndef KVSUP_FORMAT_FORMAT_OUTPUT_H
#define KVSUP_FORMAT_FORMAT_OUTPUT_H

#include "kvsup.h"

#include <stddef.h>
#include <stdint.h>
#include <string.h>

// Small functions on the hot paths of the engine, inlined whatever the
// compiler's estimate.
#if defined(__GNUC__)
#define KORV_INLINE inline __attribute__((always_inline))
#else
#define KORV_INLINE inline
#endif

namespace korv::fmt {

// The stream members' result once a write failed.
constexpr uint64_t stream_write_failed = 8;

enum class Sink : uint8_t {
    unbounded,  // stores everything (a null buffer only counts)
    bounded,    // stores at most `limit` characters
    growing,    // a buffer of the engine's own, doubled as needed
    stream,     // one KorvIOWriteBytes call per character
};

struct Output {
    Sink sink;
    bool alloc_failed;          // growing: a reallocation failed, nothing more is kept
    int error;                  // 0, or stream_write_failed
    char *buffer;               // string sinks: the text being written
    uint64_t limit;             // bounded: the most characters stored
    uint64_t capacity;          // growing: characters the buffer holds before its NUL
    KorvIO *io;                 // stream
    const KorvLocale *locale;   // null: the engine locale
    uint64_t produced;
    uint64_t stored;

    KORV_INLINE void put(const char *s, size_t n)
    {
        produced += n;
        if (sink == Sink::unbounded) {
            if (buffer)
                copy(buffer + stored, s, n);
            stored += n;
        } else if (sink == Sink::bounded) {
            uint64_t room = limit - stored;
            size_t m = n < room ? n : static_cast<size_t>(room);
            if (m) {
                copy(buffer + stored, s, m);
                stored += m;
            }
        } else {
            put_slow(s, n);
        }
    }

    KORV_INLINE void put(char c)
    {
        ++produced;
        if (sink == Sink::unbounded) {
            if (buffer)
                buffer[stored] = c;
            ++stored;
        } else if (sink == Sink::bounded) {
            if (stored < limit)
                buffer[stored++] = c;
        } else {
            put_slow(&c, 1);
        }
    }

    KORV_INLINE void fill(char c, uint64_t n)
    {
        if (n == 0)
            return;
        produced += n;
        if (sink == Sink::unbounded) {
            if (buffer)
                memset(buffer + stored, c, n);
            stored += n;
        } else if (sink == Sink::bounded) {
            uint64_t room = limit - stored;
            uint64_t m = n < room ? n : room;
            if (m) {
                memset(buffer + stored, c, m);
                stored += m;
            }
        } else {
            fill_slow(c, n);
        }
    }

    // Most runs are a few bytes long: a call to memcpy costs more than they
    // do. Two overlapping moves of a fixed size cover a run of 4 to 16.
    KORV_INLINE static void copy(char *to, const char *from, size_t n)
    {
        if (n >= 4 && n <= 16) {
            if (n >= 8) {
                uint64_t a, b;
                memcpy(&a, from, 8);
                memcpy(&b, from + n - 8, 8);
                memcpy(to, &a, 8);
                memcpy(to + n - 8, &b, 8);
            } else {
                uint32_t a, b;
                memcpy(&a, from, 4);
                memcpy(&b, from + n - 4, 4);
                memcpy(to, &a, 4);
                memcpy(to + n - 4, &b, 4);
            }
        } else if (n < 4) {
            if (n > 0)
                to[0] = from[0];
            if (n > 1)
                to[1] = from[1];
            if (n > 2)
                to[2] = from[2];
        } else {
            memcpy(to, from, n);
        }
    }

    void put_slow(const char *s, size_t n);
    void fill_slow(char c, uint64_t n);
};

// Output states for each sink, with the engine locale's decimal point
// unless a locale is given.
Output unbounded_output(char *dst, const KorvLocale *locale);
Output bounded_output(char *dst, uint64_t size, const KorvLocale *locale);
Output growing_output(const KorvLocale *locale);
Output stream_output(KorvIO *io, const KorvLocale *locale);

// Ends the text of a string sink with its NUL (the growing sink makes an
// empty string when it has nothing) and returns the text of the growing sink.
char *finish(Output &out);

// Releases the buffer of a growing sink that is not handed out.
void discard(Output &out);

} // namespace korv::fmt

#endif
