// Integers, characters, strings, pointers and counts.
#include "print_test_util.h"

#include <limits.h>

TEST(PrintInt, FlagsWidthAndPrecision) {
    EXPECT_EQ(Fmt("%d|%5d|%-5d|%05d|%+d|% d|%+ d", 42, 42, 42, -42, 42, 42, 42),
              "42|   42|42   |-0042|+42| 42|+42");
    EXPECT_EQ(Fmt("%.5d|%8.5d|%-8.3x|%08.3d|%-05d|", 42, -42, 255, 7, 3),
              "00042|  -00042|0ff     |     007|3    |");
    EXPECT_EQ(Fmt("%.0d|%5.0d|%.0x|%d", 0, 0, 0, 0), "|     ||0");
    EXPECT_EQ(Fmt("%+u|% x", 5u, 5u), "5|5");  // unsigned conversions take no sign
}

TEST(PrintInt, AlternateFormsAndBases) {
    EXPECT_EQ(Fmt("%#x|%#X|%#o|%#.3o|%#08o|%#.0o", 255, 255, 8, 8, 8, 0), "0xff|0XFF|010|010|00000010|0");
    EXPECT_EQ(Fmt("%#x|%#o|%#010x", 0, 0, 255), "0|0|0x000000ff");
    EXPECT_EQ(Fmt("%#..2u|%#.0.2u|%..36i|%..36x|%..2d|%#..8u", 5, 5, 35, 35u, 5, 8), "0b101|0b101|z|23|5|010");
    EXPECT_EQ(Fmt("%#..*u|%..*i|%..*u", 16, 255, 36, 71, 99, 12), "0xff|1z|12");  // a bad '*' base is 10
}

TEST(PrintInt, SizesAndLimits) {
    EXPECT_EQ(Fmt("%d|%u|%x", INT_MIN, -1, -1), "-2147483648|4294967295|ffffffff");
    EXPECT_EQ(Fmt("%lld|%llu", LLONG_MIN, ULLONG_MAX), "-9223372036854775808|18446744073709551615");
    EXPECT_EQ(Fmt("%jd|%zu|%td|%I64x", (int64_t)-5, (uint64_t)1 << 40, (int64_t)1 << 33, (uint64_t)1 << 36),
              "-5|1099511627776|8589934592|1000000000");
    // 'l' is 32-bit: a 64-bit value loses its upper half.
    EXPECT_EQ(Fmt("%ld|%I32d", (int64_t)5000000000LL, 7), "705032704|7");
    EXPECT_EQ(Fmt("%hd|%hu|%hhd|%hhu|%I16d|%I8u", 70000, -1, 300, 300, 70000, 300), "4464|65535|44|44|4464|44");
    // at most 385 digits of precision
    EXPECT_EQ(Fmt("%.1000d", 1).size(), 385u);
}

TEST(PrintText, StringsAndCharacters) {
    EXPECT_EQ(Fmt("%s|%6s|%-6s|%.2s|%6.2s", "abc", "abc", "abc", "abc", "abc"), "abc|   abc|abc   |ab|    ab");
    EXPECT_EQ(Fmt("%s|%7s|%-7s|", (char *)nullptr, (char *)nullptr, (char *)nullptr), "(nil)|  (nil)|(nil)  |");
    EXPECT_EQ(Fmt("%c|%3c|%-3c|", 'a', 'b', 'c'), "a|  b|c  |");
    // The precision bounds what is read: the text needs no NUL.
    const char unterminated[3] = {'x', 'y', 'z'};
    EXPECT_EQ(Fmt("%.3s", unterminated), "xyz");

    char buffer[8];
    EXPECT_EQ(KorvSPrintf(buffer, "a%cb", 0), 3u);  // a NUL character is produced and counted
    EXPECT_EQ(std::string(buffer, 3), std::string("a\0b", 3));
}

TEST(PrintText, CEscapes) {
    EXPECT_EQ(Fmt("%#s", "a\tb\x01"), "a\\tb\\x01");
    EXPECT_EQ(Fmt("%#s", "\a\b\t\n\v\f\r\\\"\x7f\xc3\xa9"), "\\a\\b\\t\\n\\v\\f\\r\\\\\"\\x7f\\xc3\\xa9");
    EXPECT_EQ(Fmt("%#c|%#c|%#c", '\n', 'q', 0x1b), "\\n|q|\\x1b");
    EXPECT_EQ(Fmt("%#6s|%-#5c|", "\t", '\n'), "    \\t|\\n   |");  // widths count the escaped text
    EXPECT_EQ(Fmt("%#.2s", "\t\t\t"), "\\t\\t");                      // the precision counts source bytes
}

TEST(PrintText, Pointers) {
    EXPECT_EQ(Fmt("%p|%8p|%-7p|", (void *)nullptr, (void *)nullptr, (void *)nullptr), "(nil)|   (nil)|(nil)  |");
    EXPECT_EQ(Fmt("%p", (void *)0xabc), "0x0000000000000abc");
    EXPECT_EQ(Fmt("%20p|%-20p|%5p", (void *)1, (void *)1, (void *)1),
              "  0x0000000000000001|0x0000000000000001  |0x0000000000000001");
}

TEST(PrintText, StarsAndCounts) {
    EXPECT_EQ(Fmt("%*d|%*d|%.*d|%.*d|%*.*s|", 4, 1, -4, 2, 3, 5, -1, 6, 5, 2, "abc"), "   1|2   |005|6|   ab|");

    int n32 = -1;
    short n16 = -1;
    long long n64 = -1;
    EXPECT_EQ(Fmt("ab%ncd%hnef%lln", &n32, &n16, &n64), "abcdef");
    EXPECT_EQ(n32, 2);
    EXPECT_EQ(n16, 4);
    EXPECT_EQ(n64, 6);
    EXPECT_EQ(Fmt("x%ny", (int *)nullptr), "xy");

    // %n stores what the sink kept, not what was produced.
    char small[4];
    int kept = -1;
    EXPECT_EQ(KorvSNPrintf(small, sizeof small, "%s%n", "abcdef", &kept), 6u);
    EXPECT_EQ(kept, 3);
}
