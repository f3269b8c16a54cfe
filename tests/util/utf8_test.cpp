#include <gtest/gtest.h>
#include <string.h>
#include <string>
#include <vector>
#include <kvsup.h>
#include "core/alloc_testing.h"

namespace {

std::u16string to16(const char *s)
{
    uint16_t *w = KorvUTF8ConvertToUTF16(s);
    EXPECT_NE(w, nullptr);
    if (!w)
        return u"<null>";
    std::u16string r(reinterpret_cast<const char16_t *>(w));
    korv_internal_free(w);
    return r;
}

// UTF-8 from units; "<null>" when the conversion fails.
std::string from16(std::vector<uint16_t> units)
{
    units.push_back(0);
    char *s = KorvUTF8ConvertFromUTF16(units.data());
    if (!s)
        return "<null>";
    std::string r(s);
    korv_internal_free(s);
    return r;
}

} // namespace

TEST(Utf8Decode, LengthsAndBadSequences)
{
    EXPECT_EQ(KorvUTF8StrLen(nullptr), -1);
    EXPECT_EQ(KorvUTF8StrLen("a\xC3\xB1" "b"), 3);
    EXPECT_EQ(KorvUTF8StrLen("\xF0\x9F\x98\x80!"), 2);
    EXPECT_EQ(KorvUTF8StrLen("ab\xFF" "cd"), 2);       // stops at the bad byte
    EXPECT_EQ(KorvUTF8StrLen("\xC1\x81"), 0);           // overlong 'A'
    EXPECT_EQ(KorvUTF8StrLen("\xE0\x9F\xBF"), 0);       // overlong three-byte
    EXPECT_EQ(KorvUTF8StrLen("\xF0\x8F\xBF\xBF"), 0);   // overlong four-byte
    EXPECT_EQ(KorvUTF8StrLen("\xED\xA0\x80"), 1);       // a surrogate in three bytes is accepted
    EXPECT_EQ(KorvUTF8StrLen("\xF7\xBF\xBF\xBF"), 1);   // no upper bound on four bytes
    EXPECT_EQ(KorvUTF8StrLen("\xF8\x88\x80\x80\x80"), 0); // five-byte leads are bad
    EXPECT_EQ(KorvUTF8StrLen("\xC3"), 0);               // cut short by the terminator
    EXPECT_EQ(KorvUTF8StrLen("\x80"), 0);               // a lone continuation byte

    // The byte limit must cover whole sequences.
    EXPECT_EQ(KorvUTF8StrNLen("a\xC3\xB1" "b", 2), 1);
    EXPECT_EQ(KorvUTF8StrNLen("a\xC3\xB1" "b", 3), 2);
    EXPECT_EQ(KorvUTF8StrNLen("ab", 0), 0);
    EXPECT_EQ(KorvUTF8StrNLen(nullptr, 4), -1);
}

TEST(Utf8Decode, NextCharAndStepping)
{
    const char *text = "\xC3\xB1\xE2\x82\xAC";
    const char *p = text;
    size_t remaining = 5;
    int32_t error = 0;
    EXPECT_EQ(KorvUTF8NextChar(&p, &remaining, &error), 0xF1u);
    EXPECT_EQ(p, text + 2);
    EXPECT_EQ(remaining, 3u);
    EXPECT_EQ(KorvUTF8NextChar(&p, &remaining, &error), 0x20ACu);
    EXPECT_EQ(remaining, 0u);
    EXPECT_EQ(error, 0);
    EXPECT_EQ(KorvUTF8NextChar(&p, nullptr, &error), 0u); // the terminator
    EXPECT_EQ(p, text + 5);
    EXPECT_EQ(error, 0);

    // A short count is an error and leaves the position and count alone.
    p = text;
    remaining = 1;
    EXPECT_EQ(KorvUTF8NextChar(&p, &remaining, &error), 0u);
    EXPECT_EQ(error, 1);
    EXPECT_EQ(p, text);
    EXPECT_EQ(remaining, 1u);

    error = 0;
    const char *null_position = nullptr;
    EXPECT_EQ(KorvUTF8NextChar(&null_position, nullptr, &error), 0u);
    EXPECT_EQ(error, 1);
    EXPECT_EQ(KorvUTF8NextChar(nullptr, nullptr, nullptr), 0u);

    EXPECT_EQ(KorvUTF8NextCharLen("\xF0\x9F\x98\x80"), 4);
    EXPECT_EQ(KorvUTF8NextCharLen(""), 0);
    EXPECT_EQ(KorvUTF8NextCharLen("\xFF"), -1);
    EXPECT_EQ(KorvUTF8NextCharLen(nullptr), -1);
    EXPECT_EQ(KorvUTF8IsNextCharValid("\xE2\x82\xAC"), 1u);
    EXPECT_EQ(KorvUTF8IsNextCharValid("\xE2\x82"), 0u);
    EXPECT_EQ(KorvUTF8IsNextCharValid(nullptr), 0u);

    const char *mixed = "\xC3\xB1\xFFz";
    EXPECT_EQ(KorvUTF8Inc(mixed), mixed + 2);
    EXPECT_EQ(KorvUTF8Inc(mixed + 2), mixed + 3); // a bad byte is stepped over
    EXPECT_EQ(KorvUTF8Inc(mixed + 4), mixed + 4); // the terminator stays
    EXPECT_EQ(KorvUTF8Inc(nullptr), nullptr);
}

TEST(Utf8Decode, CharacterSearch)
{
    const char *s = "a\xE2\x82\xAC" "b\xE2\x82\xAC\xFF\xE2\x82\xAC";
    EXPECT_EQ(KorvUTF8StrChr(s, 0x20AC), s + 1);
    EXPECT_EQ(KorvUTF8StrRChr(s, 0x20AC), s + 5); // the walk ends at the bad byte
    EXPECT_EQ(KorvUTF8StrChr(s, 'b'), s + 4);
    EXPECT_EQ(KorvUTF8StrChr(s, 0x82), nullptr);  // never a byte inside a character
    EXPECT_EQ(KorvUTF8StrChr(s, 0), nullptr);
    EXPECT_EQ(KorvUTF8StrChr(nullptr, 'a'), nullptr);
    EXPECT_EQ(KorvUTF8StrRChr("abc", 'x'), nullptr);
}

TEST(Utf16, FromUtf8)
{
    EXPECT_EQ(to16("A\xFF" "B"), u"A");
    EXPECT_EQ(to16("\xC1\x81"), u"");
    EXPECT_EQ(to16(""), u"");
    EXPECT_EQ(to16("a\xC3\xB1\xE2\x82\xAC"), u"a\u00F1\u20AC");
    EXPECT_EQ(to16("\xF0\x9F\x98\x80"), u"\U0001F600");
    // Four-byte values beyond the last plane are written with the same
    // formula; the high unit takes the extra bits.
    std::u16string big = to16("\xF7\xBF\xBF\xBF"); // 0x1FFFFF
    ASSERT_EQ(big.size(), 2u);
    EXPECT_EQ(big[0], 0xD800 | ((0x1FFFFF - 0x10000) >> 10));
    EXPECT_EQ(big[1], 0xDFFF);
    EXPECT_EQ(KorvUTF8ConvertToUTF16(nullptr), nullptr);

    // Long text goes through the whole-window decoding.
    std::string text;
    std::u16string want;
    for (int i = 0; i < 500; i++) {
        text += "x\xE4\xB8\xAD\xF0\x9F\x98\x80";
        want += u"x\u4E2D\U0001F600";
    }
    EXPECT_EQ(to16(text.c_str()), want);
}

TEST(Utf16, LongTextStopsAtTheFirstBadSequence)
{
    // Whatever stands before the bad bytes in a long text, the result is
    // the text before them, as for a short one.
    std::string base;
    for (int i = 0; i < 12; i++)
        base += "ab\xC3\xB1\xE4\xB8\xAD \xF0\x9F\x98\x80z";
    const char *bad[] = {"\x80", "\xFF", "\xC3" "A", "\xE4\xB8", "\xC0\x80",
                         "\x80\x80\x80\x80\x80\x80\x80\x80\x80\x80"};
    for (const char *b : bad) {
        for (size_t at = 0; at < base.size(); at++) {
            if ((base[at] & 0xC0) == 0x80)
                continue;
            std::string head = base.substr(0, at);
            std::string text = head + b + base;
            ASSERT_EQ(to16(text.c_str()), to16(head.c_str())) << at;
        }
    }
}

TEST(Utf16, ToUtf8)
{
    EXPECT_EQ(from16({0xFFFE, 0x4100}), "A");
    EXPECT_EQ(from16({0xFEFF, 'a', 0xFEFF, 'b'}), "ab");
    // Swapping applies to lead units only: the second unit of a pair is
    // taken as it stands.
    EXPECT_EQ(from16({0xFFFE, 0x3DD8, 0xDE00}), "\xEF\x98\x80");
    EXPECT_EQ(from16({0xFFFE, 0x3DD8, 0x00DE}), "<null>"); // so swapped pairs fail
    // A pair is combined without adding 65536: 0xD83D 0xDE00 gives U+F600.
    EXPECT_EQ(from16({0xD83D, 0xDE00}), "\xEF\x98\x80");
    EXPECT_EQ(from16({0xDBFF, 0xDFFF}), "\xF3\xBF\xBF\xBF");
    EXPECT_EQ(from16({0xD83D}), "<null>");
    EXPECT_EQ(from16({0xD83D, 'x'}), "<null>");
    EXPECT_EQ(from16({'a', 0xDE00}), "<null>");
    EXPECT_EQ(from16({}), "");
    EXPECT_EQ(from16({0x7F, 0x80, 0x7FF, 0x800, 0xFFFF}), "\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF");
    EXPECT_EQ(KorvUTF8ConvertFromUTF16(nullptr), nullptr);

    std::vector<uint16_t> many(1000, 0x4E2D);
    EXPECT_EQ(KorvUTF8StrLen(from16(many).c_str()), 1000);
    // Runs of ASCII between other characters, and a mark in a long text.
    std::vector<uint16_t> mixed;
    std::string want;
    for (int i = 0; i < 100; i++) {
        mixed.insert(mixed.end(), {'a', 'b', 'c', 'd', 'e', 0xE9, 0x4E2D});
        want += "abcde\xC3\xA9\xE4\xB8\xAD";
    }
    EXPECT_EQ(from16(mixed), want);
    mixed.push_back(0xFFFE);
    mixed.insert(mixed.end(), {0x4100, 0x4200, 0x4300, 0x4400, 0x4500});
    EXPECT_EQ(from16(mixed), want + "ABCDE");
}

TEST(Utf16, RandomTextBothWays)
{
    // Runs of one-, two-, three- and four-byte characters in every mix and
    // at every alignment, against a plain encoder.
    uint32_t x = 12345;
    auto next = [&x] {
        x ^= x << 13, x ^= x >> 17, x ^= x << 5;
        return x;
    };
    const uint32_t ranges[][2] = {{0x20, 0x7F}, {0x80, 0x7FF}, {0x800, 0xD7FF}, {0xE000, 0xFFFD}, {0x10000, 0x10FFFF}};
    for (int round = 0; round < 300; round++) {
        std::string utf8;
        std::u16string utf16;
        int length = (int)(next() % 120);
        for (int i = 0; i < length; i++) {
            const uint32_t *r = ranges[next() % (round % 2 ? 5 : 4)];
            uint32_t c = r[0] + next() % (r[1] - r[0] + 1);
            if (c < 0x80) {
                utf8 += (char)c;
            } else if (c < 0x800) {
                utf8 += (char)(0xC0 | (c >> 6));
                utf8 += (char)(0x80 | (c & 0x3F));
            } else if (c < 0x10000) {
                utf8 += (char)(0xE0 | (c >> 12));
                utf8 += (char)(0x80 | ((c >> 6) & 0x3F));
                utf8 += (char)(0x80 | (c & 0x3F));
            } else {
                utf8 += (char)(0xF0 | (c >> 18));
                utf8 += (char)(0x80 | ((c >> 12) & 0x3F));
                utf8 += (char)(0x80 | ((c >> 6) & 0x3F));
                utf8 += (char)(0x80 | (c & 0x3F));
            }
            if (c < 0x10000) {
                utf16 += (char16_t)c;
            } else {
                utf16 += (char16_t)(0xD800 | ((c - 0x10000) >> 10));
                utf16 += (char16_t)(0xDC00 | (c & 0x3FF));
            }
        }
        ASSERT_EQ(to16(utf8.c_str()), utf16) << round;
        // Read back, pairs lose their 65536: compare only texts without them.
        bool plain = utf8.find_first_of("\xF0\xF1\xF2\xF3\xF4") == std::string::npos;
        if (plain)
            ASSERT_EQ(from16(std::vector<uint16_t>(utf16.begin(), utf16.end())), utf8) << round;
    }
}

TEST(Utf16, AllocationFailures)
{
    // Each direction makes its result in one allocation.
    std::string text(300, 'a');
    korv_testing_fail_alloc(1);
    EXPECT_EQ(KorvUTF8ConvertToUTF16(text.c_str()), nullptr);
    std::vector<uint16_t> units(300, 0x4E2D);
    units.push_back(0);
    korv_testing_fail_alloc(1);
    EXPECT_EQ(KorvUTF8ConvertFromUTF16(units.data()), nullptr);
    korv_testing_fail_alloc(0);
}

TEST(Ucs4, BothWays)
{
    uint32_t *u = KorvUTF8ConvertToUCS4("a\xC3\xB1\xF0\x9F\x98\x80\xFFz");
    ASSERT_NE(u, nullptr);
    EXPECT_EQ(u[0], 'a');
    EXPECT_EQ(u[1], 0xF1u);
    EXPECT_EQ(u[2], 0x1F600u);
    EXPECT_EQ(u[3], 0u);
    char *back = KorvUTF8ConvertFromUCS4(u);
    EXPECT_STREQ(back, "a\xC3\xB1\xF0\x9F\x98\x80");
    korv_internal_free(u);
    korv_internal_free(back);

    const uint32_t high[] = {0x1FFFFF, 0xD800, 0};
    back = KorvUTF8ConvertFromUCS4(high);
    EXPECT_STREQ(back, "\xF7\xBF\xBF\xBF\xED\xA0\x80");
    korv_internal_free(back);
    const uint32_t too_big[] = {'a', 0x200000, 0};
    EXPECT_EQ(KorvUTF8ConvertFromUCS4(too_big), nullptr);
    EXPECT_EQ(KorvUTF8ConvertToUCS4(nullptr), nullptr);
    EXPECT_EQ(KorvUTF8ConvertFromUCS4(nullptr), nullptr);

    std::string text(200, 'q');
    korv_testing_fail_alloc(2);
    EXPECT_EQ(KorvUTF8ConvertToUCS4(text.c_str()), nullptr);
    korv_testing_fail_alloc(0);
}
