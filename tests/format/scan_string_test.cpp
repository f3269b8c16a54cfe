// The scanf family over strings: fields, widths, sizes, results.
#include "kvsup.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>

namespace {

TEST(ScanInteger, BasesSignsAndWidths) {
    int32_t a = 0, b = 0, c = 0;
    EXPECT_EQ(KorvSScanf("12 abc", "%d", &a), 1);
    EXPECT_EQ(a, 12);
    EXPECT_EQ(KorvSScanf("  -7 +8 ff", "%d%i%x", &a, &b, &c), 3);
    EXPECT_EQ(a, -7);
    EXPECT_EQ(b, 8);
    EXPECT_EQ(c, 255);
    EXPECT_EQ(KorvSScanf("777 Zz 101", "%o %..36i %..2u", &a, &b, &c), 3);
    EXPECT_EQ(a, 0777);
    EXPECT_EQ(b, 35 * 36 + 35);
    EXPECT_EQ(c, 5);
    // The width counts the sign; unsigned conversions take no sign at all.
    EXPECT_EQ(KorvSScanf("-12345", "%3d%d", &a, &b), 2);
    EXPECT_EQ(a, -12);
    EXPECT_EQ(b, 345);
    EXPECT_EQ(KorvSScanf("-5", "%u", &a), 0);
    // No prefix without '#': "0x1f" reads as 0 and stops at the x.
    EXPECT_EQ(KorvSScanf("0x1f", "%x%c", &a, &b), 2);
    EXPECT_EQ(a, 0);
    EXPECT_EQ(static_cast<char>(b), 'x');
}

TEST(ScanInteger, AlternateFormPrefixes) {
    int32_t v = -1;
    EXPECT_EQ(KorvSScanf("0xff", "%#x", &v), 1);
    EXPECT_EQ(v, 255);
    EXPECT_EQ(KorvSScanf("010", "%#o", &v), 1);
    EXPECT_EQ(v, 8);
    EXPECT_EQ(KorvSScanf("0B101", "%#.0.2u", &v), 1);
    EXPECT_EQ(v, 5);
    EXPECT_EQ(KorvSScanf("0b1", "%#x", &v), 1);  // b is a digit in base 16
    EXPECT_EQ(v, 0xb1);
    EXPECT_EQ(KorvSScanf("ff", "%#x", &v), 0);   // the leading 0 is required
    // With no base fixed, the prefix picks it; plain digits stay decimal.
    const char *texts[] = {"0x1f", "017", "0b11", "12", "-0x10"};
    const int32_t values[] = {31, 15, 3, 12, -16};
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(KorvSScanf(texts[i], "%#i", &v), 1) << texts[i];
        EXPECT_EQ(v, values[i]) << texts[i];
    }
}

TEST(ScanInteger, SizeModifiersStoreOnlyTheirBytes) {
    unsigned char bytes[16];
    memset(bytes, 0xAA, sizeof bytes);
    EXPECT_EQ(KorvSScanf("-1 -1", "%hhd %I8d", bytes, bytes + 2), 2);
    EXPECT_EQ(bytes[0], 0xFF);
    EXPECT_EQ(bytes[1], 0xAA);
    EXPECT_EQ(bytes[2], 0xFF);
    EXPECT_EQ(bytes[3], 0xAA);
    memset(bytes, 0xAA, sizeof bytes);
    EXPECT_EQ(KorvSScanf("65537 65537", "%hd %I16u", bytes, bytes + 4), 2);
    EXPECT_EQ(bytes[0] | bytes[1] << 8, 1);
    EXPECT_EQ(bytes[2], 0xAA);
    EXPECT_EQ(bytes[6], 0xAA);
    memset(bytes, 0xAA, sizeof bytes);
    EXPECT_EQ(KorvSScanf("-2", "%ld", bytes), 1);
    EXPECT_EQ(bytes[4], 0xAA);
    int64_t big[4] = {};
    EXPECT_EQ(KorvSScanf("-9000000000 9000000000 1 2", "%lld %I64u %jd %zx", &big[0], &big[1],
                         &big[2], &big[3]), 4);
    EXPECT_EQ(big[0], -9000000000LL);
    EXPECT_EQ(big[1], 9000000000LL);
    EXPECT_EQ(big[3], 2);
}

TEST(ScanFloat, FloatAndDoubleCorrectlyRounded) {
    float f = 0;
    double d = 0;
    EXPECT_EQ(KorvSScanf("0.1 0.1", "%f %lf", &f, &d), 2);
    EXPECT_EQ(f, 0.1f);
    EXPECT_EQ(d, 0.1);
    EXPECT_EQ(KorvSScanf("2.5E-3 -1e2", "%Lf %g", &d, &f), 2);  // L: double as well
    EXPECT_EQ(d, 2.5e-3);
    EXPECT_EQ(f, -100.0f);
    EXPECT_EQ(KorvSScanf("-0x1.8p3 0X10", "%la %e", &d, &f), 2);
    EXPECT_EQ(d, -12.0);
    EXPECT_EQ(f, 16.0f);
    EXPECT_EQ(KorvSScanf("1e999 -1e999 1e-999 4e39", "%lf %lf %lf %f", &d, &d, &d, &f), 4);
    EXPECT_EQ(d, 0.0);
    EXPECT_TRUE(std::isinf(f));
    // The width cuts the text: "1.2" then "345".
    EXPECT_EQ(KorvSScanf("1.2345", "%3lf%f", &d, &f), 2);
    EXPECT_EQ(d, 1.2);
    EXPECT_EQ(f, 345.0f);
    // A field of more than 511 characters stops after 511 of them.
    std::string zeros = "0." + std::string(600, '0') + "5";
    EXPECT_EQ(KorvSScanf(zeros.c_str(), "%lf%f", &d, &f), 2);
    EXPECT_EQ(d, 0.0);
    EXPECT_EQ(f, 5.0f);
    EXPECT_EQ(KorvSScanf(".e5", "%lf", &d), 0);
}

TEST(ScanFloat, InfinityAndNanWords) {
    double d = 0;
    EXPECT_EQ(KorvSScanf("infinite", "%lf", &d), 1);
    EXPECT_EQ(d, std::numeric_limits<double>::infinity());
    EXPECT_EQ(KorvSScanf("-INF;", "%lf", &d), 1);
    EXPECT_EQ(d, -std::numeric_limits<double>::infinity());
    EXPECT_EQ(KorvSScanf("NaN", "%lf", &d), 1);
    EXPECT_TRUE(std::isnan(d));
    EXPECT_EQ(KorvSScanf("-nan", "%lf", &d), 0);    // a sign keeps N from starting a word
    EXPECT_EQ(KorvSScanf("info", "%lf", &d), 0);
    EXPECT_EQ(KorvSScanf("infinity", "%lf", &d), 0);
}

TEST(ScanFloat, LocaleDecimalPoint) {
    const KorvLocale comma = {",", ".", ""};
    const KorvLocale wide = {"\xD9\xAB", "", ""};
    double d = 0, e = 0;
    EXPECT_EQ(KorvSScanfl(&comma, "3,25 1.5", "%lf %lf", &d, &e), 2);
    EXPECT_EQ(d, 3.25);
    EXPECT_EQ(e, 1.0);      // '.' is not the point here: the field ends there
    EXPECT_EQ(KorvSScanfl(&wide, "2\xD9\xAB" "5", "%lf", &d), 1);
    EXPECT_EQ(d, 2.5);
    char rest[4];
    EXPECT_EQ(KorvSScanfl(&wide, "2\xD9x", "%lf%s", &d, rest), 2);  // half a point ends the field
    EXPECT_EQ(d, 2.0);
    EXPECT_STREQ(rest, "x");
    EXPECT_EQ(KorvSScanf("3,25", "%lf", &d), 1);
    EXPECT_EQ(d, 3.0);
    EXPECT_EQ(KorvSScanfl(nullptr, "0.5", "%lf", &d), 1);
    EXPECT_EQ(d, 0.5);
}

TEST(ScanText, CharactersStringsAndEscapes) {
    char buf[32];
    memset(buf, '#', sizeof buf);
    EXPECT_EQ(KorvSScanf(" ab", "%3c", buf), 1);     // no skip, no NUL
    EXPECT_EQ(std::string(buf, 4), " ab#");
    EXPECT_EQ(KorvSScanf("ab", "%3c", buf), 0);       // input ends inside the field
    EXPECT_EQ(KorvSScanf("  hello world", "%4s", buf), 1);
    EXPECT_STREQ(buf, "hell");
    EXPECT_EQ(KorvSScanf("a\\tb\\x41\\101\\\\\\q\\ c d", "%#s", buf), 1);
    EXPECT_STREQ(buf, "a\tbAA\\q c");
    EXPECT_EQ(KorvSScanf("\\n\\x7g", "%#2c", buf), 1);   // the width counts decoded characters
    EXPECT_EQ(buf[0], '\n');
    EXPECT_EQ(buf[1], 7);
    EXPECT_EQ(KorvSScanf("wordy", "%0s", buf), 1);       // a '0' is a flag, not a width
    EXPECT_STREQ(buf, "wordy");
    EXPECT_EQ(KorvSScanf("\xC3\xA9t\xC3\xA9", "%ls", buf), 1);  // 'l' changes nothing
    EXPECT_STREQ(buf, "\xC3\xA9t\xC3\xA9");
}

TEST(ScanText, ScanSets) {
    char a[16], b[16];
    EXPECT_EQ(KorvSScanf("abcd,ef", "%[a-c]%[^,]", a, b), 2);
    EXPECT_STREQ(a, "abc");
    EXPECT_STREQ(b, "d");
    EXPECT_EQ(KorvSScanf("]-a]x", "%[]a-]%s", a, b), 2);
    EXPECT_STREQ(a, "]-a]");
    EXPECT_STREQ(b, "x");
    EXPECT_EQ(KorvSScanf("-b-z", "%[-b]%[z-a]", a, b), 2);   // a reversed range is three members
    EXPECT_STREQ(a, "-b-");
    EXPECT_STREQ(b, "z");
    EXPECT_EQ(KorvSScanf("x]y", "%[^]]", a), 1);
    EXPECT_STREQ(a, "x");
    EXPECT_EQ(KorvSScanf("  a", "%[a]", a), 0);      // no white-space skip
    EXPECT_EQ(KorvSScanf("aaaa", "%2[a]", a), 1);
    EXPECT_STREQ(a, "aa");
}

TEST(ScanPointer, NilAndHexadecimal) {
    void *p = &p;
    EXPECT_EQ(KorvSScanf("(nil)", "%p", &p), 1);
    EXPECT_EQ(p, nullptr);
    EXPECT_EQ(KorvSScanf("0x00000000deadbeef7", "%p", &p), 1);   // 18 characters at most
    EXPECT_EQ(reinterpret_cast<uintptr_t>(p), uintptr_t(0xdeadbeef));
    EXPECT_EQ(KorvSScanf("ABC", "%p", &p), 1);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(p), uintptr_t(0xabc));
    EXPECT_EQ(KorvSScanf("(nul)", "%p", &p), 0);
}

TEST(ScanDriver, ResultsAndBadInput) {
    int32_t a = 0, b = 0;
    EXPECT_EQ(KorvSScanf("", "%d", &a), -1);
    EXPECT_EQ(KorvSScanf(nullptr, "%d", &a), -1);
    EXPECT_EQ(KorvSScanf("   ", "%d", &a), -1);
    EXPECT_EQ(KorvSScanf("abc", "%d", &a), 0);
    EXPECT_EQ(KorvSScanf("abc", "", &a), 0);
    EXPECT_EQ(KorvSScanf("abc", nullptr), 2);
    EXPECT_EQ(KorvSScanf("1", "%k", &a), 2);
    EXPECT_EQ(KorvSScanf("1", "%d %hhhd", &a, &b), 2);
    EXPECT_EQ(KorvSScanf("1 2", "%d,%d", &a, &b), 1);
    EXPECT_EQ(KorvSScanf("1", "%d,%d", &a, &b), 1);
    EXPECT_EQ(KorvSScanf("", "x%d", &a), -1);
    EXPECT_EQ(KorvSScanf("5%6", "%d%%%d", &a, &b), 2);
    EXPECT_EQ(b, 6);
    EXPECT_EQ(KorvSScanf("5 6", "%d%%%d", &a, &b), 2);     // "%%" unmatched is a format fault
    EXPECT_EQ(KorvSScanf("\xC3\xA9" "5", "\xC3\xA9%d", &a), 1);
    EXPECT_EQ(KorvSScanf("\xC3\xA8" "5", "\xC3\xA9%d", &a), 2);
    // Input that has ended is no fault of the format.
    EXPECT_EQ(KorvSScanf("5", "%d%%", &a), 1);
    EXPECT_EQ(KorvSScanf("5\xC3", "%d\xC3\xA9", &a), 1);
    EXPECT_EQ(KorvSScanf("", "\xC3\xA9%d", &a), -1);
    std::string many;
    for (int i = 0; i < 65; ++i) many += "%*d";
    EXPECT_EQ(KorvSScanf("1", many.c_str()), 2);
}

TEST(ScanDriver, SuppressionCountsAndArrays) {
    int32_t a = 0, b = 0, n1 = -1;
    int64_t n2 = -1;
    EXPECT_EQ(KorvSScanf("1 2 3", "%*d %d%n %d%lln", &a, &n1, &b, &n2), 2);
    EXPECT_EQ(a, 2);
    EXPECT_EQ(b, 3);
    EXPECT_EQ(n1, 3);
    EXPECT_EQ(n2, 5);       // 'n' still stores after the input ended
    EXPECT_EQ(KorvSScanf("7", "%*d%d", &a), -1);
    // The array holds one pointer per conversion that is not suppressed.
    char s[8];
    double d = 0;
    void *args[] = {&a, s, &d, &n1};
    EXPECT_EQ(KorvLSScanf("9 skip word 0.5", "%d %*s %s %lf%n", args), 3);
    EXPECT_EQ(a, 9);
    EXPECT_STREQ(s, "word");
    EXPECT_EQ(d, 0.5);
    EXPECT_EQ(n1, 15);
    EXPECT_EQ(KorvLSScanf("1 2", "%d %d", nullptr), 2);   // nothing stored
}

} // namespace
