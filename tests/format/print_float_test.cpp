// The floating-point formatter.
#include "print_test_util.h"

#include <float.h>
#include <math.h>

TEST(PrintFloat, FixedAndExponentForms) {
    EXPECT_EQ(Fmt("%f|%.3f|%.0f|%#.0f|%.1f", 3.14159265, 3.14159265, 3.7, 3.7, -0.05), "3.141593|3.142|4|4.|-0.1");
    EXPECT_EQ(Fmt("%e|%E|%.2e|%.0e|%#.0e", 12345.678, 12345.678, 0.000123456, 5.0, 5.0),
              "1.234568e+04|1.234568E+04|1.23e-04|5e+00|5.e+00");
    EXPECT_EQ(Fmt("%f|%e|%g|%a", 0.0, 0.0, 0.0, 0.0), "0.000000|0.000000e+00|0|0x0p+0");
    EXPECT_EQ(Fmt("%e|%e|%.3e", 1e100, DBL_MAX, 1e-300), "1.000000e+100|1.797693e+308|1.000e-300");
    EXPECT_EQ(Fmt("%.5e", 4.9406564584124654e-324), "4.94066e-324");
    EXPECT_EQ(Fmt("%.1f", 1e-300), "0.0");
    // Rounding the largest double in place would overflow.
    std::string max = Fmt("%.1f", DBL_MAX);
    EXPECT_EQ(max.substr(0, 16), "1797693134862320");
    EXPECT_EQ(max.size(), 311u);
}

TEST(PrintFloat, RoundingByHalfAUnit) {
    // Half a unit is added to the double: binary halves round up.
    EXPECT_EQ(Fmt("%.2f|%.0f|%.0f|%.1f", 0.125, 2.5, 0.5, 0.25), "0.13|3|1|0.3");
    // A carry into a new integer digit.
    EXPECT_EQ(Fmt("%.6f|%.0e|%.2e|%f", 9.9999996, 9.5, 9.996, 999999.9999999), "10.000000|1e+01|1.00e+01|1000000.000000");
    EXPECT_EQ(Fmt("%.3f|%.3f", 0.0005, 0.9996), "0.001|1.000");
    // Decimal halves the double falls just short of still round up.
    EXPECT_EQ(Fmt("%.2f|%.2f|%.2f|%.3e", 75.935, 1.005, 26.555, 97.315), "75.94|1.01|26.56|9.732e+01");
    EXPECT_EQ(Fmt("%.2f|%.2f", 75.934999999, 0.015), "75.93|0.02");
}

TEST(PrintFloat, SignificantDigitsThenZeros) {
    // A double carries 15 significant digits, a float ('h') 6; later places print as zeros.
    EXPECT_EQ(Fmt("%.20f", 0.1), "0.10000000000000000000");
    EXPECT_EQ(Fmt("%.17g|%.17g", 0.1, 2.0 / 3), "0.1|0.666666666666667");
    EXPECT_EQ(Fmt("%f", 1e22), "10000000000000000000000.000000");
    EXPECT_EQ(Fmt("%.3f", 1234567890123456789.0), "1234567890123460000.000");
    EXPECT_EQ(Fmt("%.10hf|%hg|%.9he", 0.1, 3.14159265, 1.0 / 3), "0.1000000000|3.14159|3.333330000e-01");
    // 'j' asks for all of the type's digits.
    EXPECT_EQ(Fmt("%jg|%jf|%hjg", 2.0 / 3, 0.5, 2.0 / 3), "0.666666666666667|0.500000000000000|0.666667");
}

TEST(PrintFloat, GeneralForm) {
    EXPECT_EQ(Fmt("%g|%g|%g|%g", 0.0001, 0.00001, 100000.0, 123456789.0), "0.0001|1e-05|100000|1.23457e+08");
    // Exponent form only strictly above base^precision.
    EXPECT_EQ(Fmt("%g|%g|%.2g|%.2g", 1000000.0, 1000001.0, 100.0, 101.0), "1000000|1e+06|100|1e+02");
    EXPECT_EQ(Fmt("%g|%g|%.0g|%.3g|%G", 0.5, 3.14159265, 7.7, 0.000123456, 1e-10), "0.5|3.14159|8|0.000123|1E-10");
    EXPECT_EQ(Fmt("%#g|%#g|%#.3g", 1.5, 1e-5, 2.0), "1.50000|1.00000e-05|2.00");
    EXPECT_EQ(Fmt("%g|%g", 999999.5, 0.0000999999999), "1000000|1e-04");
}

TEST(PrintFloat, SignsPaddingAndSpecials) {
    EXPECT_EQ(Fmt("%+.1f|% .1f|%+.1f|%.1f", 1.0, 1.0, -1.0, -0.0), "+1.0| 1.0|-1.0|-0.0");
    EXPECT_EQ(Fmt("%8.2f|%-8.2f|%08.2f|%+08.2f|%-08.2f|", -1.5, 1.5, -1.5, 1.5, 1.5),
              "   -1.50|1.50    |-0001.50|+0001.50|1.50    |");
    EXPECT_EQ(Fmt("%f|%F|%e|%g", INFINITY, INFINITY, -INFINITY, NAN), "inf|INF|-inf|nan");
    EXPECT_EQ(Fmt("%+6f|%06f|%-6E|%+G", INFINITY, -INFINITY, NAN, NAN), "   inf|  -inf|NAN   |NAN");
}

TEST(PrintFloat, Hexadecimal) {
    // One base-16 digit before the point, the power of two after 'p'.
    EXPECT_EQ(Fmt("%a|%a|%a|%a|%A", 1.0, 2.0, 0.5, 255.0, -255.5), "0x1p+0|0x2p+0|0x8p-4|0xf.fp+4|-0XF.F8P+4");
    EXPECT_EQ(Fmt("%a|%.3a|%.1a|%a", 0.1, 0.1, 1.0, 4.9406564584124654e-324),
              "0x1.99999999999ap-4|0x1.99ap-4|0x1.0p+0|0x4p-1076");
    EXPECT_EQ(Fmt("%12a|%012a|%-+8a|", 1.0, 1.0, 1.0), "      0x1p+0|0x0000001p+0|+0x1p+0 |");
    // Other floating conversions take a base after a second '.'.
    EXPECT_EQ(Fmt("%..16f|%.2.16f|%..16e|%..2f", 255.5, 255.5, 255.5, 5.5), "0xff.8|0xff.80|0xf.f8p+4|101.100000");
}

TEST(PrintFloat, LocaleDecimalPoint) {
    const KorvLocale comma = {",", ".", ""};
    const KorvLocale arabic = {"\xd9\xab", "", ""};
    char buffer[64];
    EXPECT_EQ(KorvSPrintfl(&comma, buffer, "%.2f %g %e", 3.14159, 0.5, 1.0), 21u);
    EXPECT_STREQ(buffer, "3,14 0,5 1,000000e+00");
    EXPECT_EQ(KorvSNPrintfl(&arabic, buffer, sizeof buffer, "%8.1f|", 2.5), 9u);
    EXPECT_STREQ(buffer, "    2\xd9\xab" "5|");  // the two-byte point counts two
    EXPECT_EQ(KorvSPrintfl(nullptr, buffer, "%.1f", 2.5), 3u);  // no locale: the engine's
    EXPECT_STREQ(buffer, "2.5");
}
