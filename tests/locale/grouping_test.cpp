// Group sizes from the C library's byte list: the same text whether `char`
// is signed or unsigned on the machine.
#include "kvsup.h"

#include "locale/locale_os.h"

#include <gtest/gtest.h>

#include <string>

namespace {

std::string text_of(const char *sizes)
{
    char *t = korv::locale::grouping_text(sizes);
    std::string s = t ? t : "<null>";
    korv_internal_free(t);
    return s;
}

} // namespace

TEST(Grouping, SizesRepeatUnlessEndedByHighByte)
{
    EXPECT_EQ(text_of(""), "");
    EXPECT_EQ(text_of("\x03"), "3;0");
    EXPECT_EQ(text_of("\x03\x02"), "3;2;0");
    // 127 and 255 are CHAR_MAX of signed and unsigned machines; 0x80 is
    // negative on the first kind: each ends the list without repetition.
    EXPECT_EQ(text_of("\x03\x7f"), "3");
    EXPECT_EQ(text_of("\x03\xff"), "3");
    EXPECT_EQ(text_of("\x03\x02\x80\x04"), "3;2");
    EXPECT_EQ(text_of("\x7f"), "");
    EXPECT_EQ(text_of("\x7e"), "126;0");
}
