#include <gtest/gtest.h>
#include <string.h>
#include <kvsup.h>
#include "core/alloc_testing.h"

TEST(Strings, CopiesAndNulls)
{
    char *copy = KorvStrDup("abc");
    ASSERT_NE(copy, nullptr);
    EXPECT_STREQ(copy, "abc");
    korv_internal_free(copy);
    EXPECT_EQ(KorvStrDup(nullptr), nullptr);
    EXPECT_EQ(KorvStrNDup(nullptr, 3), nullptr);

    copy = KorvStrNDup("abcdef", 3);
    EXPECT_STREQ(copy, "abc");
    korv_internal_free(copy);
    copy = KorvStrNDup("ab", 10);
    EXPECT_STREQ(copy, "ab");
    korv_internal_free(copy);

    korv_testing_fail_alloc(1);
    EXPECT_EQ(KorvStrDup("abc"), nullptr);
    korv_testing_fail_alloc(0);
}

TEST(Strings, NCpyWritesTerminatorOnlyWhenSourceEnds)
{
    char buffer[8];
    memset(buffer, 'x', sizeof buffer);
    KorvStrNCpy(buffer, "abcdef", 3);
    EXPECT_EQ(memcmp(buffer, "abcxxxxx", 8), 0);
    memset(buffer, 'x', sizeof buffer);
    EXPECT_EQ(KorvStrNCpy(buffer, "ab", 5), buffer);
    EXPECT_EQ(memcmp(buffer, "ab\0xxxxx", 8), 0); // no padding

    char cat[16] = "ab";
    EXPECT_STREQ(KorvStrNCat(cat, "cdef", 2), "abcd");
    EXPECT_STREQ(KorvStrCat(cat, "ZZ"), "abcdZZ");
    EXPECT_STREQ(KorvStrCpy(cat, "q"), "q");
    EXPECT_EQ(KorvStrCpy(nullptr, "q"), nullptr);
    EXPECT_STREQ(KorvStrCat(cat, nullptr), "q");
}

TEST(Strings, ComparisonsUseSignedBytes)
{
    EXPECT_EQ(KorvStrCmp("abc", "abc"), 0);
    EXPECT_LT(KorvStrCmp("abc", "abd"), 0);
    EXPECT_GT(KorvStrCmp("abc", "ab"), 0);
    EXPECT_LT(KorvStrCmp("\xC3", "A"), 0); // high bytes sort below ASCII
    EXPECT_EQ(KorvStrCmp("\xC3", "A"), (signed char)0xC3 - 'A');
    EXPECT_EQ(KorvStrNCmp("abX", "abY", 2), 0);
    EXPECT_EQ(KorvStrNCmp("a", "b", 0), 0);
    EXPECT_EQ(KorvStrCmp(nullptr, ""), 0);

    EXPECT_EQ(KorvStrCaseCmp("Hello", "hELLO"), 0);
    EXPECT_EQ(KorvStrCaseCmp("a[", "A{"), 0); // '[' folds onto '{'
    EXPECT_NE(KorvStrCaseCmp("a`", "A@"), 0); // the lower table leaves '`' and '@'
    EXPECT_EQ(KorvStrNCaseCmp("ABCx", "abcy", 3), 0);
    EXPECT_NE(KorvStrCaseCmp("\xC3\xA9", "\xC3\x89"), 0); // no folding above ASCII
}

TEST(Strings, Searches)
{
    const char *s = "a/b/c";
    EXPECT_EQ(KorvStrChr(s, '/'), s + 1);
    EXPECT_EQ(KorvStrRChr(s, '/'), s + 3);
    EXPECT_EQ(KorvStrChr(s, 0), nullptr); // the terminator is never found
    EXPECT_EQ(KorvStrRChr("", 'a'), nullptr);
    const char *high = "x\xE9";
    EXPECT_EQ(KorvStrChr(high, 0xE9), high + 1); // c is taken as a byte

    const uint16_t w[] = {'x', 'y', 'x', 0};
    EXPECT_EQ(KorvWideStrChr(w, 'x'), w);
    EXPECT_EQ(KorvWideStrRChr(w, 'x'), w + 2);
    EXPECT_EQ(KorvWideStrChr(w, 0), nullptr);
    EXPECT_EQ(KorvWideStrLen(w), 3u);

    EXPECT_EQ(KorvStrLen("abc"), 3u);
    EXPECT_EQ(KorvStrLen(nullptr), 0u);
    EXPECT_EQ(KorvStrNLen("abc", 2), 2u);
    EXPECT_EQ(KorvStrNLen("abc", 9), 3u);

    const char *h = "abcabc";
    EXPECT_EQ(KorvStrStr(h, "ca"), h + 2);
    EXPECT_EQ(KorvStrStr(h, ""), h);
    EXPECT_EQ(KorvStrStr("", ""), nullptr);
    EXPECT_EQ(KorvStrStr(h, "x"), nullptr);
    EXPECT_EQ(KorvStrRStr(h, "abc"), h + 3);
    EXPECT_EQ(KorvStrRStr(h, "bca"), h + 1);
    EXPECT_EQ(KorvStrRStr(h, ""), h + 6);
    EXPECT_EQ(KorvStrRStr("ab", "abc"), nullptr);
    EXPECT_EQ(KorvStrRStr(h, "abx"), nullptr);
}

TEST(Ascii, TablesOneWiderThanTheAlphabet)
{
    EXPECT_EQ(KorvAsciiToLower('A'), 'a');
    EXPECT_EQ(KorvAsciiToLower('['), '{');
    EXPECT_EQ(KorvAsciiToLower('@'), '@');
    EXPECT_EQ(KorvAsciiToLower('\\'), '\\');
    EXPECT_EQ(KorvAsciiToUpper('z'), 'Z');
    EXPECT_EQ(KorvAsciiToUpper('`'), '@');
    EXPECT_EQ(KorvAsciiToUpper('{'), '{');
    EXPECT_EQ(KorvAsciiToUpper(0xE9), 0xE9);
    EXPECT_EQ(KorvAsciiToLower(-23), -23);
}

TEST(Ascii, Classes)
{
    int space = 0, alpha = 0, digit = 0, hex = 0, print = 0, ascii = 0;
    for (int c = 0; c < 256; c++) {
        space += KorvIsAsciiSpace(c);
        alpha += KorvIsAsciiAlpha(c);
        digit += KorvIsAsciiDigit(c);
        hex += KorvIsAsciiHexDigit(c);
        print += KorvIsAsciiPrint(c);
        ascii += KorvIsAsciiChar(c);
    }
    EXPECT_EQ(space, 6);
    EXPECT_EQ(alpha, 52);
    EXPECT_EQ(digit, 10);
    EXPECT_EQ(hex, 22);
    EXPECT_EQ(print, 95);
    EXPECT_EQ(ascii, 128);
    EXPECT_EQ(KorvIsAsciiSpace('\v'), 1u);
    EXPECT_EQ(KorvIsAsciiHexDigit('g'), 0u);
    EXPECT_EQ(KorvIsAsciiAlpha(-61), 0u); // a sign-extended high byte
}

TEST(Strings, LongComparisonsFindTheFirstDifference)
{
    // Differences and ends at every position of strings longer than one
    // block, against the byte-by-byte rule.
    auto fold = [](unsigned char c) { return c >= 'A' && c <= '[' ? c + 32 : c; };
    auto sign = [](int v) { return v < 0 ? -1 : v > 0 ? 1 : 0; };
    std::string base = "Header_Parameter-Name[with]Brackets_and_\xC3\xA9_more_TEXT";
    for (size_t at = 0; at <= base.size(); at++) {
        for (char c : {'\0', 'Z', 'z', '{', '\x80'}) {
            std::string a = base, b = base;
            if (at < b.size())
                b[at] = c;
            else
                b += c;
            int want = 0;
            for (size_t i = 0;; i++) {
                int x = (signed char)fold((unsigned char)a.c_str()[i]);
                int y = (signed char)fold((unsigned char)b.c_str()[i]);
                if (x != y || x == 0) {
                    want = x - y;
                    break;
                }
            }
            ASSERT_EQ(sign(KorvStrCaseCmp(a.c_str(), b.c_str())), sign(want)) << at << c;
            ASSERT_EQ(KorvStrCaseCmp(a.c_str(), b.c_str()), want) << at;
            ASSERT_EQ(KorvStrNCaseCmp(a.c_str(), b.c_str(), at), 0) << at;
        }
    }
    std::string upper = base, lower = base;
    for (char &ch : upper)
        ch = (char)(ch >= 'a' && ch <= 'z' ? ch - 32 : ch);
    EXPECT_EQ(KorvStrCaseCmp(upper.c_str(), base.c_str()), 0);
    EXPECT_NE(KorvStrCmp(upper.c_str(), base.c_str()), 0);
}
