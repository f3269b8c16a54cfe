/*
 * The input side of the scanf family: character sources with one character
 * of look-ahead. Both kinds offer the same members, and the field readers
 * and the driver are templates over them.
 *
 * peek() is the character read ahead, 0..255, or -1 once the input has
 * ended; next() consumes it and reads the following one; consumed() counts
 * the characters consumed. A string source hands out the bytes of its string
 * and stops at the NUL without moving past it. A stream source reads one byte
 * per character; a failing read records the error 8 and ends the input. The
 * character that ends a field has been taken from a stream and is not given
 * back.
 */
#ifndef KVSUP_FORMAT_SCAN_SOURCE_H
#define KVSUP_FORMAT_SCAN_SOURCE_H

#include "kvsup.h"

#include <stdint.h>

namespace korv::scan {

constexpr int end_of_input = -1;
constexpr int32_t read_failed = 8;

struct StringSource {
    const unsigned char *start;
    const unsigned char *at;    // the character read ahead; never past the NUL

    // A null string reads as empty input.
    explicit StringSource(const char *s)
        : start(reinterpret_cast<const unsigned char *>(s ? s : "")), at(start) {}

    int peek() const { return *at ? *at : end_of_input; }
    bool ended() const { return !*at; }
    void next() {
        if (*at) ++at;
    }
    uint64_t consumed() const { return static_cast<uint64_t>(at - start); }
    int32_t error() const { return 0; }
};

struct StreamSource {
    KorvIO *io;
    int cur;
    uint64_t count;
    int32_t failure;

    explicit StreamSource(KorvIO *stream) : io(stream), cur(end_of_input), count(0), failure(0) {
        fetch();
    }

    int peek() const { return cur; }
    bool ended() const { return cur < 0; }
    void next() {
        if (cur < 0) return;
        ++count;
        fetch();
    }
    uint64_t consumed() const { return count; }
    int32_t error() const { return failure; }

    // Reads the next byte into cur.
    void fetch();
};

// A reader's working copy of its source. The copy's address never leaves
// the reader, so for strings it lives in registers while bytes are stored
// through the caller's pointers; the position goes back on return.
template <typename Src>
struct Cursor : Src {
    Src &home;
    explicit Cursor(Src &s) : Src(s), home(s) {}
    ~Cursor() { home = static_cast<const Src &>(*this); }
    Cursor(const Cursor &) = delete;
    Cursor &operator=(const Cursor &) = delete;
};

inline bool is_space(int c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

template <typename Src>
inline void skip_space(Src &s) {
    while (is_space(s.peek())) s.next();
}

} // namespace korv::scan

#endif
