// Every way of running the UTF-16 conversions (one character at a time, and
// each block way this machine can run) gives the same result byte for byte,
// bad input included, for texts of every short length at every alignment.
#include <gtest/gtest.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>
#include <algorithm>
#include <string>
#include <vector>
#include <kvsup.h>
#include "util/utf16_paths.h"

using korv::utf16::Path;

namespace {

struct Rng {
    uint32_t x;
    uint32_t operator()()
    {
        x ^= x << 13, x ^= x >> 17, x ^= x << 5;
        return x;
    }
    uint32_t in(uint32_t low, uint32_t high) { return low + (*this)() % (high - low + 1); }
};

struct PathReset {
    ~PathReset() { korv::utf16::reset_path(); }
};

std::vector<Path> block_paths()
{
    std::vector<Path> paths;
    for (Path p : {Path::SSE2, Path::AVX2, Path::NEON})
        if (korv::utf16::blocks_of(p))
            paths.push_back(p);
    return paths;
}

void put_utf8(std::string &s, uint32_t c)
{
    if (c < 0x80) {
        s += (char)c;
    } else if (c < 0x800) {
        s += (char)(0xC0 | c >> 6);
        s += (char)(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        s += (char)(0xE0 | c >> 12);
        s += (char)(0x80 | (c >> 6 & 0x3F));
        s += (char)(0x80 | (c & 0x3F));
    } else {
        s += (char)(0xF0 | c >> 18);
        s += (char)(0x80 | (c >> 12 & 0x3F));
        s += (char)(0x80 | (c >> 6 & 0x3F));
        s += (char)(0x80 | (c & 0x3F));
    }
}

// Sequences the careful decoder must see: bad ones, and valid ones at the
// edges of the lengths.
const char *const kOddUtf8[] = {
    "\x80", "\xBF", "\xC0\x80", "\xC1\xBF", "\xC2", "\xDF", "\xE0\x9F\xBF", "\xE0\xA0", "\xE0\xA0\x80",
    "\xED\xA0\x80", "\xEF\xBF\xBF", "\xF0\x8F\xBF\xBF", "\xF0\x90\x80", "\xF0\x90\x80\x80",
    "\xF7\xBF\xBF\xBF", "\xF8\x88\x80\x80\x80", "\xFE", "\xFF", "\xC3\xC3\xB1", "\xE4\xB8\xE4\xB8\xAD"};

// A text of about length bytes; one piece in odd_every is an odd one.
std::string random_utf8(Rng &rng, size_t length, uint32_t odd_every)
{
    std::string s;
    while (s.size() < length) {
        uint32_t kind = rng() % 8;
        if (odd_every && rng() % odd_every == 0)
            s += kOddUtf8[rng() % (sizeof kOddUtf8 / sizeof kOddUtf8[0])];
        else if (kind < 3)
            s += (char)rng.in(0x01, 0x7F);
        else if (kind < 5)
            put_utf8(s, rng.in(0x80, 0x7FF));
        else if (kind < 7)
            put_utf8(s, rng.in(0x800, 0xFFFF));
        else if (rng() % 4 == 0)
            put_utf8(s, rng.in(0x10000, 0x10FFFF));
        else
            s += (char)rng.in(0x20, 0x7E);
    }
    return s;
}

std::string to16_bytes(const char *s)
{
    uint16_t *w = KorvUTF8ConvertToUTF16(s);
    if (!w)
        return "<null>";
    std::string r(reinterpret_cast<const char *>(w), 2 * KorvWideStrLen(w));
    korv_internal_free(w);
    return r;
}

std::string from16_bytes(const uint16_t *s)
{
    char *r = KorvUTF8ConvertFromUTF16(s);
    if (!r)
        return "<null>";
    std::string bytes(r);
    korv_internal_free(r);
    return bytes;
}

// Converts text placed at each offset 0..31 from a 64-byte boundary with
// every block way, and compares with one character at a time.
void expect_same_to16(const std::string &text, const std::vector<Path> &paths)
{
    std::vector<char> buffer(text.size() + 128);
    char *base = buffer.data() + (64 - reinterpret_cast<uintptr_t>(buffer.data()) % 64);
    for (int offset = 0; offset < 32; offset++) {
        memcpy(base + offset, text.c_str(), text.size() + 1);
        korv::utf16::force_path(Path::Scalar);
        std::string want = to16_bytes(base + offset);
        for (Path p : paths) {
            korv::utf16::force_path(p);
            ASSERT_EQ(to16_bytes(base + offset), want)
                << "path " << (int)p << " offset " << offset << " text " << testing::PrintToString(text);
        }
    }
}

void expect_same_from16(const std::vector<uint16_t> &units, const std::vector<Path> &paths)
{
    std::vector<uint16_t> buffer(units.size() + 64);
    uint16_t *base = buffer.data() + (32 - reinterpret_cast<uintptr_t>(buffer.data()) % 64 / 2);
    for (int offset = 0; offset < 16; offset++) {
        std::copy(units.begin(), units.end(), base + offset);
        base[offset + units.size()] = 0;
        korv::utf16::force_path(Path::Scalar);
        std::string want = from16_bytes(base + offset);
        // The measure sizes the result: it must agree exactly too.
        size_t want_units, want_bytes, got_units, got_bytes;
        bool want_mark, got_mark;
        korv::utf16::blocks_of(Path::Scalar)->measure(base + offset, &want_units, &want_bytes, &want_mark);
        ASSERT_EQ(want_units, units.size());
        for (Path p : paths) {
            korv::utf16::force_path(p);
            ASSERT_EQ(from16_bytes(base + offset), want)
                << "path " << (int)p << " offset " << offset << " units " << testing::PrintToString(units);
            korv::utf16::blocks_of(p)->measure(base + offset, &got_units, &got_bytes, &got_mark);
            ASSERT_EQ(got_units, want_units) << "path " << (int)p << " offset " << offset;
            ASSERT_EQ(got_bytes, want_bytes) << "path " << (int)p << " offset " << offset;
            ASSERT_EQ(got_mark, want_mark) << "path " << (int)p << " offset " << offset;
        }
    }
}

} // namespace

TEST(Utf16Paths, TheMachinesBlockWaysAreThere)
{
    std::vector<Path> paths = block_paths();
#if defined(__x86_64__)
    EXPECT_NE(korv::utf16::blocks_of(Path::SSE2), nullptr);
#elif defined(__aarch64__)
    EXPECT_NE(korv::utf16::blocks_of(Path::NEON), nullptr);
#endif
    EXPECT_TRUE(korv::utf16::force_path(Path::Scalar));
    korv::utf16::reset_path();
    for (Path p : {Path::SSE2, Path::AVX2, Path::NEON})
        EXPECT_EQ(korv::utf16::force_path(p), korv::utf16::blocks_of(p) != nullptr);
    korv::utf16::reset_path();
    printf("block ways: %zu\n", paths.size());
}

TEST(Utf16Paths, ToUtf16AlikeForEveryLengthAndAlignment)
{
    PathReset reset;
    std::vector<Path> paths = block_paths();
    Rng rng{2463534242u};
    for (size_t length = 0; length <= 100; length++) {
        for (uint32_t odd_every : {0u, 4u, 40u}) {
            expect_same_to16(random_utf8(rng, length, odd_every), paths);
            if (HasFatalFailure())
                return;
        }
    }
    for (int round = 0; round < 40; round++) {
        expect_same_to16(random_utf8(rng, 100 + rng() % 400, round % 2 ? 200 : 0), paths);
        if (HasFatalFailure())
            return;
    }
}

TEST(Utf16Paths, ToUtf16SequencesAtBlockEdges)
{
    // Each sequence at every position of the first blocks, between runs of
    // ASCII and of three-byte characters, and cut short by the end.
    PathReset reset;
    std::vector<Path> paths = block_paths();
    std::vector<std::string> sequences = {"\xC3\xB1", "\xE4\xB8\xAD", "\xF0\x9F\x98\x80"};
    for (const char *odd : kOddUtf8)
        sequences.push_back(odd);
    for (const std::string &seq : sequences) {
        for (size_t at = 0; at < 70; at++) {
            std::string ascii = std::string(at, 'a') + seq + std::string(40, '0');
            std::string cjk;
            while (cjk.size() < at)
                cjk += "\xE4\xB8\xAD";
            cjk = cjk.substr(0, at) + seq + "\xC3\xA9\xE6\x96\x87\xC3\xA9\xE6\x96\x87xyz\xE6\x96\x87\xE6\x96\x87";
            for (const std::string &text : {ascii, cjk, ascii.substr(0, at + seq.size() - 1)}) {
                expect_same_to16(text, paths);
                if (HasFatalFailure())
                    return;
            }
        }
    }
}

TEST(Utf16Paths, FromUtf16AlikeForEveryLengthAndAlignment)
{
    PathReset reset;
    std::vector<Path> paths = block_paths();
    Rng rng{88172645u};
    // Plain units of every length class, and now and then a pair, a lone
    // surrogate, a byte-order mark either way round, or 0xFFFF.
    auto unit = [&rng](uint32_t odd_every, std::vector<uint16_t> &u) {
        if (odd_every && rng() % odd_every == 0) {
            switch (rng() % 7) {
            case 0: u.push_back((uint16_t)rng.in(0xD800, 0xDBFF)); u.push_back((uint16_t)rng.in(0xDC00, 0xDFFF)); break;
            case 1: u.push_back((uint16_t)rng.in(0xD800, 0xDBFF)); break;
            case 2: u.push_back((uint16_t)rng.in(0xDC00, 0xDFFF)); break;
            case 3: u.push_back(0xFEFF); break;
            case 4: u.push_back(0xFFFE); break;
            case 5: u.push_back(0xFFFF); break;
            default: u.push_back(0xFEFE); break;
            }
            return;
        }
        switch (rng() % 4) {
        case 0: u.push_back((uint16_t)rng.in(0x01, 0x7F)); break;
        case 1: u.push_back((uint16_t)rng.in(0x80, 0x7FF)); break;
        case 2: u.push_back((uint16_t)rng.in(0x800, 0xD7FF)); break;
        default: u.push_back((uint16_t)rng.in(0xE000, 0xFEFE)); break;
        }
    };
    for (size_t length = 0; length <= 100; length++) {
        for (uint32_t odd_every : {0u, 6u, 50u}) {
            std::vector<uint16_t> units;
            while (units.size() < length)
                unit(odd_every, units);
            expect_same_from16(units, paths);
            if (HasFatalFailure())
                return;
        }
    }
    // Long runs of one class, so that whole blocks go each way.
    for (int round = 0; round < 40; round++) {
        std::vector<uint16_t> units;
        uint32_t low = round % 3 == 0 ? 1 : round % 3 == 1 ? 0x80 : 0x800;
        while (units.size() < 100 + round * 7) {
            if (rng() % 50 == 0)
                unit(1, units);
            else
                units.push_back((uint16_t)rng.in(low, low == 0x800 ? 0xD7FF : low * 16 - 1));
        }
        expect_same_from16(units, paths);
        if (HasFatalFailure())
            return;
    }
    // A text long enough for counts kept in 16-bit lanes to overflow.
    std::vector<uint16_t> long_text(140000, 0x4E2D);
    for (size_t i = 0; i < long_text.size(); i += 1000)
        long_text[i] = 'a';
    expect_same_from16(long_text, paths);
}

TEST(Utf16Paths, FromUtf16UnitsAtBlockEdges)
{
    // Each unit (or pair) at every position of the first blocks, between
    // runs of ASCII and of three-byte characters.
    PathReset reset;
    std::vector<Path> paths = block_paths();
    const std::vector<uint16_t> odd[] = {{0x80}, {0xE9}, {0xFF}, {0x7FF}, {0x800}, {0x4E2D}, {0xD7FF},
                                         {0xE000}, {0xFEFE}, {0xFEFF}, {0xFFFE}, {0xFFFF}, {0xD83D, 0xDE00},
                                         {0xD83D}, {0xDE00}, {0xFFFE, 0x4100, 0xD8, 0xDE00}};
    for (const std::vector<uint16_t> &units : odd) {
        for (size_t at = 0; at < 70; at++) {
            std::vector<uint16_t> ascii(at, 'a'), cjk(at, 0x4E2D);
            ascii.insert(ascii.end(), units.begin(), units.end());
            cjk.insert(cjk.end(), units.begin(), units.end());
            ascii.insert(ascii.end(), 40, 'z');
            cjk.insert(cjk.end(), {0xE9, 0x6587, 'x', 0xE9, 0x6587, 0x6587, 'y', 0xE9});
            expect_same_from16(ascii, paths);
            expect_same_from16(cjk, paths);
            if (HasFatalFailure())
                return;
        }
    }
}
