// The format parser in both modes.
#include <gtest/gtest.h>

#include <string.h>

#include <string>

#include "format/format_parse.h"

using namespace korv::fmt;

namespace {

struct Parse {
    Parsed p;
    int code;
    Parse(const char *format, bool scanning = false) { code = parse(format, scanning, &p); }
    const Record &operator[](int i) const { return p.records[i]; }
};

} // namespace

TEST(FormatParse, LiteralsAndPercentMakeNoRecord) {
    Parse a("plain \xc3\xa9t\xc3\xa9 100%% sure");
    EXPECT_EQ(a.code, parse_ok);
    EXPECT_EQ(a.p.count, 0);
    EXPECT_EQ(Parse("").p.count, 0);
    EXPECT_EQ(Parse(nullptr).code, parse_bad_format);
}

TEST(FormatParse, FlagsWidthPrecisionAndPositions) {
    const char *f = "x%-+ #012.5lld|%hhu%Lg%I64x%I8d%.f";
    Parse a(f);
    ASSERT_EQ(a.code, parse_ok);
    ASSERT_EQ(a.p.count, 6);
    const Record &r = a[0];
    EXPECT_EQ(r.type, arg_int);
    EXPECT_EQ(r.conversion, 'd');
    EXPECT_EQ(r.flags & (flag_minus | flag_plus | flag_blank | flag_alt | flag_zero | flag_64 | flag_signed),
              flag_minus | flag_plus | flag_blank | flag_alt | flag_zero | flag_64 | flag_signed);
    EXPECT_EQ(r.width, 12);
    EXPECT_EQ(r.precision, 5);
    EXPECT_EQ(r.base, 10);
    EXPECT_EQ(r.start, f + 1);
    EXPECT_EQ(*r.next, '|');
    EXPECT_TRUE(a[1].flags & flag_hh);
    EXPECT_FALSE(a[1].flags & flag_signed);
    EXPECT_EQ(a[2].type, arg_float);
    EXPECT_TRUE(a[2].flags & flag_L);
    EXPECT_EQ(a[2].precision, -1);
    EXPECT_FALSE(a[2].flags & flag_has_precision);
    EXPECT_EQ(a[3].base, 16);
    EXPECT_TRUE(a[3].flags & flag_64);
    EXPECT_TRUE(a[4].flags & flag_I8);
    EXPECT_EQ(a[4].width, -1);
    EXPECT_EQ(a[5].precision, 0);  // an empty precision is 0
}

TEST(FormatParse, BaseAfterSecondPoint) {
    Parse a("%#.0.2u %..36i %.3.16f %..2d %..8x %12.a");
    ASSERT_EQ(a.code, parse_ok);
    EXPECT_EQ(a[0].base, 2);
    EXPECT_EQ(a[0].precision, 0);
    EXPECT_EQ(a[1].base, 36);
    EXPECT_EQ(a[1].precision, -1);  // two points in a row: no precision
    EXPECT_EQ(a[2].base, 16);
    EXPECT_EQ(a[3].base, 10);  // d is always decimal
    EXPECT_EQ(a[4].base, 16);
    EXPECT_EQ(a[5].base, 16);
    EXPECT_EQ(a[5].width, 12);
}

TEST(FormatParse, StarsTakeRecordsOfTheirOwn) {
    Parse a("%*.*d %-*s %..*u");
    ASSERT_EQ(a.code, parse_ok);
    ASSERT_EQ(a.p.count, 7);
    EXPECT_EQ(a[0].type, arg_star);
    EXPECT_EQ(a[1].type, arg_star);
    EXPECT_EQ(a[2].width_star, 0);
    EXPECT_EQ(a[2].precision_star, 1);
    EXPECT_TRUE(a[2].flags & flag_has_precision);
    EXPECT_EQ(a[0].next, a[2].next);
    EXPECT_EQ(a[4].width_star, 3);
    EXPECT_EQ(a[6].base_star, 5);
}

TEST(FormatParse, Errors) {
    for (const char *bad : {"%", "%5", "%q", "%hhhd", "%llld", "%1.2.3.4d", "%..37d", "%..1d", "%I7d",
                            "%5\xc3\xa9", "%[abc]", "%-\td", "%{d"})
        EXPECT_EQ(Parse(bad).code, parse_bad_format) << bad;

    char many[65 * 2 + 1] = "";
    for (int i = 0; i < 64; ++i)
        strcat(many, "%d");
    EXPECT_EQ(Parse(many).code, parse_ok);
    EXPECT_EQ(Parse(many).p.count, 64);
    strcat(many, "%d");
    EXPECT_EQ(Parse(many).code, parse_too_many);
    many[62 * 2] = 0;
    strcat(many, "%*.*d");  // 62 + 3 records
    EXPECT_EQ(Parse(many).code, parse_too_many);
}

TEST(FormatParse, ScanningMode) {
    const char *f = "%*d %[]a-z] %5[^]x]%[^a]%*[-] %n";
    Parse a(f, true);
    ASSERT_EQ(a.code, parse_ok);
    ASSERT_EQ(a.p.count, 6);
    EXPECT_EQ(a[0].type, arg_int);
    EXPECT_TRUE(a[0].flags & flag_suppress);
    EXPECT_EQ(a[1].type, arg_scanset);
    EXPECT_FALSE(a[1].flags & flag_negated);
    EXPECT_EQ(std::string(a[1].set, a[1].set_length), "]a-z");
    EXPECT_EQ(*a[1].next, ' ');
    EXPECT_TRUE(a[2].flags & flag_negated);
    EXPECT_EQ(a[2].width, 5);
    EXPECT_EQ(std::string(a[2].set, a[2].set_length), "]x");
    EXPECT_EQ(std::string(a[3].set, a[3].set_length), "a");
    EXPECT_TRUE(a[4].flags & flag_suppress);
    EXPECT_EQ(std::string(a[4].set, a[4].set_length), "-");
    EXPECT_EQ(a[5].type, arg_count);

    EXPECT_EQ(Parse("%[abc", true).code, parse_bad_format);
    EXPECT_EQ(Parse("%[]", true).code, parse_bad_format);
    EXPECT_EQ(Parse("%[^]", true).code, parse_bad_format);
}
