// Colour spaces: prefix matching in table order, names, parts and queries.
#include <kvsup.h>

#include <gtest/gtest.h>

namespace {

TEST(Color, NamesMatchAsPrefixesInTableOrder)
{
    const struct { const char *text; uint32_t code; } cases[] = {
        {"RGB", 2}, {"srgb", 111}, {"DEVICECMYK", 107}, {"DeviceCMY", 106}, {"xyy", 112},
        {"prophotorgb", 19}, {"grayscale", 1}, {"Labels", 4}, {"itulab", 20}, {"itul", 17},
        {"cmy", 103},
        // Short names early in the table shadow longer ones after it.
        {"kodakycbcr", 21}, {"unknownycbcr", 0}, {"blue", 0}, {"gra", 0}, {"", 0},
    };
    for (const auto &c : cases)
        EXPECT_EQ(KorvStr2Clr(c.text), c.code) << c.text;
    EXPECT_EQ(KorvStr2Clr(nullptr), 0u);
}

TEST(Color, TableCodesNamesAndParts)
{
    uint32_t valid = 0;
    for (uint32_t code = 0; code < 200; code++) {
        if (!KorvValidColor(code)) {
            EXPECT_STREQ(KorvClr2Str(code), "Unknown") << code;
            EXPECT_EQ(KorvGetImageParts(code), -1) << code;
            EXPECT_EQ(KorvColorQuery(code, 0xFFFFFFFFu), 0u) << code;
            continue;
        }
        valid++;
        EXPECT_EQ(KorvStr2Clr(KorvClr2Str(code)), code) << KorvClr2Str(code);
    }
    EXPECT_EQ(valid, 46u);
    EXPECT_STREQ(KorvClr2Str(0), "unknown");
    EXPECT_EQ(KorvGetImageParts(116), -1);

    EXPECT_EQ(KorvCompareColor(6, 2), 1u);
    EXPECT_EQ(KorvCompareColor(2, 6), 0xFFFFFFFFu);
    EXPECT_EQ(KorvCompareColor(1, 0), 2u);  // unknown counts -1 parts
    EXPECT_EQ(KorvColorQuery(18, 0x02), 1u);
    EXPECT_EQ(KorvColorQuery(18, 0x40), 0u);
    EXPECT_EQ(KorvColorQuery(0, 0x01), 1u);
    EXPECT_EQ(KorvColorQuery(12, 0x80), 1u);

    const uint32_t defaults[] = {0, 1, 0, 2, 6, 0};
    for (uint32_t parts = 0; parts < 6; parts++)
        EXPECT_EQ(KorvGetDefaultColor(parts), defaults[parts]) << parts;
}

} // namespace
